#include "monitor/options/warningoptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/commands/watch.h"
#include "monitor/options/commandline.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

// The thresholds that the watch command makes of the words; the refusal where it takes them not.
Thresholds ParsedThresholds(const Words& words, std::string* refusal = nullptr) {
    const Commands commands = MakeCommands();
    const auto result = ParseCommandLine(commands, words);
    if (const auto* end = std::get_if<ParseEnd>(&result)) {
        EXPECT_TRUE(refusal) << end->text;
        if (refusal) {
            *refusal = end->text;
        }
        return {};
    }
    const auto* watch = dynamic_cast<const CWatchCommand*>(std::get<Chosen>(result).command);
    return watch ? watch->WarningPart() : Thresholds();
}

std::string RefusalOf(const Words& words) {
    std::string refusal;
    ParsedThresholds(words, &refusal);
    return refusal;
}

TEST(WarningOptionsTest, ChangesTheUsualThresholdsOneByOne) {
    EXPECT_EQ(ParsedThresholds({}), UsualThresholds());
    EXPECT_EQ(ParsedThresholds({"--warn", "gpu.temp=70.5", "--warn", "GPU.Fan=90", "skip_delete"}),
              (Thresholds{{"gpu.temp", 70.5}, {"cpu.temp", 95}, {"gpu.fan", 90}}));
    EXPECT_EQ(ParsedThresholds({"--warn", "cpu.temp=off"}), (Thresholds{{"gpu.temp", 85}}));
    EXPECT_EQ(ParsedThresholds({"--warn", "gpu.temp=70", "--warn", "gpu.temp=80"}).at("gpu.temp"),
              80);
}

TEST(WarningOptionsTest, SwitchesEverythingOffThatCameBefore) {
    EXPECT_EQ(ParsedThresholds({"--warn", "off"}), Thresholds());
    EXPECT_EQ(ParsedThresholds({"--warn", "gpu.temp=70", "--warn", "OFF", "--warn", "cpu.temp=60"}),
              (Thresholds{{"cpu.temp", 60}}));
}

TEST(WarningOptionsTest, NamesTheWordThatItDoesNotKnowAndThoseThatItDoes) {
    EXPECT_THAT(RefusalOf({"--warn", "gpu.tmp=85"}),
                HasSubstr("--warn knows gpu.temp, gpu.util, gpu.mem, gpu.fan or cpu.temp, not "
                          "\"gpu.tmp\". Did you mean gpu.temp?"));
    EXPECT_THAT(RefusalOf({"--warn", "off=5"}), HasSubstr("not \"off\""));
}

TEST(WarningOptionsTest, RefusesALimitThatIsNone) {
    for (const char* word : {"gpu.temp", "gpu.temp=", "gpu.temp=hot", "gpu.temp=0", "gpu.temp=-5",
                             "gpu.temp=85C", "gpu.temp=nan"}) {
        EXPECT_THAT(RefusalOf({"--warn", word}),
                    HasSubstr("--warn gpu.temp takes a number above 0 or off"))
            << word;
    }
}

}  // namespace
}  // namespace zorvane
