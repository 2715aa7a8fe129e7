#include "monitor/json/objectfiller.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(ObjectFillerTest, PutsMembersInTheirOrder) {
    OrderedJson object;
    CObjectFiller filler(object);
    filler.Put("text", "a");
    filler.Put("wide", L"\x00C4");
    filler.Put("number", -1);
    filler.Put("truth", true);
    filler.Put("null", nullptr);
    filler.Put("nothing", std::optional<int>());
    filler.Put("something", std::optional<int>(7));
    EXPECT_EQ(object.dump(),
              "{\"text\":\"a\",\"wide\":\"\xC3\x84\",\"number\":-1,\"truth\":true,"
              "\"null\":null,\"nothing\":null,\"something\":7}");
}

TEST(ObjectFillerTest, LeavesNothingOfTheObjectBefore) {
    OrderedJson object = {{"a", 1}, {"b", "text"}, {"c", 3}};
    CObjectFiller(object).Put("a", 2);
    EXPECT_EQ(object.dump(), R"({"a":2})");
    CObjectFiller(object).Put("b", 3);
    EXPECT_EQ(object.dump(), R"({"b":3})");
    CObjectFiller{object};
    EXPECT_EQ(object.dump(), "{}");
}

TEST(ObjectFillerTest, KeepsTheMemoryOfATextUnderTheSameName) {
    OrderedJson object = {{"a", std::string(100, 'x')}};
    const auto* text = object["a"].get_ptr<std::string*>();
    CObjectFiller(object).Put("a", "short");
    EXPECT_EQ(object["a"].get_ptr<std::string*>(), text);
    EXPECT_EQ(*text, "short");
}

}  // namespace
}  // namespace zorvane
