#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "base/handle.h"
#include "client/reasons/findreason.h"
#include "client/reasons/logline.h"
#include "client/reasons/missingreasons.h"
#include "client/reasons/supportpage.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/tempfolder.h"

using testing::HasSubstr;
using namespace zorvane;

namespace {

std::string Page() {
    const std::filesystem::path path =
        std::filesystem::path(ZORVANE_SOURCE_DIR) / "docs" / "support.md";
    return ReadFileBytes(path.wstring());
}

// The first line of `updated` that differs from `page`.
std::string FirstNewLine(const std::string& page, const std::string& updated) {
    const auto difference =
        std::mismatch(updated.begin(), updated.end(), page.begin(), page.end()).first;
    const size_t at = static_cast<size_t>(difference - updated.begin());
    const size_t begin = updated.rfind('\n', at) + 1;
    return updated.substr(begin, updated.find('\n', at) - begin);
}

// The log of a healthy first start, indented by four blanks.
std::vector<LogLine> HealthyLines() {
    std::vector<LogLine> lines;
    std::string page = Page();
    page.erase(0, page.find("### A healthy first start"));
    for (size_t end = page.find('\n'); end != std::string::npos; end = page.find('\n')) {
        if (page.starts_with("    ")) {
            if (const auto line = ParseLogLine(std::string_view(page).substr(4, end - 4))) {
                lines.push_back(*line);
            }
        }
        page.erase(0, end + 1);
    }
    return lines;
}

}  // namespace

TEST(SupportPage, HasTheTablesOfThisVersion) {
    const std::string page = Page();
    ASSERT_NE(page, "") << ZORVANE_SOURCE_DIR;
    const std::string updated = UpdateSupportPage(page);
    // Not EXPECT_EQ, which would print the whole page three times.
    EXPECT_TRUE(updated == page)
        << "docs/support.md is older than client/reasons: run scripts/update-docs. It lacks: "
        << FirstNewLine(page, updated);
}

TEST(SupportPage, HasEveryTable) {
    const std::string page = Page();
    for (const char* name :
         {"cpu", "driver", "errno", "gpu", "log", "nvml", "state", "windows", "worker"}) {
        EXPECT_THAT(page, HasSubstr("<!-- reasons: " + std::string(name) + " -->"));
    }
}

TEST(SupportPage, ShowsAHealthyFirstStart) {
    const std::vector<LogLine> lines = HealthyLines();
    EXPECT_GT(lines.size(), 15u);
    for (const LogLine& line : lines) {
        const std::optional<Explanation> explanation = ExplainLine(line.source, line.message);
        ASSERT_TRUE(explanation) << line.message;
        EXPECT_TRUE(explanation->kind == ReasonKind::kHealthy ||
                    explanation->kind == ReasonKind::kReading)
            << line.message;
    }
    const MissingReadings missing = FindMissingReadings(lines);
    EXPECT_FALSE(missing.cpu);
    EXPECT_FALSE(missing.gpu);
}

TEST(SupportPage, IsKeptOutsideItsTables) {
    const std::string page =
        UpdateSupportPage("before\n<!-- reasons: state -->\nold\n<!-- end -->\nafter\n");
    EXPECT_TRUE(page.starts_with("before\n<!-- reasons: state -->\n| code | ")) << page;
    EXPECT_TRUE(page.ends_with(" |\n<!-- end -->\nafter\n")) << page;
    EXPECT_THAT(page, HasSubstr("| 1 | stopped |\n"));
    EXPECT_THAT(page, Not(HasSubstr("old")));
}

TEST(SupportPage, ShowsLinesAsTheirReadersMeetThem) {
    const std::string page = UpdateSupportPage("<!-- reasons: driver -->\n<!-- end -->\n");
    EXPECT_THAT(page, HasSubstr("| `TEXT OpenService failed. N, N` | reason |"));
    EXPECT_THAT(page, HasSubstr("| `OpenService error. 1060` | normal |"));
    EXPECT_THAT(page, HasSubstr("| `driver.open.1060` |"));
}

TEST(SupportPage, RefusesATableThatItDoesNotKnow) {
    EXPECT_THROW(UpdateSupportPage("<!-- reasons: x -->\n<!-- end -->\n"), std::runtime_error);
    EXPECT_THROW(UpdateSupportPage("<!-- reasons: cpu -->\nno end\n"), std::runtime_error);
    EXPECT_THROW(UpdateSupportPage("<!-- reasons: cpu"), std::runtime_error);
}

TEST(UpdateSupportPage, SaysThatThePageCannotBeRead) {
    const CTempFolder folder;
    const CChildProcess tool(BuildFolder(L"client\\reasons") + L"\\updatesupportpage.exe",
                             L"\"" + folder.PathOf(L"none.md") + L"\"");
    EXPECT_EQ(tool.Wait(), 1u);
    EXPECT_THAT(tool.Errors(), HasSubstr("none.md: "));
}

TEST(UpdateSupportPage, SaysThatThePageCannotBeWritten) {
    const CTempFolder folder;
    const std::wstring path = folder.PathOf(L"support.md");
    WriteFileBytes(path, Page());
    const CUniqueHandle reader =
        OwnFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    const CChildProcess tool(BuildFolder(L"client\\reasons") + L"\\updatesupportpage.exe",
                             L"\"" + path + L"\"");
    EXPECT_EQ(tool.Wait(), 1u);
    EXPECT_THAT(tool.Errors(), HasSubstr("support.md: "));
    EXPECT_EQ(ReadFileBytes(path), Page());
}
