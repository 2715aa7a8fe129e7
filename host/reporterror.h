/** One line on standard error. */
#pragma once

#include <string>

/** Writes "<program>: <message>" and a line end to standard error, UTF-8 unless a console. */
void ReportError(const std::wstring& message);
