#include "monitor/serve/route.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

unsigned StatusOf(std::string_view target) {
    const RouteOrStatus parsed = ParseTarget(target);
    const auto* status = std::get_if<unsigned>(&parsed);
    return status ? *status : 200;
}

TEST(RouteTest, FindsThePlaces) {
    EXPECT_EQ(std::get<Route>(ParseTarget("/")).place, Place::kPage);
    EXPECT_EQ(std::get<Route>(ParseTarget("/metrics")).place, Place::kMetrics);
    EXPECT_EQ(std::get<Route>(ParseTarget("/healthz?")).place, Place::kHealth);
}

TEST(RouteTest, ReadsTheParametersOfAPlace) {
    EXPECT_EQ(std::get<Route>(ParseTarget("/history?seconds=60")).seconds,
              std::chrono::seconds(60));
    EXPECT_EQ(std::get<Route>(ParseTarget("/events?after=5.7")).after, "5.7");
    EXPECT_TRUE(std::get<Route>(ParseTarget("/report.html?mask=1")).mask);
    EXPECT_FALSE(std::get<Route>(ParseTarget("/report.html?mask=0")).mask);
}

TEST(RouteTest, RefusesWhatIsNotThere) {
    for (const char* target : {"/nothing", "//", "/../page.js", "/page.css/", "*", "",
                               "http://127.0.0.1:9836/", "/%6detrics"}) {
        EXPECT_EQ(StatusOf(target), 404u) << target;
    }
}

TEST(RouteTest, RefusesParametersThatItDoesNotKnow) {
    for (const char* target :
         {"/history?seconds=", "/history?seconds=0", "/history?seconds=-1", "/history?second=1",
          "/history?seconds", "/metrics?seconds=1", "/report.html?mask=yes", "/history?mask=1",
          "/history?after=5.7", "/?a=b", "/history?seconds=1&seconds=x"}) {
        EXPECT_EQ(StatusOf(target), 400u) << target;
    }
}

}  // namespace
}  // namespace zorvane
