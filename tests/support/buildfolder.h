/** The output folders of the build. */
#pragma once

#include <string>

/** The folder `name` of this test program's build: "bin", "sim", "tests". */
std::wstring BuildFolder(const std::wstring& name);
