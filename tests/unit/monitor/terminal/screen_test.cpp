#include "monitor/terminal/screen.h"

#include <gtest/gtest.h>

#include "tests/unit/monitor/fakeconsole.h"

namespace zorvane {
namespace {

class ScreenTest : public FakeConsoleTest {};

TEST_F(ScreenTest, IsShownUntilItIsLeft) {
    PLAY_CONSOLE();
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    EXPECT_TRUE(m_isAlternateShown);
    EXPECT_TRUE(m_isAlternateOpen);
    screen.Leave();
    EXPECT_FALSE(m_isAlternateShown);
    EXPECT_FALSE(m_isAlternateOpen);
}

TEST_F(ScreenTest, DoesNotWrapLines) {
    PLAY_CONSOLE();
    DWORD mode = ENABLE_PROCESSED_OUTPUT | ENABLE_WRAP_AT_EOL_OUTPUT;
    PATCH_IMPORT(set, SetConsoleMode, [&](HANDLE buffer, DWORD flags) -> WINBOOL {
        EXPECT_EQ(buffer, Alternate());
        mode = flags;
        return TRUE;
    });
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    EXPECT_EQ(mode, DWORD{ENABLE_PROCESSED_OUTPUT});
}

TEST_F(ScreenTest, IsLeftWithItsObject) {
    PLAY_CONSOLE();
    {
        CScreen screen;
        ASSERT_FALSE(screen.Enter(Own()));
    }
    EXPECT_FALSE(m_isAlternateShown);
}

TEST_F(ScreenTest, IsLeftByACrash) {
    PLAY_CONSOLE();
    LPTOP_LEVEL_EXCEPTION_FILTER filter = nullptr;
    PATCH_IMPORT(setFilter, SetUnhandledExceptionFilter,
                 [&](LPTOP_LEVEL_EXCEPTION_FILTER set) -> LPTOP_LEVEL_EXCEPTION_FILTER {
                     return std::exchange(filter, set);
                 });
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    ASSERT_TRUE(filter);
    EXPECT_EQ(filter(nullptr), EXCEPTION_CONTINUE_SEARCH);
    EXPECT_FALSE(m_isAlternateShown);
    screen.Leave();
    EXPECT_FALSE(filter);
}

TEST_F(ScreenTest, WritesOnlyRowsThatHaveChanged) {
    PLAY_CONSOLE();
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    screen.Draw({std::string("one"), std::string("two")}, true);
    EXPECT_EQ(Row(m_alternate, 0), "one");
    EXPECT_EQ(Row(m_alternate, 1), "two");
    m_alternate.writes = 0;
    screen.Draw({std::string("one"), std::string("2")}, true);
    EXPECT_EQ(Row(m_alternate, 1), "2");
    EXPECT_EQ(m_alternate.writes, 2) << "the text and the blanks behind it";
    EXPECT_EQ(m_own.writes, 0);
}

TEST_F(ScreenTest, DrawsEverythingAgainInATerminalOfAnotherSize) {
    PLAY_CONSOLE();
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    screen.Draw({std::string("0123456789")}, true);
    m_alternate = Screen();
    m_size = {6, 3};
    screen.Draw({std::string("0123456789")}, true);
    EXPECT_EQ(Row(m_alternate, 0), "01234") << "the last cell stays blank";
    EXPECT_EQ(m_alternate.lines.size(), 3u);
}

TEST_F(ScreenTest, HasColoursWhereTheyAreWanted) {
    PLAY_CONSOLE();
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    StyledLine line("ok ");
    line.spans.push_back({"hot", Style::kAlarm});
    screen.Draw({line}, true);
    EXPECT_EQ(m_alternate.attributes[0][0], kPlain);
    EXPECT_EQ(m_alternate.attributes[0][3], FOREGROUND_RED | FOREGROUND_INTENSITY);
    EXPECT_EQ(m_alternate.attributes[0][6], kPlain);
    m_size.X -= 1;
    screen.Draw({line}, false);
    EXPECT_EQ(m_alternate.attributes[0][3], kPlain);
}

TEST_F(ScreenTest, SaysWhyItCannotBeDrawnOn) {
    PLAY_CONSOLE();
    CScreen screen;
    ASSERT_FALSE(screen.Enter(Own()));
    EXPECT_FALSE(screen.Failure());
    PATCH_IMPORT(broken, WriteConsoleW, [](HANDLE, const void*, DWORD, LPDWORD, LPVOID) -> WINBOOL {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });
    screen.Draw({std::string("x")}, true);
    ASSERT_TRUE(screen.Failure());
    EXPECT_EQ(screen.Failure()->call, "WriteConsoleW");
}

TEST_F(ScreenTest, SaysWhyItCannotBeShown) {
    PLAY_CONSOLE();
    PATCH_IMPORT(refused, SetConsoleActiveScreenBuffer, [](HANDLE) -> WINBOOL {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    CScreen screen;
    const auto error = screen.Enter(Own());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "SetConsoleActiveScreenBuffer");
    EXPECT_FALSE(m_isAlternateOpen);
}

}  // namespace
}  // namespace zorvane
