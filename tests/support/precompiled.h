/** What most tests include and instantiate, precompiled once for all of them. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

/**
 * Templates that nearly every test file uses; precompiled.cpp instantiates them. In C++20 libstdc++
 * leaves even std::string to every file.
 */
#define ZORVANE_TEST_INSTANCES(prefix)                                       \
    prefix template class std::basic_string<char>;                           \
    prefix template class std::basic_string<wchar_t>;                        \
    prefix template class std::vector<std::string>;                          \
    prefix template class std::unique_ptr<std::string>;                      \
    prefix template class std::unique_ptr<std::stringstream>;                \
    prefix template class testing::Matcher<const std::string&>;              \
    prefix template class std::vector<testing::Matcher<const std::string&>>; \
    ZORVANE_TEST_PRINTER(prefix, int)                                        \
    ZORVANE_TEST_PRINTER(prefix, unsigned)                                   \
    ZORVANE_TEST_PRINTER(prefix, unsigned long)                              \
    ZORVANE_TEST_PRINTER(prefix, unsigned long long)                         \
    ZORVANE_TEST_PRINTER(prefix, std::string)                                \
    ZORVANE_TEST_PRINTER(prefix, std::wstring)                               \
    ZORVANE_TEST_PRINTER(prefix, std::vector<std::string>)                   \
    ZORVANE_TEST_EQUALITY(prefix, int, int)                                  \
    ZORVANE_TEST_EQUALITY(prefix, unsigned, unsigned)                        \
    ZORVANE_TEST_EQUALITY(prefix, unsigned long, unsigned)                   \
    ZORVANE_TEST_EQUALITY(prefix, unsigned long long, unsigned)              \
    ZORVANE_TEST_EQUALITY(prefix, unsigned long long, unsigned long long)    \
    ZORVANE_TEST_EQUALITY(prefix, std::string, std::string)                  \
    ZORVANE_TEST_EQUALITY(prefix, std::wstring, std::wstring)

#define ZORVANE_TEST_PRINTER(prefix, Type) \
    prefix template std::string testing::PrintToString<Type>(const Type&);

#define ZORVANE_TEST_EQUALITY(prefix, Left, Right)                                        \
    prefix template testing::AssertionResult testing::internal::CmpHelperEQ<Left, Right>( \
        const char*, const char*, const Left&, const Right&);

ZORVANE_TEST_INSTANCES(extern)
