#include "monitor/sources/linereader.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

class LineReaderTest : public testing::Test {
  protected:
    // Opens a file with this content.
    void Open(const std::string& content) {
        WriteFileBytes(m_path, content);
        ASSERT_FALSE(m_reader.Open(m_path));
    }

    void ExpectNext(const std::string& text, bool isWhole, uint64_t number) {
        const auto line = m_reader.Next();
        ASSERT_TRUE(line) << "line " << number;
        EXPECT_EQ(line->text, text);
        EXPECT_EQ(line->isWhole, isWhole) << "line " << number;
        EXPECT_EQ(line->number, number);
    }

    const CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"lines");
    CLineReader m_reader;
};

TEST_F(LineReaderTest, GivesLinesWithoutTheirEndsAndTheLastAsItIs) {
    Open("one\r\ntwo\n\r\n\nt\rhree\r\r\nfour\r");
    ExpectNext("one", true, 1);
    ExpectNext("two", true, 2);
    ExpectNext("", true, 3);
    ExpectNext("", true, 4);
    ExpectNext("t\rhree\r", true, 5);
    ExpectNext("four\r", false, 6);
    EXPECT_FALSE(m_reader.Next());
    EXPECT_FALSE(m_reader.Failure());
}

TEST_F(LineReaderTest, CutsALineThatIsTooLong) {
    const std::string longest(CLineReader::kLongestLine, 'x');
    Open(longest + "\n" + longest + longest + "\nnext\n");
    ExpectNext(longest, true, 1);
    const auto cut = m_reader.Next();
    ASSERT_TRUE(cut);
    EXPECT_FALSE(cut->isWhole);
    EXPECT_GE(cut->text.size(), longest.size());
    EXPECT_LT(cut->text.size(), 2 * longest.size());
}

TEST_F(LineReaderTest, NamesTheCallThatFails) {
    const auto error = m_reader.Open(m_folder.PathOf(L"none"));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "CreateFileW " + ToUtf8(m_folder.PathOf(L"none")));
    EXPECT_EQ(error->code, DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
}  // namespace zorvane
