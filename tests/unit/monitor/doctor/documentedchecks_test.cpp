// The table of checks in docs/doctor.md against the checks themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "monitor/doctor/check.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

// What stands between the first two backquotes of each row of the table.
std::vector<std::string> DocumentedIds() {
    std::istringstream page(
        ReadFileBytes(std::filesystem::path(ZORVANE_SOURCE_DIR "/docs/doctor.md").wstring()));
    std::vector<std::string> ids;
    bool isInTable = false;
    for (std::string line; std::getline(page, line);) {
        isInTable = line.starts_with("| id |") || (isInTable && line.starts_with("|"));
        if (isInTable && line.starts_with("| `")) {
            ids.push_back(line.substr(3, line.find('`', 3) - 3));
        }
    }
    return ids;
}

TEST(DocumentedChecksTest, AreThoseThatAreMadeInTheirOrder) {
    std::vector<std::string> made;
    for (const Check& check : Checks()) {
        made.emplace_back(check.id);
    }
    EXPECT_EQ(DocumentedIds(), made);
}

}  // namespace
}  // namespace zorvane
