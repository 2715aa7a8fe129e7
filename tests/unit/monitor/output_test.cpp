#include "monitor/output.h"

#include <gtest/gtest.h>

#include "base/handle.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

struct Pipe {
    Pipe() {
        HANDLE readEnd = nullptr;
        HANDLE writeEnd = nullptr;
        CreatePipe(&readEnd, &writeEnd, nullptr, 0);
        read.reset(readEnd);
        write.reset(writeEnd);
    }

    CUniqueHandle read;
    CUniqueHandle write;
};

TEST(OutputTest, WritesTheBytesAtOnce) {
    Pipe pipe;
    COutput output(pipe.write.get());
    output.Write("\xC3\x84\n");
    char bytes[8] = {};
    DWORD size = 0;
    ASSERT_TRUE(PeekNamedPipe(pipe.read.get(), bytes, sizeof(bytes), &size, nullptr, nullptr));
    EXPECT_EQ(std::string(bytes, size), "\xC3\x84\n");
    EXPECT_FALSE(output.IsTerminal());
    EXPECT_FALSE(output.Failure());
}

TEST(OutputTest, KnowsThatNobodyReadsAnyMore) {
    Pipe pipe;
    COutput output(pipe.write.get());
    EXPECT_FALSE(output.IsReaderGone());
    pipe.read.reset();
    output.Write("x");
    ASSERT_TRUE(output.Failure());
    EXPECT_EQ(output.Failure()->call, "WriteFile");
    EXPECT_TRUE(output.IsReaderGone());
}

TEST(OutputTest, TellsOtherFailuresFromAReaderThatIsGone) {
    COutput output(nullptr);
    output.Write("x");
    ASSERT_TRUE(output.Failure());
    EXPECT_FALSE(output.IsReaderGone());
}

TEST(OutputTest, KeepsTheFirstFailureAndWritesNothingBehindIt) {
    int calls = 0;
    PATCH_IMPORT(failing, WriteFile, [&](HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) -> WINBOOL {
        SetLastError(++calls == 1 ? ERROR_DISK_FULL : ERROR_BROKEN_PIPE);
        return FALSE;
    });
    COutput output(GetCurrentProcess());
    output.Write("x");
    output.Write("y");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(output.Failure()->code, static_cast<DWORD>(ERROR_DISK_FULL));
}

TEST(OutputTest, IsATerminalOnAConsole) {
    PATCH_IMPORT(mode, GetConsoleMode, [](HANDLE, LPDWORD) -> WINBOOL { return TRUE; });
    EXPECT_TRUE(COutput(GetCurrentProcess()).IsTerminal());
}

TEST(OutputTest, TakesAConsoleWithoutCellsForAnOrdinaryOne) {
    PATCH_IMPORT(info, GetConsoleScreenBufferInfo,
                 [](HANDLE, PCONSOLE_SCREEN_BUFFER_INFO buffer) -> WINBOOL {
                     buffer->srWindow = {0, 0, -1, -1};
                     return TRUE;
                 });
    const TerminalSize size = COutput(GetCurrentProcess()).Size();
    EXPECT_EQ(size.columns, 80u);
    EXPECT_EQ(size.rows, 25u);
}

}  // namespace
}  // namespace zorvane
