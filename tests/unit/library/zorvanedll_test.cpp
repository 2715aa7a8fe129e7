// The shipped library in this process, in a folder of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <regex>

#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/library/loadedlibrary.h"
#include "tests/unit/process/stubwords.h"
#include "zorvane/wire.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

TEST(ZorvaneDll, LogsBesideItselfFromTheFirstMessageOn) {
    const CLoadedLibrary library;
    EXPECT_THAT(ReadFileBytes(library.LogPath()), IsEmpty());
    library.Run(L"--entry=100%s");
    const std::vector<std::string> lines = library.LogLines();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines[0].ends_with("[E]-------log start")) << lines[0];
    const std::regex whole(
        R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d \[[ \d]{5}\]\[[ \d]{5}\]\[E\]\[I\]\[[ \d]{3}\d\]\[\w+\] .*)");
    for (size_t line = 1; line < lines.size(); ++line) {
        EXPECT_TRUE(std::regex_match(lines[line], whole)) << lines[line];
    }
}

TEST(ZorvaneDll, LogsARunWithoutTasksInOrder) {
    const CLoadedLibrary library;
    library.Run(L"--entry=100%s");
    std::vector<std::string> messages = SiteMessages(library.LogLines());
    const auto hello = std::find(messages.begin(), messages.end(),
                                 "[msgloopprocess] Send msg to stub wnd failed, msg=3343");
    ASSERT_NE(hello, messages.end());
    messages.erase(hello);  // from the loop thread, at any place among those of the work thread
    EXPECT_THAT(
        messages,
        ElementsAre("[msgloopprocess] cmd:--entry=100%s", "[zorvaneprocess] CZorvaneProcess::Init",
                    StartsWith("[nvmlinfotask] CNvmlInfoTask::Init file not exist. "),
                    "[zorvaneprocess] add NvmlInfoTask failed",
                    "[zorvaneprocess] sdk_flag is off...",
                    "[zorvaneprocess] ZorvaneProcess Uninit. size:0",
                    "[msgloopprocess] WorkThreadFun process quit.",
                    "[msgloopprocess] CMsgLoopProcess OnClose.",
                    "[msgloopthread] CMsgLoopThread quit msg loop."));
}

TEST(ZorvaneDll, RunsWithoutAFolderForItsLog) {
    const CLoadedLibrary library(false);
    CRecordingStub stub;
    library.Run(CommandLine(stub, L"e"));
    ASSERT_TRUE(WaitForAny(stub, 1));
    EXPECT_EQ(stub.Messages()[0].code, 3343u);
}

TEST(ZorvaneDll, GreetsTheStubWithTheWindowThatStopsIt) {
    const CLoadedLibrary library;
    HWND hostWindow = nullptr;
    DWORD windowThread = 0;
    CRecordingStub stub([&](const StubMessage& message) {
        HelloPayload hello{};
        ASSERT_EQ(message.payload.size(), sizeof(hello));
        std::memcpy(&hello, message.payload.data(), sizeof(hello));
        hostWindow = reinterpret_cast<HWND>(hello.hostWnd);
        windowThread = GetWindowThreadProcessId(hostWindow, nullptr);
        EXPECT_STREQ(hello.entry, L"Temp");
    });
    library.Run(CommandLine(stub, L"Temp"));
    EXPECT_EQ(windowThread, GetCurrentThreadId()) << "the loop runs on the export's caller";
    EXPECT_FALSE(IsWindow(hostWindow));
}

TEST(ZorvaneDll, ReturnsAtOnceWithoutACommandLine) {
    const CLoadedLibrary library;
    library.RunWithoutCommandLine();
    std::vector<std::string> messages = SiteMessages(library.LogLines());
    ASSERT_EQ(messages.size(), 4u);
    std::sort(messages.begin(), messages.begin() + 2);
    EXPECT_THAT(messages, ElementsAre("[msgloopprocess] Send msg to stub wnd failed, msg=3343",
                                      "[msgloopprocess] WorkThreadFun process quit.",
                                      "[msgloopprocess] CMsgLoopProcess OnClose.",
                                      "[msgloopthread] CMsgLoopThread quit msg loop."));
}
