#include "base/environment.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string_view>

namespace zorvane {
namespace {

std::wstring Text(const std::vector<wchar_t>& block) { return {block.begin(), block.end()}; }

std::wstring Literal(std::wstring_view text) { return std::wstring(text); }

using namespace std::string_view_literals;

TEST(EnvironmentTest, ReplacesAVariableInAnyLetterCase) {
    const auto block = ChangeEnvironment(L"Path=C:\\\0TEMP=t\0", {{L"PATH", L"D:\\"}});
    EXPECT_EQ(Text(block), Literal(L"Path=D:\\\0TEMP=t\0\0"sv));
}

TEST(EnvironmentTest, AddsAVariableInOrder) {
    const auto block = ChangeEnvironment(L"a=1\0c=3\0", {{L"B", L"2"}});
    EXPECT_EQ(Text(block), Literal(L"a=1\0B=2\0c=3\0\0"sv));
}

TEST(EnvironmentTest, LetsTheLaterOfTwoChangesHold) {
    const auto block = ChangeEnvironment(L"", {{L"A", L"1"}, {L"a", L"2"}});
    EXPECT_EQ(Text(block), Literal(L"A=2\0\0"sv));
}

TEST(EnvironmentTest, KeepsTheCurrentFoldersOfDrives) {
    const auto block = ChangeEnvironment(L"=C:=C:\\x\0A=1\0", {});
    EXPECT_EQ(Text(block), Literal(L"=C:=C:\\x\0A=1\0\0"sv));
}

TEST(EnvironmentTest, KeepsEqualSignsAndNothingInValues) {
    const auto block = ChangeEnvironment(L"A=x=y\0", {{L"B", L""}, {L"C", L"p=q"}});
    EXPECT_EQ(Text(block), Literal(L"A=x=y\0B=\0C=p=q\0\0"sv));
}

TEST(EnvironmentTest, EndsAnEmptyBlockWithTwoNuls) {
    EXPECT_EQ(Text(ChangeEnvironment(L"", {})), Literal(L"\0\0"sv));
}

TEST(EnvironmentTest, AnswersTheValueOfAVariable) {
    SetEnvironmentVariableW(L"ZORVANE_TEST_VALUE", L"a value");
    EXPECT_EQ(EnvironmentVariable(L"ZORVANE_TEST_VALUE"), L"a value");
    SetEnvironmentVariableW(L"ZORVANE_TEST_VALUE", nullptr);
    EXPECT_EQ(EnvironmentVariable(L"ZORVANE_TEST_VALUE"), L"");
}

TEST(EnvironmentTest, StartsFromTheProcessesOwnEnvironmentAndLeavesThatAlone) {
    SetEnvironmentVariableW(L"ZORVANE_TEST_KEPT", L"kept");
    const std::wstring block = Text(ChangedOwnEnvironment({{L"ZORVANE_TEST_NEW", L"new"}}));
    EXPECT_NE(block.find(Literal(L"\0ZORVANE_TEST_KEPT=kept\0"sv)), std::wstring::npos);
    EXPECT_NE(block.find(Literal(L"\0ZORVANE_TEST_NEW=new\0"sv)), std::wstring::npos);
    EXPECT_EQ(GetEnvironmentVariableW(L"ZORVANE_TEST_NEW", nullptr, 0), 0u);
}

}  // namespace
}  // namespace zorvane
