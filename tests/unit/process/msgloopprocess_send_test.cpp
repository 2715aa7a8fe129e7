#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "src/process/msgloopprocess.h"
#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/process/stubwords.h"
#include "tests/unit/process/testevent.h"
#include "zorvane/wire.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

class CSender : public CMsgLoopProcess {
  public:
    explicit CSender(const std::wstring& commandLine) {
        Init(commandLine.c_str(), [] {});
    }
};

// What the log says beyond the command line.
std::vector<std::string> MessagesAfterInit(const CTestLog& log) {
    std::vector<std::string> messages = log.Messages();
    std::erase_if(messages, [](const std::string& message) {
        return message.find("cmd:") != std::string::npos;
    });
    return messages;
}

std::wstring EntryOf(const std::string& payload) {
    std::wstring entry(kWireTextLength, L'\0');
    std::memcpy(entry.data(), payload.data(), kWireTextLength * sizeof(wchar_t));
    return entry.substr(0, entry.find(L'\0'));
}

}  // namespace

TEST(MsgLoopProcessSend, HandsTheDataToTheStub) {
    CTestLog log;
    CRecordingStub stub;
    CSender sender(CommandLine(stub, L"e"));
    char text[] = "payload";
    const COPYDATASTRUCT data{4711, sizeof(text), text};
    EXPECT_TRUE(sender.SendCopyData(&data));
    ASSERT_TRUE(WaitForAny(stub, 1));
    const auto messages = stub.Messages();
    EXPECT_EQ(messages[0].code, 4711u);
    EXPECT_EQ(messages[0].payload, std::string(text, sizeof(text)));
}

TEST(MsgLoopProcessSend, BlocksForASecondAtMost) {
    CTestLog log;
    CRecordingStub stub;
    CSender sender(CommandLine(stub, L"e"));
    const COPYDATASTRUCT data{4711, 0, nullptr};
    int sends = 0;
    PATCH_IMPORT(send, SendMessageTimeoutW,
                 [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags,
                     UINT timeout, DWORD_PTR* result) -> LRESULT {
                     ++sends;
                     EXPECT_EQ(window, stub.Window());
                     EXPECT_EQ(message, 74u);
                     EXPECT_EQ(wParam, 0u) << "no hidden window yet";
                     EXPECT_EQ(lParam, reinterpret_cast<LPARAM>(&data));
                     EXPECT_EQ(flags, UINT{SMTO_BLOCK});
                     EXPECT_EQ(timeout, 1000u);
                     EXPECT_EQ(result, nullptr);
                     return 1;
                 });
    EXPECT_TRUE(sender.SendCopyData(&data));
    EXPECT_EQ(sends, 1);
}

TEST(MsgLoopProcessSend, IsTakenOnlyWhenTheAnswerIsPositive) {
    CTestLog log;
    CRecordingStub stub;
    CSender sender(CommandLine(stub, L"e"));
    const COPYDATASTRUCT data{4711, 0, nullptr};
    struct {
        LRESULT answer;
        bool taken;
    } const rows[] = {{1, true},  {2, true},   {LRESULT{1} << 32, true},
                      {0, false}, {-1, false}, {std::numeric_limits<LRESULT>::min(), false}};
    for (const auto& row : rows) {
        PATCH_IMPORT(send, SendMessageTimeoutW, [&](auto...) { return row.answer; });
        EXPECT_EQ(sender.SendCopyData(&data), row.taken) << row.answer;
    }
    EXPECT_THAT(MessagesAfterInit(log), SizeIs(0)) << "a send that failed is not logged";
}

TEST(MsgLoopProcessSend, IsNotLoggedWhenTheStubDoesNotAnswerInTime) {
    CTestLog log;
    CTestEvent goOn;
    CRecordingStub stub([&](const StubMessage&) { EXPECT_TRUE(goOn.Wait()); });
    CSender sender(CommandLine(stub, L"e"));
    PATCH_IMPORT(send, SendMessageTimeoutW,
                 [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags, UINT,
                     DWORD_PTR* result) {
                     return send.Original(window, message, wParam, lParam, flags, 20, result);
                 });
    const COPYDATASTRUCT data{4711, 0, nullptr};
    EXPECT_FALSE(sender.SendCopyData(&data));
    goOn.Set();
    EXPECT_THAT(MessagesAfterInit(log), SizeIs(0));
}

TEST(MsgLoopProcessSend, FailsWithALineWhenThereIsNoStub) {
    CTestLog log;
    CSender sender(L"--entry=e");
    int sends = 0;
    PATCH_IMPORT(send, SendMessageTimeoutW, [&](auto...) -> LRESULT { return ++sends; });
    const COPYDATASTRUCT data{4711, 0, nullptr};
    EXPECT_FALSE(sender.SendCopyData(&data));
    EXPECT_EQ(sends, 0);
    EXPECT_THAT(MessagesAfterInit(log),
                ElementsAre("[msgloopprocess] Send msg to stub wnd failed, msg=4711"));
}

TEST(MsgLoopProcessSend, FailsWithALineWhenTheStubIsGone) {
    CTestLog log;
    CRecordingStub stub;
    CSender sender(CommandLine(stub, L"e"));
    stub.Destroy();
    int sends = 0;
    PATCH_IMPORT(send, SendMessageTimeoutW, [&](auto...) -> LRESULT { return ++sends; });
    const COPYDATASTRUCT data{kCopyDataStop, 0, nullptr};
    EXPECT_FALSE(sender.SendCopyData(&data));
    EXPECT_EQ(sends, 0);
    EXPECT_THAT(MessagesAfterInit(log),
                ElementsAre("[msgloopprocess] Send msg to stub wnd failed, msg=3345"));
}

TEST(MsgLoopProcessSend, CutsTheEntryNameInTaskDataAt31Characters) {
    CTestLog log;
    for (const size_t length :
         {size_t{0}, size_t{1}, size_t{30}, size_t{31}, size_t{32}, size_t{40}}) {
        SCOPED_TRACE(length);
        CRecordingStub stub;
        std::wstring entry(length, L'e');
        for (size_t index = 0; index < length; ++index) {
            entry[index] = static_cast<wchar_t>(L'A' + index);
        }
        CSender sender(CommandLine(stub, entry));
        wchar_t buffer[kWireTextLength + 3];
        std::fill(std::begin(buffer), std::end(buffer), L'#');
        sender.SendData(buffer, sizeof(buffer));
        ASSERT_TRUE(WaitForAny(stub, 1));
        const StubMessage message = stub.Messages()[0];
        EXPECT_EQ(message.code, 3344u);
        ASSERT_EQ(message.payload.size(), sizeof(buffer));
        EXPECT_EQ(EntryOf(message.payload), entry.substr(0, 31)) << length;
        const size_t end = std::min<size_t>(length, 31) + 1;
        EXPECT_EQ(std::count(buffer + end, std::end(buffer), L'#'),
                  std::end(buffer) - buffer - static_cast<ptrdiff_t>(end))
            << "what stands behind the NUL is the caller's";
        EXPECT_EQ(sender.GetEntry(), entry);
    }
}

TEST(MsgLoopProcessSend, SendsAsManyBytesAsTheTaskSays) {
    CTestLog log;
    CRecordingStub stub;
    CSender sender(CommandLine(stub, L"e"));
    wchar_t buffer[300] = {};
    sender.SendData(buffer, 448);
    ASSERT_TRUE(WaitForAny(stub, 1));
    EXPECT_THAT(stub.Messages()[0].payload, SizeIs(448));
}

TEST(MsgLoopProcessSend, SendsNoDataWithoutABufferOrASize) {
    CTestLog log;
    CRecordingStub stub;
    CSender sender(CommandLine(stub, L"e"));
    wchar_t buffer[kWireTextLength] = {};
    sender.SendData(nullptr, 10);
    sender.SendData(buffer, 0);
    EXPECT_EQ(buffer[0], L'\0') << "not even the entry name is written";
    CSender withoutStub(L"--entry=e");
    withoutStub.SendData(nullptr, 10);
    withoutStub.SendData(buffer, 0);
    EXPECT_THAT(MessagesAfterInit(log), SizeIs(0));
    const COPYDATASTRUCT data{4711, 0, nullptr};
    sender.SendCopyData(&data);
    ASSERT_TRUE(WaitForAny(stub, 1));
    EXPECT_EQ(stub.Messages()[0].code, 4711u) << "nothing came before";
}

TEST(MsgLoopProcessSend, LogsTaskDataThatIsLost) {
    CTestLog log;
    CSender sender(L"--entry=e");
    wchar_t buffer[kWireTextLength] = {};
    sender.SendData(buffer, sizeof(buffer));
    EXPECT_STREQ(buffer, L"e");
    EXPECT_THAT(MessagesAfterInit(log),
                ElementsAre("[msgloopprocess] Send msg to stub wnd failed, msg=3344"));
}
