#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include "src/process/msgloopprocess.h"
#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

void Init(CMsgLoopProcess& process, const wchar_t* commandLine) {
    process.Init(commandLine, [] {});
}

// The window that `commandLine` names as stub: the one that is looked for before sending.
HWND StubOf(const std::wstring& commandLine) {
    CMsgLoopProcess process;
    Init(process, commandLine.c_str());
    HWND stub = nullptr;
    PATCH_IMPORT(look, IsWindow, [&](HWND window) -> BOOL {
        stub = window;
        return FALSE;
    });
    const COPYDATASTRUCT data{};
    process.SendCopyData(&data);
    return stub;
}

struct StubRow {
    const wchar_t* commandLine;
    INT_PTR stub;
};

}  // namespace

TEST(MsgLoopProcessInit, TakesTheStubsHandleInDecimal) {
    CTestLog log;
    constexpr StubRow kRows[] = {{L"--wnd=132456", 132456},
                                 {L"--WND=132456", 132456},
                                 {L"\"--wnd=  7\"", 7},
                                 {L"--wnd=+7", 7},
                                 {L"--wnd=2147483647", 2147483647},
                                 {L"--wnd=-65536", -65536},
                                 {L"--wnd=12ab", 12},
                                 {L"--wnd=0x1A2B", 0},
                                 {L"--wnd=ab", 0},
                                 {L"--wnd=", 0},
                                 {L"--wnd", 0},
                                 {L"--entry=x", 0},
                                 {L"", 0}};
    for (const StubRow& row : kRows) {
        EXPECT_EQ(reinterpret_cast<INT_PTR>(StubOf(row.commandLine)), row.stub) << row.commandLine;
    }
}

TEST(MsgLoopProcessInit, TakesTheWholeEntryName) {
    CTestLog log;
    CMsgLoopProcess process;
    EXPECT_STREQ(process.GetEntry(), L"") << "before Init";
    const std::wstring entry(40, L'e');
    Init(process, (L"--wnd=1 --entry=" + entry).c_str());
    EXPECT_EQ(process.GetEntry(), entry);
}

TEST(MsgLoopProcessInit, HasAnEmptyEntryNameWhenNoneIsGiven) {
    CTestLog log;
    CMsgLoopProcess process;
    Init(process, L"--wnd=1");
    EXPECT_STREQ(process.GetEntry(), L"");
}

TEST(MsgLoopProcessInit, LogsTheWholeCommandLineAsData) {
    CTestLog log;
    CMsgLoopProcess process;
    const std::wstring longText(5000, L'x');
    Init(process, (L"--entry=%s%n%d " + longText).c_str());
    EXPECT_THAT(log.Messages(), ElementsAre("[msgloopprocess] cmd:--entry=%s%n%d " +
                                            std::string(longText.size(), 'x')));
}

TEST(MsgLoopProcessInit, LogsBeforeItParses) {
    CTestLog log;
    CMsgLoopProcess process;
    size_t lines = 0;
    PATCH_IMPORT(split, CommandLineToArgvW, [&](auto... arguments) {
        lines = log.Messages().size();
        return split.Original(arguments...);
    });
    Init(process, L"--wnd=1");
    EXPECT_EQ(lines, 1u);
}

TEST(MsgLoopProcessInit, TakesTheWorkFunctionFromItsCaller) {
    CTestLog log;
    CMsgLoopProcess process;
    std::function<void()> work = [] {};
    process.Init(L"--wnd=1", std::move(work));
    EXPECT_FALSE(work);  // NOLINT(bugprone-use-after-move): whether it moved is the question
}

TEST(MsgLoopProcessInit, TakesNothingWithANullCommandLine) {
    CTestLog log;
    CMsgLoopProcess process;
    std::function<void()> work = [] {};
    int splits = 0;
    PATCH_IMPORT(split, CommandLineToArgvW, [&](auto... arguments) {
        ++splits;
        return split.Original(arguments...);
    });
    process.Init(nullptr, std::move(work));
    EXPECT_TRUE(work) << "it stays its caller's";  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(splits, 0);
    EXPECT_STREQ(process.GetEntry(), L"");
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST(MsgLoopProcessInit, GoesOnWhenTheCommandLineCannotBeSplit) {
    CTestLog log;
    CMsgLoopProcess process;
    PATCH_IMPORT(split, CommandLineToArgvW, [](auto...) -> LPWSTR* { return nullptr; });
    std::function<void()> work = [] {};
    process.Init(L"--entry=x", std::move(work));
    EXPECT_STREQ(process.GetEntry(), L"");
    EXPECT_FALSE(work);  // NOLINT(bugprone-use-after-move)
}
