#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <process.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/process/runningprocess.h"
#include "tests/unit/process/stubwords.h"
#include "zorvane/wire.h"

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr char kStopLine[] = "[msgloopprocess] OnCopyData StopLoop";
constexpr char kNoStubLine[] = "[msgloopprocess] Stub do NOT exists, process quit.";
constexpr char kNoHelloLine[] = "[msgloopprocess] Send msg to stub wnd failed, msg=3343";

// The message map's answer; its result is written over 99.
LRESULT Ask(CTestedProcess& process, UINT message, WPARAM wParam, LPARAM lParam) {
    LRESULT result = 99;
    EXPECT_TRUE(process.ProcessWindowMessage(nullptr, message, wParam, lParam, result)) << message;
    return result;
}

LRESULT SendCode(HWND window, ULONG_PTR code, DWORD size = 0, void* payload = nullptr) {
    COPYDATASTRUCT data{code, size, payload};
    return SendMessageW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
}

}  // namespace

TEST(MsgLoopProcessHello, IsOnePayloadOf72BytesWithEntryAndWindow) {
    CTestLog log;
    CRecordingStub stub;
    CRunningProcess process(CommandLine(stub, L"Temp"));
    const HWND window = process.Window();
    ASSERT_TRUE(WaitForAny(stub, 1));
    const StubMessage hello = stub.Messages()[0];
    EXPECT_EQ(hello.code, 3343u);
    EXPECT_EQ(hello.sender, window);
    std::string expected(72, '\0');
    std::memcpy(expected.data(), L"Temp", 4 * sizeof(wchar_t));
    const auto handle = reinterpret_cast<uint64_t>(window);
    std::memcpy(expected.data() + 64, &handle, sizeof(handle));
    EXPECT_EQ(hello.payload, expected) << "every byte behind the entry name is zero";
}

TEST(MsgLoopProcessHello, CutsTheEntryNameAt31Characters) {
    CTestLog log;
    for (const size_t length : {size_t{31}, size_t{32}, size_t{40}}) {
        SCOPED_TRACE(length);
        CRecordingStub stub;
        CRunningProcess process(CommandLine(stub, std::wstring(length, L'e')));
        ASSERT_TRUE(WaitForAny(stub, 1));
        const std::string payload = stub.Messages()[0].payload;
        ASSERT_THAT(payload, SizeIs(72));
        wchar_t entry[32];
        std::memcpy(entry, payload.data(), sizeof(entry));
        EXPECT_EQ(std::count(std::begin(entry), std::end(entry), L'e'), 31);
        EXPECT_EQ(entry[31], L'\0');
        EXPECT_EQ(process->GetEntry(), std::wstring(length, L'e'));
    }
}

TEST(MsgLoopProcessHello, GoesOutOnceBetweenTheStartOfTheWorkAndTheTimer) {
    CTestLog log;
    CRecordingStub stub;
    std::vector<std::string> calls;
    HWND window = nullptr;
    PATCH_IMPORT(begin, _beginthreadex,
                 [&](void* security, unsigned stack, auto entry, void* parameter, unsigned flags,
                     unsigned* id) {
                     EXPECT_EQ(security, nullptr);
                     EXPECT_EQ(stack, 0u);
                     EXPECT_EQ(flags, 0u);
                     EXPECT_EQ(id, nullptr);
                     calls.emplace_back("start");
                     return begin.Original(security, stack, entry, parameter, flags, id);
                 });
    PATCH_IMPORT(send, SendMessageTimeoutW,
                 [&](HWND target, UINT message, WPARAM w, LPARAM l, UINT flags, UINT timeout,
                     DWORD_PTR* result) {
                     const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(l);
                     window = reinterpret_cast<HWND>(w);
                     calls.push_back("send " + std::to_string(data->dwData));
                     return send.Original(target, message, w, l, flags, timeout, result);
                 });
    PATCH_IMPORT(kill, KillTimer, [&](HWND target, UINT_PTR timerId) {
        EXPECT_EQ(target, window);
        calls.push_back("kill " + std::to_string(timerId));
        return kill.Original(target, timerId);
    });
    PATCH_IMPORT(
        set, SetTimer, [&](HWND target, UINT_PTR timerId, UINT period, TIMERPROC procedure) {
            EXPECT_EQ(target, window);
            EXPECT_EQ(procedure, nullptr);
            calls.push_back("set " + std::to_string(timerId) + " " + std::to_string(period));
            return set.Original(target, timerId, period, procedure);
        });
    const auto process = std::make_shared<CTestedProcess>();
    process->Init(CommandLine(stub, L"e").c_str(), [&] { process->WaitQuit(INFINITE); });
    EXPECT_EQ(Ask(*process, WM_CREATE, 0, 0), 0);
    EXPECT_THAT(calls, ElementsAre("start", "send 3343", "kill 9601", "set 9601 5000"));
    process->OnClose();
}

TEST(MsgLoopProcessHello, DoesNotStopAProcessWhoseStubDoesNotAnswer) {
    CTestLog log;
    CRecordingStub stub;
    PATCH_IMPORT(send, SendMessageTimeoutW, [](auto...) -> LRESULT { return 0; });
    CTestEvent worked;
    CRunningProcess process(CommandLine(stub, L"e"), [&](CTestedProcess& host) {
        worked.Set();
        host.WaitQuit(INFINITE);
    });
    EXPECT_TRUE(worked.Wait());
    ASSERT_NE(process.Window(), nullptr);
    EXPECT_FALSE(process->WaitQuit(0));
    EXPECT_THAT(log.Messages(), SizeIs(1)) << "the command line's; nothing about the send";
}

TEST(MsgLoopProcessHello, FailsWithALineWithoutAStubAndTheWorkStartsAllTheSame) {
    CTestLog log;
    CTestEvent worked;
    CRunningProcess process(L"--wnd=0x1A2B", [&](CTestedProcess& host) {
        worked.Set();
        host.WaitQuit(INFINITE);
    });
    EXPECT_TRUE(worked.Wait());
    ASSERT_NE(process.Window(), nullptr);
    EXPECT_FALSE(process->WaitQuit(0));
    EXPECT_THAT(log.Messages(), ElementsAre("[msgloopprocess] cmd:--wnd=0x1A2B", kNoHelloLine));
}

TEST(MsgLoopProcessData, ReachesTheStubUnderTheEntryName) {
    CTestLog log;
    CRecordingStub stub;
    const std::wstring entry(40, L'e');
    CRunningProcess process(CommandLine(stub, entry), [](CTestedProcess& host) {
        wchar_t record[224] = {};
        host.SendData(record, sizeof(record));
    });
    ASSERT_TRUE(WaitForAny(stub, 2));
    ASSERT_TRUE(process.WaitForEnd());
    const auto messages = stub.Messages();
    ASSERT_THAT(messages, SizeIs(2));
    const auto& data = messages[0].code == 3344 ? messages[0] : messages[1];
    EXPECT_EQ(data.code, 3344u);
    std::string expected(448, '\0');
    std::memcpy(expected.data(), entry.data(), 31 * sizeof(wchar_t));
    EXPECT_EQ(data.payload, expected);
}

TEST(MsgLoopProcessStop, EndsTheProcessOnTheStopCode) {
    CTestLog log;
    CRecordingStub stub;
    CRunningProcess process(CommandLine(stub, L"e"));
    const HWND window = process.Window();
    ASSERT_NE(window, nullptr);
    char junk[] = "junk";
    EXPECT_EQ(SendCode(window, 3345, sizeof(junk), junk), TRUE);
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_FALSE(IsWindow(window));
    const auto messages = log.Messages();
    ASSERT_THAT(messages, SizeIs(5));
    EXPECT_EQ(messages[1], kStopLine);
    EXPECT_EQ(messages[4], "[msgloopthread] CMsgLoopThread quit msg loop.");
    EXPECT_THAT(messages, Contains(kWorkEndLine));
}

TEST(MsgLoopProcessStop, LogsBeforeItQuits) {
    CTestLog log;
    CTestedProcess process;
    int sets = 0;
    int posts = 0;
    PATCH_IMPORT(set, SetEvent, [&](HANDLE event) {
        ++sets;
        EXPECT_THAT(log.Messages(), ElementsAre(kStopLine));
        return set.Original(event);
    });
    PATCH_IMPORT(post, PostMessageW, [&](auto...) -> BOOL {
        ++posts;
        EXPECT_TRUE(process.WaitQuit(0));
        return TRUE;
    });
    const COPYDATASTRUCT data{kCopyDataStop, 0, nullptr};
    EXPECT_EQ(Ask(process, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data)), TRUE);
    EXPECT_EQ(sets, 1);
    EXPECT_EQ(posts, 1);
}

TEST(MsgLoopProcessStop, AnswersEveryOtherCodeAndGoesOn) {
    CTestLog log;
    CRecordingStub stub;
    CRunningProcess process(CommandLine(stub, L"e"));
    const HWND window = process.Window();
    ASSERT_NE(window, nullptr);
    for (const ULONG_PTR code :
         {ULONG_PTR{0}, ULONG_PTR{1}, ULONG_PTR{3343}, ULONG_PTR{3344}, ULONG_PTR{3346},
          ULONG_PTR{0x100000D11}, ULONG_PTR{0xFFFFFFFF00000D11}, ~ULONG_PTR{0}}) {
        EXPECT_EQ(SendCode(window, code), TRUE) << code;
        EXPECT_FALSE(process->WaitQuit(0)) << code;
    }
    EXPECT_TRUE(IsWindow(window));
    EXPECT_THAT(log.Messages(), Not(Contains(kStopLine)));
}

TEST(MsgLoopProcessStop, AnswersAMessageWithoutData) {
    CTestLog log;
    CTestedProcess process;
    EXPECT_EQ(Ask(process, WM_COPYDATA, 0, 0), TRUE);
    EXPECT_FALSE(process.WaitQuit(0));
}

TEST(MsgLoopProcessStop, CountsWhoeverSendsIt) {
    CTestLog log;
    const HWND senders[] = {nullptr, GetDesktopWindow()};
    for (const HWND sender : senders) {
        SCOPED_TRACE(sender);
        CTestedProcess process;
        const COPYDATASTRUCT data{kCopyDataStop, 0, nullptr};
        EXPECT_EQ(Ask(process, WM_COPYDATA, reinterpret_cast<WPARAM>(sender),
                      reinterpret_cast<LPARAM>(&data)),
                  TRUE);
        EXPECT_TRUE(process.WaitQuit(0));
    }
}

TEST(MsgLoopProcessTimer, EndsTheProcessAtTheFirstTickWithoutAStub) {
    CTestLog log;
    PATCH_IMPORT(set, SetTimer,
                 [&](HWND window, UINT_PTR timerId, UINT period, TIMERPROC procedure) {
                     EXPECT_EQ(period, 5000u);
                     return set.Original(window, timerId, USER_TIMER_MINIMUM, procedure);
                 });
    CRunningProcess process(L"--entry=e");
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_THAT(log.Messages(), Contains(kNoStubLine));
}

TEST(MsgLoopProcessTimer, EndsTheProcessWhenTheStubIsGone) {
    CTestLog log;
    CRecordingStub stub;
    CRunningProcess process(CommandLine(stub, L"e"));
    const HWND window = process.Window();
    ASSERT_NE(window, nullptr);
    SendMessageW(window, WM_TIMER, 9601, 0);
    EXPECT_FALSE(process->closing.IsSet()) << "the stub is there";
    stub.Destroy();
    PostMessageW(window, WM_TIMER, 9601, 0);
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_THAT(log.Messages(), Contains(kNoStubLine).Times(1));
}

TEST(MsgLoopProcessTimer, StopsTheTimerThenPostsTheCloseMessageThenLogs) {
    CTestLog log;
    CTestedProcess process;
    std::vector<std::string> calls;
    PATCH_IMPORT(kill, KillTimer, [&](HWND, UINT_PTR timerId) -> BOOL {
        calls.push_back("kill " + std::to_string(timerId));
        return TRUE;
    });
    PATCH_IMPORT(post, PostMessageW, [&](HWND, UINT message, WPARAM wParam, LPARAM lParam) -> BOOL {
        EXPECT_EQ(message, UINT{WM_CLOSE});
        EXPECT_EQ(wParam, 0u);
        EXPECT_EQ(lParam, 0);
        calls.push_back("post after " + std::to_string(log.Messages().size()) + " lines");
        return TRUE;
    });
    EXPECT_EQ(Ask(process, WM_TIMER, 9601, 0), 0);
    EXPECT_THAT(calls, ElementsAre("kill 9601", "post after 0 lines"));
    EXPECT_THAT(log.Messages(), ElementsAre(kNoStubLine));
    EXPECT_FALSE(process.WaitQuit(0)) << "the close message does that";
}

TEST(MsgLoopProcessTimer, DoesNothingForOtherTimersOrWhileTheStubLives) {
    CTestLog log;
    CRecordingStub stub;
    CTestedProcess alone;
    CTestedProcess withStub;
    withStub.Init(CommandLine(stub, L"e").c_str(), [] {});
    int effects = 0;
    PATCH_IMPORT(kill, KillTimer, [&](auto...) -> BOOL { return ++effects; });
    PATCH_IMPORT(post, PostMessageW, [&](auto...) -> BOOL { return ++effects; });
    for (const WPARAM timerId :
         {WPARAM{0}, WPARAM{9600}, WPARAM{9602}, WPARAM{0x100000000 + 9601}}) {
        EXPECT_EQ(Ask(alone, WM_TIMER, timerId, 0), 0) << timerId;
    }
    EXPECT_EQ(Ask(withStub, WM_TIMER, 9601, 0), 0);
    EXPECT_EQ(effects, 0);
    EXPECT_THAT(log.Messages(), Not(Contains(kNoStubLine)));
}

TEST(MsgLoopProcessMessages, LeavesOthersToTheDefault) {
    CTestedProcess process;
    for (UINT message = 0; message < 0x400; ++message) {
        if (message == WM_CREATE || message == WM_CLOSE || message == WM_TIMER ||
            message == WM_COPYDATA) {
            continue;
        }
        LRESULT result = 0;
        EXPECT_FALSE(process.ProcessWindowMessage(nullptr, message, 0, 0, result)) << message;
    }
}

TEST(MsgLoopProcessMessages, OfStrangersStartNoSecondWorkAndDoNotMakeItDeaf) {
    CTestLog log;
    CRecordingStub stub;
    std::atomic<int> works{0};
    CRunningProcess process(CommandLine(stub, L"e"), [&](CTestedProcess& host) {
        ++works;
        host.WaitQuit(INFINITE);
    });
    const HWND window = process.Window();
    ASSERT_TRUE(WaitForAny(stub, 1));
    for (const UINT message :
         std::array<UINT, 4>{WM_NCCREATE, WM_CREATE, WM_DESTROY, WM_NCDESTROY}) {
        EXPECT_EQ(SendMessageW(window, message, 0, 0), 0);
        PostMessageW(window, message, 0, 0);
    }
    // Behind the posted ones.
    EXPECT_TRUE(SendCode(window, kCopyDataStop));
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_EQ(works, 1);
    EXPECT_THAT(log.Messages(), Contains(kStopLine).Times(1));
    EXPECT_THAT(stub.Messages(), SizeIs(1)) << "one hello";
}

TEST(MsgLoopProcessRun, EndsWithoutTheTimerWhenThereIsNoCommandLine) {
    CTestLog log;
    PATCH_IMPORT(set, SetTimer, [](auto...) -> UINT_PTR { return 1; });
    CTestedProcess process;
    process.Init(nullptr, [] { ADD_FAILURE() << "the work function was called"; });
    process.Run();
    std::vector<std::string> messages = log.Messages();
    ASSERT_THAT(messages, SizeIs(4));
    std::sort(messages.begin(), messages.begin() + 2);
    EXPECT_THAT(messages,
                ElementsAre(kNoHelloLine, kWorkEndLine, "[msgloopprocess] CMsgLoopProcess OnClose.",
                            "[msgloopthread] CMsgLoopThread quit msg loop."));
}

TEST(MsgLoopProcessStub, ThatIsGoneIsFoundByTheNextMessageWhenThereIsNoTimer) {
    CTestLog log;
    PATCH_IMPORT(set, SetTimer, [](auto...) -> UINT_PTR { return 0; });
    CRunningProcess process(L"--wnd=1", [](CTestedProcess& host) {
        EXPECT_TRUE(host.created.Wait());
        COPYDATASTRUCT data{};
        EXPECT_FALSE(host.SendCopyData(&data));
        host.WaitQuit(INFINITE);
    });
    EXPECT_TRUE(process.WaitForEnd());
}
