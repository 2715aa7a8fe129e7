/** What a simulated vendor library learns from its process. */
#pragma once

#include <string>

/** Seconds since the process was created: one clock for all simulated libraries in it. */
double SecondsSinceProcessStart();

/** Writes one line, UTF-8, to standard error. */
void WriteErrorLine(const std::string& line);
