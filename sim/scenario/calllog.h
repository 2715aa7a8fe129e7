/** The log of calls into the simulated vendor libraries. */
#pragma once

#include <string>

/**
 * Appends one line to the file that the environment variable ZORVANE_SIM_CALL_LOG names; does
 * nothing when it names none. Several modules and processes may append to one file: lines never
 * mix.
 */
void LogCall(const std::string& line);
