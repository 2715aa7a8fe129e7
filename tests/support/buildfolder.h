/** Where the build puts its outputs. */
#pragma once

#include <string>

/** The folder `name` of the build that this test program is of: "bin", "sim", "tests". */
std::wstring BuildFolder(const std::wstring& name);
