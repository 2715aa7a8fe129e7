/** What a simulated vendor library learns from its process. */
#pragma once

#include <filesystem>
#include <string>

/** The value of an environment variable; empty when it is not set. */
std::wstring EnvironmentVariable(const wchar_t* name);

/** The folder of the module (library or program) that this code is linked into. */
std::filesystem::path ModuleFolder();

/** Seconds since the process was created: one clock for all simulated libraries in it. */
double SecondsSinceProcessStart();

/** Writes one line, UTF-8, to standard error. */
void WriteErrorLine(const std::string& line);
