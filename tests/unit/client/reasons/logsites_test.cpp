// The table of reasons against the log sites of src/: a line that the worker can write has exactly
// one row, and a row has a line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/reasons/reason.h"
#include "tests/unit/client/reasons/sourcetext.h"

using testing::Contains;
using zorvane::Reason;
using zorvane::Reasons;

namespace {

using SourceAndFormat = std::pair<std::string, std::string>;

std::filesystem::path SourceFolder(const char* name) {
    return std::filesystem::path(ZORVANE_SOURCE_DIR) / name;
}

// Literals of src/log that are no line and no part of one.
const std::set<std::string> kOtherLiterals = {"[I]",
                                              "(null)",
                                              ".on",
                                              "",
                                              "Log\\Qorvella_HardwareDll.log",
                                              "%02d-%02d %02d:%02d:%02d.%03d [%5d][%5d][%s]"};

// What a format consists of between its conversions: the debugger's lines are put together from it.
std::vector<std::string> PiecesOf(std::string format) {
    std::vector<std::string> pieces;
    for (size_t at = format.find('%'); at != std::string::npos; at = format.find('%')) {
        pieces.push_back(format.substr(0, at));
        format.erase(0, at + 2);
    }
    pieces.push_back(format);
    return pieces;
}

// Every literal that the rows of markers and of the debugger's lines promise.
std::set<std::string> LiteralsOfTheLog() {
    std::set<std::string> literals;
    for (const Reason& reason : Reasons()) {
        if (reason.source == std::string(zorvane::kMarkerSource)) {
            literals.insert(reason.format);
        } else if (reason.source == std::string(zorvane::kDebuggerSource)) {
            for (const std::string& piece : PiecesOf(reason.format)) {
                literals.insert(piece);
            }
        }
    }
    return literals;
}

}  // namespace

TEST(SourceText, FindsSitesAsTheCompilerReadsThem) {
    const std::vector<LogSite> sites = LogSitesOf("one.cpp", R"cpp(
        constexpr char kLogSource[] = "folder\\one.cpp";
        // LOG_INFO(L"in a comment");
        /* LOG_INFO(L"in a longer
           comment"); */
        const int million = 1'000'000;
        const char quote = '"';
        const wchar_t* text = L"LOG_INFO(L\"in a text\")";
        LOG_INFO(
            L"a \"quoted\" \\ %s"
            L" and more",
            text);
        LOG_INFO(text);)cpp");
    ASSERT_EQ(sites.size(), 2u);
    EXPECT_EQ(sites[0].source, "one");
    EXPECT_EQ(sites[0].format, "a \"quoted\" \\ %s and more");
    EXPECT_EQ(sites[1].format, "");
}

TEST(LogSites, HaveALiteralFormatAndASource) {
    const std::vector<LogSite> sites = LogSitesBelow(SourceFolder("src"));
    EXPECT_GT(sites.size(), 50u) << ZORVANE_SOURCE_DIR;
    for (const LogSite& site : sites) {
        EXPECT_NE(site.format, "") << site.file;
        EXPECT_NE(site.source, "") << site.file << ": " << site.format;
    }
}

TEST(LogSites, HaveExactlyOneRow) {
    for (const LogSite& site : LogSitesBelow(SourceFolder("src"))) {
        const auto rows =
            std::count_if(Reasons().begin(), Reasons().end(), [&site](const Reason& reason) {
                return reason.source == site.source && reason.format == site.format;
            });
        EXPECT_EQ(rows, 1) << site.file << " logs \"" << site.format
                           << "\": add its meaning to client/reasons/reasontable.cpp";
    }
}

TEST(LogSites, AreThereForEveryRow) {
    std::set<SourceAndFormat> sites;
    for (const LogSite& site : LogSitesBelow(SourceFolder("src"))) {
        sites.emplace(site.source, site.format);
    }
    for (const Reason& reason : Reasons()) {
        const std::string source = reason.source;
        if (source != zorvane::kMarkerSource && source != zorvane::kDebuggerSource) {
            EXPECT_THAT(sites, Contains(SourceAndFormat(source, reason.format)))
                << "nothing logs this any more: take its row out of reasontable.cpp";
        }
    }
}

TEST(LogSites, MarkersAndDebuggerLinesHaveARowEach) {
    const std::vector<std::string> literals = WideLiteralsBelow(SourceFolder("src/log"));
    const std::set<std::string> rows = LiteralsOfTheLog();
    for (const std::string& literal : literals) {
        EXPECT_TRUE(rows.contains(literal) || kOtherLiterals.contains(literal))
            << "src/log writes \"" << literal
            << "\": add its meaning to client/reasons/reasontable.cpp";
    }
    for (const std::string& row : rows) {
        EXPECT_TRUE(row.empty() || row == "\n" || std::count(literals.begin(), literals.end(), row))
            << "src/log does not write \"" << row << "\" any more";
    }
}
