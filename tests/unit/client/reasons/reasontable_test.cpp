#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <utility>

#include "client/reasons/findreason.h"
#include "client/reasons/reason.h"

using namespace zorvane;

namespace {

bool ExplainsMissing(ReasonKind kind) {
    return kind == ReasonKind::kConsequence || kind == ReasonKind::kLikelyCause ||
           kind == ReasonKind::kCause;
}

void ExpectWords(const std::string& text) {
    EXPECT_TRUE(std::regex_match(text, std::regex(R"([ -~]*)"))) << text;
    EXPECT_EQ(text.find("  "), std::string::npos) << text;
    EXPECT_EQ(text.find('|'), std::string::npos) << text << ": would break the page's tables";
}

void ExpectSentence(const std::string& text) {
    ExpectWords(text);
    EXPECT_TRUE(std::regex_match(text, std::regex(R"([A-Z0-9].*\.)"))) << text;
}

void ExpectTexts(ReasonKind kind, const std::string& brief, const std::string& text,
                 const std::string& remedy) {
    ExpectSentence(text);
    if (!remedy.empty()) {
        ExpectSentence(remedy);
    }
    ExpectWords(brief);
    EXPECT_EQ(ExplainsMissing(kind), !brief.empty()) << text;
    EXPECT_FALSE(brief.ends_with('.')) << brief;
}

// A message as the format makes it.
std::string Sample(std::string format) {
    for (const auto& [conversion, value] : {std::pair{"%d", "17"},
                                            {"%u", "17"},
                                            {"%lu", "17"},
                                            {"%.2f", "-17.25"},
                                            {"%s", "C:\\a b"}}) {
        for (size_t at = format.find(conversion); at != std::string::npos;
             at = format.find(conversion)) {
            format.replace(at, std::string(conversion).size(), value);
        }
    }
    return format;
}

}  // namespace

TEST(ReasonTable, IsWrittenInWholeSentences) {
    for (const Reason& reason : Reasons()) {
        SCOPED_TRACE(reason.id);
        ExpectTexts(reason.kind, reason.brief, reason.text, reason.remedy);
    }
    for (const SpecialCase& special : SpecialCases()) {
        SCOPED_TRACE(special.id);
        ExpectTexts(special.kind, special.brief, special.text, special.remedy);
    }
    for (const CodeMeaning& meaning : CodeMeanings()) {
        SCOPED_TRACE(meaning.code);
        ExpectWords(meaning.text);
        EXPECT_FALSE(std::string(meaning.text).ends_with('.')) << meaning.text;
        if (*meaning.remedy) {
            ExpectSentence(meaning.remedy);
        }
    }
}

TEST(ReasonTable, HasAnIdForEveryRow) {
    std::set<std::string> ids;
    for (const Reason& reason : Reasons()) {
        EXPECT_TRUE(std::regex_match(reason.id, std::regex("[a-z]+\\.[a-z][a-z0-9_]*")))
            << reason.id;
        EXPECT_TRUE(ids.insert(reason.id).second) << reason.id << " is there twice";
    }
}

TEST(ReasonTable, HasARowWithACodeForEverySpecialCase) {
    std::set<std::pair<std::string, int64_t>> cases;
    for (const SpecialCase& special : SpecialCases()) {
        const auto row =
            std::find_if(Reasons().begin(), Reasons().end(), [&special](const Reason& reason) {
                return reason.id == std::string(special.id) && reason.code != CodeKind::kNone;
            });
        EXPECT_NE(row, Reasons().end()) << special.id;
        EXPECT_TRUE(cases.emplace(special.id, special.code).second) << special.id;
    }
}

TEST(ReasonTable, HasEveryCodeOnce) {
    std::set<std::pair<CodeKind, int64_t>> codes;
    for (const CodeMeaning& meaning : CodeMeanings()) {
        EXPECT_TRUE(codes.emplace(meaning.kind, meaning.code).second) << meaning.code;
    }
}

TEST(ReasonTable, KnowsTheCodesThatPeopleMeet) {
    const auto text = [](CodeKind kind, int64_t code) -> std::string {
        for (const CodeMeaning& meaning : CodeMeanings()) {
            if (meaning.kind == kind && meaning.code == code) {
                return meaning.text;
            }
        }
        return "";
    };
    for (const int64_t code : {2, 3, 5, 193, 577, 1056, 1058, 1060, 1072, 1073, 1275}) {
        EXPECT_NE(text(CodeKind::kWindows, code), "") << code;
    }
    for (const int64_t code : {4, 9, 12, 15, 16, 18, 999}) {
        EXPECT_NE(text(CodeKind::kNvml, code), "") << code;
    }
    // Every state but "running", with which the line is not written.
    for (const int64_t code : {1, 2, 3, 5, 6, 7}) {
        EXPECT_NE(text(CodeKind::kServiceState, code), "") << code;
    }
}

// Conversions that the matcher does not know would match nothing.
TEST(ReasonTable, FindsEveryRowByALineOfIt) {
    for (const Reason& reason : Reasons()) {
        const std::string sample = Sample(reason.format);
        EXPECT_EQ(sample.find('%'), std::string::npos) << sample;
        const std::optional<ReasonMatch> match = FindReason(reason.source, sample);
        ASSERT_TRUE(match) << sample;
        EXPECT_STREQ(match->reason->id, reason.id) << sample;
        EXPECT_EQ(match->code.has_value(), reason.code != CodeKind::kNone) << sample;
    }
}
