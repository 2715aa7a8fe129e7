#include "monitor/newfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class NewFileTest : public testing::Test {
  protected:
    // What is said; empty when the file was made.
    static std::string Refusal(const std::wstring& path, bool overwrite) {
        const auto made = CreateNewFile(ToUtf8(path), overwrite);
        const auto* why = std::get_if<std::string>(&made);
        return why ? *why : "";
    }

    const CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"report.html");
};

TEST_F(NewFileTest, ReplacesAFileOnlyWhenItIsTold) {
    EXPECT_EQ(Refusal(m_path, false), "");
    WriteFileBytes(m_path, "mine");
    EXPECT_EQ(Refusal(m_path, false), ToUtf8(m_path) + " exists already; --overwrite replaces it");
    EXPECT_EQ(ReadFileBytes(m_path), "mine");
    EXPECT_EQ(Refusal(m_path, true), "");
    EXPECT_EQ(ReadFileBytes(m_path), "");
}

TEST_F(NewFileTest, NamesTheFileThatCannotBeMade) {
    const std::wstring path = m_folder.PathOf(L"no such folder\\report.html");
    for (const bool overwrite : {false, true}) {
        EXPECT_THAT(Refusal(path, overwrite), StartsWith("CreateFileW " + ToUtf8(path) + ": "));
        EXPECT_THAT(Refusal(path, overwrite), HasSubstr(" (3)"));
    }
}

}  // namespace
}  // namespace zorvane
