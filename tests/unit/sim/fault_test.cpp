#include "sim/scenario/fault.h"

#include <gtest/gtest.h>

#include "sim/scenario/parsejson.h"

namespace {

CFault Fault(const std::string& json) {
    const nlohmann::json document = ParseJson(json);
    return ReadFault(CJsonPlace(document));
}

// The codes of one call at each of these seconds, 0 outside the fault.
std::vector<int32_t> CodesAt(CFault fault, const std::vector<double>& seconds) {
    std::vector<int32_t> codes;
    for (const double second : seconds) {
        codes.push_back(fault.Read(second).value_or(Outcome()).result);
    }
    return codes;
}

using Codes = std::vector<int32_t>;

TEST(Fault, OfCallsBeginsAfterSoManyWhateverTheTime) {
    EXPECT_EQ(CodesAt(Fault(R"({"result": 15, "afterCalls": 2})"), {9, 0, 0, 5}),
              (Codes{0, 0, 15, 15}));
}

TEST(Fault, OfCallsEndsAfterSoMany) {
    EXPECT_EQ(CodesAt(Fault(R"({"result": 15, "afterCalls": 1, "forCalls": 2})"), {0, 0, 0, 0, 0}),
              (Codes{0, 15, 15, 0, 0}));
    EXPECT_EQ(CodesAt(Fault(R"({"result": 15, "forCalls": 1})"), {0, 0}), (Codes{15, 0}));
}

TEST(Fault, OfTimeBeginsAndEndsBySeconds) {
    EXPECT_EQ(CodesAt(Fault(R"({"result": 16, "afterSeconds": 20, "forSeconds": 5})"),
                      {19.9, 20, 24.9, 25, 0}),
              (Codes{0, 16, 16, 0, 0}));
    EXPECT_EQ(CodesAt(Fault(R"({"result": 16, "afterSeconds": 20})"), {0, 1e6}), (Codes{0, 16}));
}

TEST(Fault, WithoutASpanIsThereAllTheTime) {
    EXPECT_EQ(CodesAt(Fault(R"({"result": 15})"), {0, 1e6}), (Codes{15, 15}));
}

TEST(Fault, CanHangAndCrash) {
    EXPECT_EQ(Fault(R"({"result": "hang"})").Read(0)->hangSeconds, kHangForGood);
    EXPECT_TRUE(Fault(R"({"result": "crash"})").Read(0)->crash);
}

}  // namespace
