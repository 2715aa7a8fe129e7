#include "monitor/serve/requestcheck.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

HostPolicy Policy() { return {{"127.0.0.1", 9836}, {"gpu7.example.org"}}; }

RequestFacts Good() {
    RequestFacts request;
    request.method = "GET";
    request.target = "/history";
    request.host = "127.0.0.1:9836";
    request.localAddress = "127.0.0.1";
    return request;
}

unsigned StatusWith(void (*change)(RequestFacts& request)) {
    RequestFacts request = Good();
    change(request);
    return Refusal(request, Policy()).value_or(200);
}

TEST(RequestCheckTest, AnswersGetAndHeadOnly) {
    EXPECT_FALSE(Refusal(Good(), Policy()));
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.method = "HEAD"; }), 200u);
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get"}) {
        RequestFacts request = Good();
        request.method = method;
        EXPECT_EQ(Refusal(request, Policy()), 405u) << method;
    }
}

TEST(RequestCheckTest, WantsOneHostThatNamesTheServer) {
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.host.reset(); }), 400u);
    for (const char* host :
         {"", "evil.example:9836", "127.0.0.1", "127.0.0.1:80", "127.0.0.2:9836",
          "localhost.evil.example:9836", "[::1]", "[::1]:9836", "127.0.0.1:9836.evil"}) {
        RequestFacts request = Good();
        request.host = host;
        EXPECT_EQ(Refusal(request, Policy()), 421u) << host;
    }
}

TEST(RequestCheckTest, TakesLocalhostAndTheNamesGiven) {
    for (const char* host : {"localhost:9836", "LOCALHOST:9836", "gpu7.example.org",
                             "gpu7.example.org:443", "GPU7.Example.Org:9836"}) {
        RequestFacts request = Good();
        request.host = host;
        EXPECT_FALSE(Refusal(request, Policy())) << host;
    }
}

TEST(RequestCheckTest, TakesTheAddressThatWasReachedWhereItListensOnAll) {
    const HostPolicy all{{"0.0.0.0", 9836}, {}};
    EXPECT_TRUE(IsHostAllowed("192.168.1.7:9836", "192.168.1.7", all));
    EXPECT_FALSE(IsHostAllowed("192.168.1.8:9836", "192.168.1.7", all));
    EXPECT_TRUE(IsHostAllowed("[fe80::1]:9836", "fe80::1", all));
}

TEST(RequestCheckTest, RefusesBodiesAndLongTargets) {
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.hasBody = true; }), 413u);
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.target = "/" + std::string(1024, 'x'); }), 414u);
}

TEST(RequestCheckTest, GivesDataToItsOwnPageOnly) {
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.fetchSite = "cross-site"; }), 403u);
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.fetchSite = "same-site"; }), 403u);
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.fetchSite = "same-origin"; }), 200u);
    EXPECT_EQ(StatusWith([](RequestFacts& r) { r.fetchSite = "none"; }), 200u);
    EXPECT_EQ(StatusWith([](RequestFacts& r) {
                  r.fetchSite = "cross-site";
                  r.target = "/";
              }),
              200u);
}

}  // namespace
}  // namespace zorvane
