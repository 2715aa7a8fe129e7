// The short forms of the campaigns; scripts/campaign runs the long ones.
#include <gtest/gtest.h>

#include "tests/campaigns/commandlines.h"
#include "tests/campaigns/otherruns.h"
#include "tests/campaigns/sharedlog.h"

namespace {

constexpr unsigned kJobs = 4;

// Collects what a campaign says.
class Campaign : public testing::Test {
  protected:
    const Reporter m_report = [this](const std::string& line) { m_said += line + "\n"; };
    std::string m_said;
};

}  // namespace

TEST_F(Campaign, OfStartsFindsNothing) {
    const RunFigures figures = RunStarts(12, 20, kJobs, m_report);
    EXPECT_EQ(figures.runs, 12u);
    EXPECT_EQ(figures.findings, 0u) << m_said;
}

TEST_F(Campaign, OfBadNeighboursFindsNothing) {
    const RunFigures figures = RunNeighbours(20, kJobs, m_report);
    EXPECT_EQ(figures.runs, 20u);
    EXPECT_EQ(figures.findings, 0u) << m_said;
}

TEST_F(Campaign, OfStrangersMessagesFindsNothing) {
    const RunFigures figures = RunStrangers(4, 20, kJobs, m_report);
    EXPECT_EQ(figures.runs, 4u);
    EXPECT_EQ(figures.findings, 0u) << m_said;
}

TEST_F(Campaign, OfManyCyclesFindsNothing) {
    EXPECT_EQ(RunSoak(300, m_report).findings, 0u) << m_said;
}

TEST_F(Campaign, OfASharedLogFindsNothing) {
    const LogFigures figures = RunSharedLog(2, m_report);
    EXPECT_EQ(figures.lines, 16000u);
    EXPECT_EQ(figures.findings, 0u) << m_said;
}

TEST_F(Campaign, OfRandomCommandLinesFindsNothing) {
    const LineFigures figures = RunCommandLines(5000, 20, m_report);
    EXPECT_GT(figures.words, 5000u);
    EXPECT_EQ(figures.findings, 0u) << m_said;
}
