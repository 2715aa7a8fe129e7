// What the client DLL says to calls that make no sense.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "tests/unit/kit/clientlibrary.h"

using testing::HasSubstr;

namespace {

class KitArguments : public testing::Test {
  protected:
    KitArguments() {
        m_options.size = sizeof(m_options);
        m_error.size = sizeof(m_error);
    }

    ZorvaneResult Open() {
        const ZorvaneResult result = m_library.open(&m_options, &m_session, &m_error);
        if (result == kZorvaneOk) {
            m_library.close(m_session);
        }
        return result;
    }

    void ExpectFault(const char* member, const char* text) {
        EXPECT_EQ(Open(), ZorvaneResult{kZorvaneBadArgument});
        EXPECT_EQ(m_error.result, ZorvaneResult{kZorvaneBadArgument});
        EXPECT_STREQ(m_error.call.text, member);
        EXPECT_THAT(m_error.text.text, HasSubstr(text));
        EXPECT_EQ(m_session, 0u);
    }

    CClientLibrary m_library;
    ZorvaneOptions m_options{};
    ZorvaneSession m_session = 77;
    ZorvaneError m_error{};
};

}  // namespace

TEST_F(KitArguments, NeedNothingButASize) {
    EXPECT_EQ(Open(), ZorvaneResult{kZorvaneOk});
    EXPECT_NE(m_session, 0u);
    EXPECT_EQ(m_error.result, ZorvaneResult{kZorvaneOk});
}

TEST_F(KitArguments, MayLeaveOutTheError) {
    EXPECT_EQ(m_library.open(&m_options, nullptr, nullptr), ZorvaneResult{kZorvaneBadArgument});
    EXPECT_EQ(m_library.open(nullptr, &m_session, nullptr), ZorvaneResult{kZorvaneBadArgument});
    m_error.size = 8;
    EXPECT_EQ(Open(), ZorvaneResult{kZorvaneBadArgument});
    EXPECT_EQ(m_error.size, 8u);
}

TEST_F(KitArguments, NameTheMemberThatIsWrong) {
    m_options.size = sizeof(m_options) - 1;
    ExpectFault("size", "111 bytes, expected 112");
    m_options.size = 103;
    ExpectFault("size", "103 bytes, expected 112");
    m_options.size = 0xCDCDCDCD;
    ExpectFault("size", "expected 112");
    m_options.size = sizeof(m_options);
    m_options.reserved = 1;
    ExpectFault("reserved", "1, expected 0");
    m_options.reserved = 0;
    m_options.flags = 8;
    ExpectFault("flags", "8");
    m_options.flags = 0;
    m_options.queueLength = 0x7FFFFFFF;
    ExpectFault("queueLength", "at most 1048576");
    m_options.queueLength = 0;
    m_options.variables = "NAME=VALUE\n=VALUE";
    ExpectFault("variables", "not NAME=VALUE: =VALUE");
}

TEST_F(KitArguments, MayBeOfALaterVersionThatAsksForNothingNew) {
    std::array<char, sizeof(ZorvaneOptions) + 8> larger{};
    m_options.size = static_cast<uint32_t>(larger.size());
    std::memcpy(larger.data(), &m_options, sizeof(m_options));
    const auto* options = reinterpret_cast<const ZorvaneOptions*>(larger.data());
    EXPECT_EQ(m_library.open(options, &m_session, &m_error), ZorvaneResult{kZorvaneOk});
    m_library.close(m_session);
    larger.back() = 1;
    EXPECT_EQ(m_library.open(options, &m_session, &m_error), ZorvaneResult{kZorvaneBadArgument});
}

TEST_F(KitArguments, RefuseAnEventWithoutRoom) {
    ASSERT_EQ(m_library.open(&m_options, &m_session, nullptr), ZorvaneResult{kZorvaneOk});
    ZorvaneEvent event{};
    EXPECT_EQ(m_library.nextEvent(m_session, &event, 0), ZorvaneResult{kZorvaneBadArgument});
    event.size = 0xCDCDCDCD;
    EXPECT_EQ(m_library.nextEvent(m_session, &event, 0), ZorvaneResult{kZorvaneBadArgument});
    EXPECT_EQ(m_library.nextEvent(m_session, nullptr, 0), ZorvaneResult{kZorvaneBadArgument});
    m_library.close(m_session);
}

TEST_F(KitArguments, FindNoSessionWhereThereIsNone) {
    for (const auto call :
         {m_library.start, m_library.stop, m_library.pause, m_library.resume, m_library.close}) {
        EXPECT_EQ(call(0), ZorvaneResult{kZorvaneNoSession});
        EXPECT_EQ(call(~0ull), ZorvaneResult{kZorvaneNoSession});
    }
}

TEST_F(KitArguments, HaveNamesForEveryNumber) {
    EXPECT_EQ(m_library.version(), ZORVANE_CLIENT_VERSION);
    for (ZorvaneResult result = kZorvaneOk; result <= kZorvaneCallFailed; ++result) {
        EXPECT_STRNE(m_library.resultText(result), "unknown result") << result;
    }
    EXPECT_STREQ(m_library.resultText(999), "unknown result");
    EXPECT_STREQ(m_library.eventName(kZorvaneEventWorkerExit), "worker_exit");
    EXPECT_STREQ(m_library.eventName(kZorvaneEventEnd), "end");
    EXPECT_STREQ(m_library.eventName(0), "unknown");
    EXPECT_STREQ(m_library.eventName(999), "unknown");
}
