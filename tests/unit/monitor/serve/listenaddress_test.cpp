#include "monitor/serve/listenaddress.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

std::string Parsed(std::string_view text) {
    const auto address = ParseListenAddress(text);
    return address ? Authority(*address) : "none";
}

TEST(ListenAddressTest, IsANumericAddressWithAPort) {
    EXPECT_EQ(Parsed("127.0.0.1:9836"), "127.0.0.1:9836");
    EXPECT_EQ(Parsed("0.0.0.0:0"), "0.0.0.0:0");
    EXPECT_EQ(Parsed("[::1]:80"), "[::1]:80");
    EXPECT_EQ(Parsed("localhost:9836"), "127.0.0.1:9836");
}

TEST(ListenAddressTest, IsRefusedOtherwise) {
    for (const char* text : {"", ":", "9836", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536",
                             "127.0.0.1:-1", "127.0.0.1:80x", "example.org:80", "::1:80", "[::1]",
                             "[::1:80", "[:80", "[127.0.0.1]:80", "1.2.3:80"}) {
        EXPECT_EQ(Parsed(text), "none") << text;
    }
}

TEST(ListenAddressTest, KnowsWhatOnlyThisComputerReaches) {
    EXPECT_TRUE(IsLoopback("127.0.0.1"));
    EXPECT_TRUE(IsLoopback("127.8.9.10"));
    EXPECT_TRUE(IsLoopback("::1"));
    EXPECT_FALSE(IsLoopback("0.0.0.0"));
    EXPECT_FALSE(IsLoopback("::"));
    EXPECT_FALSE(IsLoopback("192.168.127.1"));
    EXPECT_FALSE(IsLoopback("localhost"));
}

}  // namespace
}  // namespace zorvane
