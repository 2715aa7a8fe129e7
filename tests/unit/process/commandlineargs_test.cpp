#include "src/process/commandlineargs.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <optional>

#include "tests/support/importpatch.h"

namespace {

// The first word has quoting rules of its own, so rows about quotes have a word before it.

// The value of `key` in `line`; empty when it is not there.
std::optional<std::wstring> Find(const std::wstring& line, const std::wstring& key) {
    CommandLineArgs args;
    args.SetCommandLine(line.c_str());
    EXPECT_TRUE(args.Parse());
    std::wstring value;
    return args.GetValue(key, value) ? std::optional(value) : std::nullopt;
}

struct WordRow {
    const char* behaviour;
    const wchar_t* line;
    const wchar_t* key;
    const wchar_t* value;
};

class CommandLineWords : public testing::TestWithParam<WordRow> {};

}  // namespace

TEST_P(CommandLineWords, AreKeysWithValues) {
    const WordRow& row = GetParam();
    EXPECT_EQ(Find(row.line, row.key), std::wstring(row.value)) << row.behaviour;
}

INSTANTIATE_TEST_SUITE_P(
    CommandLineArgs, CommandLineWords,
    testing::Values(
        WordRow{"first of two", L"--entry=Temp --wnd=132456", L"--entry", L"Temp"},
        WordRow{"second of two", L"--entry=Temp --wnd=132456", L"--wnd", L"132456"},
        WordRow{"upper-case look-up", L"--entry=Temp --wnd=132456", L"--WND", L"132456"},
        WordRow{"mixed-case look-up of a mixed-case key", L"--eNTry=Temp", L"--EntRY", L"Temp"},
        WordRow{"a value keeps its case", L"--entry=TeMp", L"--entry", L"TeMp"},
        WordRow{"the first word is a word like any other", L"--wnd=7 x", L"--wnd", L"7"},
        WordRow{"so is a program's name", L"\"C:\\Some Folder\\host.exe\" --wnd=7",
                L"c:\\some folder\\host.exe", L""},
        WordRow{"the last of two stays", L"--Wnd=1 --wnd=2", L"--wnd", L"2"},
        WordRow{"also when it has no value", L"--wnd=1 --wnd", L"--wnd", L""},
        WordRow{"no equals sign", L"x --entry", L"--entry", L""},
        WordRow{"nothing behind the equals sign", L"--entry=", L"--entry", L""},
        WordRow{"blanks around the equals sign", L"\"--entry = a b\"", L"--entry", L"a b"},
        WordRow{"tabs and line ends at the ends", L"x \"\t --entry\r\n=\n a \t\"", L"--entry",
                L"a"},
        WordRow{"blanks around a word without equals sign", L"x \"  --entry  \"", L"--entry", L""},
        WordRow{"only blanks as value", L"\"--entry=   \"", L"--entry", L""},
        WordRow{"a word of blanks is the empty key", L"x \"   \"", L"", L""},
        WordRow{"quotes of the system", L"x --entry=\"a b\"", L"--entry", L"a b"},
        WordRow{"quotes at both ends", L"x --entry=\\\"a\\\"", L"--entry", L"a"},
        WordRow{"quote at the beginning", L"x --entry=\\\"a", L"--entry", L"a"},
        WordRow{"quote at the end", L"x --entry=a\\\"", L"--entry", L"a"},
        WordRow{"one quote alone", L"x --entry=\\\"", L"--entry", L""},
        WordRow{"two quotes alone", L"x --entry=\\\"\\\"", L"--entry", L""},
        WordRow{"one quote goes at each end", L"x --entry=\\\"\\\"a\\\"\\\"", L"--entry", L"\"a\""},
        WordRow{"three quotes alone", L"x --entry=\\\"\\\"\\\"", L"--entry", L"\""},
        WordRow{"quotes inside stay", L"x --entry=a\\\"b", L"--entry", L"a\"b"},
        WordRow{"blanks inside the quotes stay", L"x \"--entry= \\\" a \\\" \"", L"--entry",
                L" a "},
        WordRow{"quotes of a key stay", L"x \\\"a\\\"=b", L"\"A\"", L"b"},
        WordRow{"a further equals sign", L"a=b=c", L"A", L"b=c"},
        WordRow{"two equals signs", L"a==", L"a", L"="}, WordRow{"no key", L"=x", L"", L"x"},
        WordRow{"a percent sign", L"--entry=%s%n", L"--entry", L"%s%n"}));

TEST(CommandLineArgs, LeavesTheTargetAloneWhenTheKeyIsMissing) {
    CommandLineArgs args;
    args.SetCommandLine(L"--entry=Temp");
    ASSERT_TRUE(args.Parse());
    std::wstring value = L"before";
    EXPECT_FALSE(args.GetValue(L"--wnd", value));
    EXPECT_EQ(value, L"before");
}

TEST(CommandLineArgs, TakesTheProgramsPathForAnEmptyLine) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, ARRAYSIZE(program));
    EXPECT_EQ(Find(L"", program), L"");
}

TEST(CommandLineArgs, TakesAValueOfAnyLength) {
    const std::wstring entry(20000, L'e');
    EXPECT_EQ(Find(L"--entry=" + entry, L"--entry"), entry);
}

TEST(CommandLineArgs, KeepsACopyOfTheLine) {
    std::wstring line = L"--wnd=1";
    CommandLineArgs args;
    args.SetCommandLine(line.c_str());
    line.assign(line.size(), L'x');
    ASSERT_TRUE(args.Parse());
    std::wstring value;
    EXPECT_TRUE(args.GetValue(L"--wnd", value));
}

TEST(CommandLineArgs, ForgetsTheWordsOfAnEarlierLine) {
    CommandLineArgs args;
    args.SetCommandLine(L"--entry=Temp");
    ASSERT_TRUE(args.Parse());
    args.SetCommandLine(L"--wnd=1");
    ASSERT_TRUE(args.Parse());
    std::wstring value;
    EXPECT_FALSE(args.GetValue(L"--entry", value));
}

TEST(CommandLineArgs, KnowsNoKeyWhenTheLineCannotBeSplit) {
    CommandLineArgs args;
    args.SetCommandLine(L"--wnd=1");
    ASSERT_TRUE(args.Parse());
    PATCH_IMPORT(split, CommandLineToArgvW, [](auto...) -> LPWSTR* { return nullptr; });
    EXPECT_FALSE(args.Parse());
    std::wstring value;
    EXPECT_FALSE(args.GetValue(L"--wnd", value));
}

TEST(CommandLineArgs, GivesTheWordsBackToWindowsOnce) {
    void* words = nullptr;
    int freed = 0;
    PATCH_IMPORT(split, CommandLineToArgvW, [&](auto... arguments) {
        LPWSTR* result = split.Original(arguments...);
        words = result;
        return result;
    });
    PATCH_IMPORT(release, LocalFree, [&](HLOCAL memory) {
        freed += memory && memory == words ? 1 : 0;
        return release.Original(memory);
    });
    CommandLineArgs args;
    args.SetCommandLine(L"a b c");
    ASSERT_TRUE(args.Parse());
    EXPECT_NE(words, nullptr);
    EXPECT_EQ(freed, 1);
}

TEST(CommandLineArgs, StoresAndReplacesValuesUnderUpperCasedKeys) {
    CommandLineArgs args;
    EXPECT_TRUE(args.SetValue(L"--Entry", L" \"one\" "));
    std::wstring value;
    EXPECT_TRUE(args.GetValue(L"--eNTRY", value));
    EXPECT_EQ(value, L" \"one\" ");
    EXPECT_TRUE(args.SetValue(L"--ENTRY", L"two"));
    EXPECT_TRUE(args.GetValue(L"--entry", value));
    EXPECT_EQ(value, L"two");
}
