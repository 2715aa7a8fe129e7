#include "client/stubwindow.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "base/handle.h"
#include "tests/support/importpatch.h"
#include "tests/unit/client/fakeworker.h"

namespace zorvane {
namespace {

LRESULT SendCopyData(HWND to, WPARAM sender, ULONG_PTR code, const std::vector<char>& bytes) {
    std::vector<char> copy = bytes;
    COPYDATASTRUCT data{code, static_cast<DWORD>(copy.size()), copy.data()};
    return SendMessageW(to, WM_COPYDATA, sender, reinterpret_cast<LPARAM>(&data));
}

class StubWindowTest : public testing::Test {
  protected:
    void SetUp() override {
        const auto error = m_stub.Create([this](HWND sender, const Payload& payload) {
            m_senders.push_back(sender);
            m_payloads.push_back(payload);
        });
        ASSERT_FALSE(error) << Describe(*error);
    }

    // Sends from another thread while this one runs its message loop; the window's answer.
    LRESULT SendFromOutside(ULONG_PTR code, const std::vector<char>& bytes, WPARAM sender = 0) {
        std::atomic<bool> done{false};
        LRESULT answer = -1;
        const DWORD pumping = GetCurrentThreadId();
        std::thread thread([&] {
            answer = SendCopyData(m_stub.Handle(), sender, code, bytes);
            done = true;
            PostThreadMessageW(pumping, WM_NULL, 0, 0);
        });
        EXPECT_TRUE(PumpUntil([&] { return done.load(); }));
        thread.join();
        return answer;
    }

    // Sends `count` payloads from another thread without a pause, numbered by their code, while
    // this one handles what is sent and nothing that is posted; how many were taken.
    size_t Flood(size_t count) {
        size_t taken = 0;
        const CUniqueHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        std::thread thread([&] {
            for (size_t code = 1; code <= count; ++code) {
                taken += SendCopyData(m_stub.Handle(), 0, code, {'a'}) == TRUE ? 1u : 0u;
            }
            SetEvent(done.get());
        });
        const HANDLE awaited = done.get();
        while (MsgWaitForMultipleObjects(1, &awaited, FALSE, INFINITE, QS_SENDMESSAGE) !=
               WAIT_OBJECT_0) {
            MSG message;
            PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE | PM_QS_SENDMESSAGE);
        }
        thread.join();
        return taken;
    }

    CStubWindow m_stub;
    std::vector<HWND> m_senders;
    std::vector<Payload> m_payloads;
};

TEST_F(StubWindowTest, DeliversACopyOfThePayloadAndWhoSentIt) {
    EXPECT_EQ(SendFromOutside(0x100000D11, {'a', 'b', '\0'}, 77), TRUE);
    ASSERT_TRUE(PumpUntil([&] { return m_payloads.size() == 1; }));
    EXPECT_EQ(m_senders[0], reinterpret_cast<HWND>(WPARAM{77}));
    EXPECT_EQ(m_payloads[0].code, 0x100000D11u);
    EXPECT_EQ(m_payloads[0].size, 3u);
    EXPECT_EQ(m_payloads[0].bytes,
              (std::vector<std::byte>{std::byte{'a'}, std::byte{'b'}, std::byte{0}}));
}

TEST_F(StubWindowTest, AnswersBeforeAnybodyLooksAtThePayload) {
    // Sent on the window's own thread, the message is answered inside SendMessage.
    EXPECT_EQ(SendCopyData(m_stub.Handle(), 0, 1, {'a'}), TRUE);
    EXPECT_TRUE(m_payloads.empty());
    EXPECT_TRUE(PumpUntil([&] { return m_payloads.size() == 1; }));
}

TEST_F(StubWindowTest, KeepsTheOrderOfArrival) {
    for (ULONG_PTR code = 1; code <= 5; ++code) {
        SendCopyData(m_stub.Handle(), 0, code, {});
    }
    ASSERT_TRUE(PumpUntil([&] { return m_payloads.size() == 5; }));
    for (size_t i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(m_payloads[i].code, i + 1);
    }
}

TEST_F(StubWindowTest, KeepsTheBeginAndTheTrueSizeOfAnOversizedPayload) {
    EXPECT_EQ(SendFromOutside(1, std::vector<char>(100000, 'x')), TRUE);
    ASSERT_TRUE(PumpUntil([&] { return m_payloads.size() == 1; }));
    EXPECT_EQ(m_payloads[0].size, 100000u);
    EXPECT_EQ(m_payloads[0].bytes.size(), CStubWindow::kKeptBytes);
}

TEST_F(StubWindowTest, TakesAPayloadOfNoBytes) {
    EXPECT_EQ(SendFromOutside(1, {}), TRUE);
    ASSERT_TRUE(PumpUntil([&] { return m_payloads.size() == 1; }));
    EXPECT_EQ(m_payloads[0].size, 0u);
    EXPECT_TRUE(m_payloads[0].bytes.empty());
}

TEST_F(StubWindowTest, AnswersFalseWithoutDataAndWhenTheQueueIsFull) {
    EXPECT_EQ(SendMessageW(m_stub.Handle(), WM_COPYDATA, 0, 0), FALSE);
    for (size_t i = 0; i < CStubWindow::kLongestQueue; ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(SendCopyData(m_stub.Handle(), 0, 1, {'a'}), TRUE);
    }
    EXPECT_EQ(SendCopyData(m_stub.Handle(), 0, 1, {'a'}), FALSE);
    m_stub.Deliver();
    EXPECT_EQ(m_payloads.size(), CStubWindow::kLongestQueue);
    EXPECT_EQ(SendCopyData(m_stub.Handle(), 0, 1, {'a'}), TRUE);
}

TEST_F(StubWindowTest, HandsOutEverythingThatIsSentWithoutAPause) {
    constexpr size_t kCount = 3 * CStubWindow::kLongestQueue;
    EXPECT_EQ(Flood(kCount), kCount);
    EXPECT_GT(m_payloads.size(), kCount - CStubWindow::kLongestQueue);
    ASSERT_TRUE(PumpUntil([&] { return m_payloads.size() == kCount; }));
    for (size_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(m_payloads[i].code, i + 1);
    }
}

TEST_F(StubWindowTest, LetsTheMessageLoopHaveATurn) {
    Flood(CStubWindow::kMostInARow + 2);
    EXPECT_EQ(m_payloads.size(), CStubWindow::kMostInARow);
    EXPECT_TRUE(PumpUntil([&] { return m_payloads.size() == CStubWindow::kMostInARow + 2; }));
    Flood(1);
    EXPECT_EQ(m_payloads.size(), CStubWindow::kMostInARow + 3) << "it begins anew after a turn";
}

TEST_F(StubWindowTest, PostsNoMessageForAPayload) {
    std::atomic<int> posts{0};
    PATCH_IMPORT(post, PostMessageW, [&](auto... arguments) {
        ++posts;
        return post.Original(arguments...);
    });
    Flood(CStubWindow::kMostInARow);
    EXPECT_EQ(m_payloads.size(), CStubWindow::kMostInARow);
    EXPECT_EQ(posts, 0);
    Flood(CStubWindow::kMostInARow);
    EXPECT_EQ(posts, 1);
}

TEST(StubWindowOwnerTest, KeepsWhatIsSentWhileAPayloadIsLookedAtForLater) {
    CStubWindow stub;
    std::vector<ULONG_PTR> seen;
    bool isLooking = false;
    ASSERT_FALSE(stub.Create([&](HWND, const Payload& payload) {
        EXPECT_FALSE(isLooking);
        isLooking = true;
        seen.push_back(payload.code);
        if (payload.code == 1) {
            SendCopyData(stub.Handle(), 0, 2, {});
        }
        isLooking = false;
    }));
    SendCopyData(stub.Handle(), 0, 1, {});
    EXPECT_TRUE(PumpUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (std::vector<ULONG_PTR>{1, 2}));
}

TEST_F(StubWindowTest, DropsWhatWaitsWhenItIsDestroyed) {
    SendCopyData(m_stub.Handle(), 0, 1, {'a'});
    const HWND window = m_stub.Handle();
    m_stub.Destroy();
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(m_stub.Handle(), nullptr);
    m_stub.Deliver();
    EXPECT_TRUE(m_payloads.empty());
}

TEST(StubWindowOwnerTest, MayBeDestroyedByWhoeverTakesAPayload) {
    CStubWindow stub;
    int delivered = 0;
    ASSERT_FALSE(stub.Create([&](HWND, const Payload&) {
        ++delivered;
        stub.Destroy();
    }));
    SendCopyData(stub.Handle(), 0, 1, {});
    SendCopyData(stub.Handle(), 0, 2, {});
    EXPECT_TRUE(PumpUntil([&] { return delivered == 1; }));
    EXPECT_EQ(stub.Handle(), nullptr);
}

TEST(StubWindowOwnerTest, LetsTheMessageInFromProcessesOfLowerIntegrity) {
    HWND window = nullptr;
    PATCH_IMPORT(filter, ChangeWindowMessageFilterEx,
                 [&](HWND handle, UINT message, DWORD action, PCHANGEFILTERSTRUCT) -> WINBOOL {
                     if (message == WM_COPYDATA && action == MSGFLT_ALLOW) {
                         window = handle;
                     }
                     return TRUE;
                 });
    CStubWindow stub;
    ASSERT_FALSE(stub.Create([](HWND, const Payload&) {}));
    EXPECT_NE(stub.Handle(), nullptr);
    EXPECT_EQ(window, stub.Handle());
}

TEST(StubWindowOwnerTest, NamesTheCallWhenTheMessageCannotBeLetIn) {
    PATCH_IMPORT(filter, ChangeWindowMessageFilterEx, [](auto...) -> WINBOOL {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    CStubWindow stub;
    const auto error = stub.Create([](HWND, const Payload&) {});
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "ChangeWindowMessageFilterEx");
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(StubWindowOwnerTest, NamesTheCallWhenTheWindowCannotBeMade) {
    PATCH_IMPORT(failing, CreateWindowExW,
                 [](DWORD, LPCWSTR, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE,
                    LPVOID) -> HWND {
                     SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                     return nullptr;
                 });
    CStubWindow stub;
    const auto error = stub.Create([](HWND, const Payload&) {});
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "CreateWindowExW");
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
}

}  // namespace
}  // namespace zorvane
