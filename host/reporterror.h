/** One line on standard error. */
#pragma once

#include <windows.h>

#include <string>

/** "<text> (<code>)" for a Windows error code; only the code when Windows has no text for it. */
std::wstring DescribeError(DWORD code);

/** Writes "<program>: <message>" and a line end to standard error, UTF-8 unless a console. */
void ReportError(const std::wstring& message);
