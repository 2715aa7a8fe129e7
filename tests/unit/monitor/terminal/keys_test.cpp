#include "monitor/terminal/keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

INPUT_RECORD Pressed(wchar_t character, bool isDown = true) {
    INPUT_RECORD record{};
    record.EventType = KEY_EVENT;
    record.Event.KeyEvent.bKeyDown = isDown;
    record.Event.KeyEvent.uChar.UnicodeChar = character;
    return record;
}

TEST(KeysTest, KnowsItsKeysInEitherCaseWhenTheyGoDown) {
    EXPECT_EQ(KeyOf(Pressed(L'q')), Key::kQuit);
    EXPECT_EQ(KeyOf(Pressed(L'P')), Key::kPause);
    EXPECT_FALSE(KeyOf(Pressed(L'q', false)));
    EXPECT_FALSE(KeyOf(Pressed(L'x')));
    INPUT_RECORD size{};
    size.EventType = WINDOW_BUFFER_SIZE_EVENT;
    EXPECT_EQ(KeyOf(size), Key::kResize);
    INPUT_RECORD focus{};
    focus.EventType = FOCUS_EVENT;
    EXPECT_FALSE(KeyOf(focus));
}

// A console's input that holds what the test puts there.
class KeysConsoleTest : public testing::Test {
  protected:
    DWORD Read(INPUT_RECORD* records, DWORD most) {
        DWORD count = 0;
        for (; count < most && !m_input.empty(); ++count) {
            records[count] = m_input.front();
            m_input.pop_front();
        }
        return count;
    }

    std::deque<INPUT_RECORD> m_input;
    DWORD m_mode = ENABLE_PROCESSED_INPUT;
    bool m_isBroken = false;
};

#define PLAY_CONSOLE_INPUT()                                                                    \
    PATCH_IMPORT(getMode, GetConsoleMode, [this](HANDLE, LPDWORD mode) -> WINBOOL {             \
        *mode = m_mode;                                                                         \
        return TRUE;                                                                            \
    });                                                                                         \
    PATCH_IMPORT(setMode, SetConsoleMode, [this](HANDLE, DWORD mode) -> WINBOOL {               \
        m_mode = mode;                                                                          \
        return TRUE;                                                                            \
    });                                                                                         \
    PATCH_IMPORT(waiting, GetNumberOfConsoleInputEvents, [this](HANDLE, LPDWORD n) -> WINBOOL { \
        *n = static_cast<DWORD>(m_input.size());                                                \
        return TRUE;                                                                            \
    });                                                                                         \
    PATCH_IMPORT(read, ReadConsoleInputW,                                                       \
                 [this](HANDLE, PINPUT_RECORD records, DWORD most, LPDWORD n) -> WINBOOL {      \
                     *n = m_isBroken ? 0 : Read(records, most);                                 \
                     return !m_isBroken;                                                        \
                 })

TEST_F(KeysConsoleTest, TakesAllThatHasComeAndPutsTheModeBack) {
    PLAY_CONSOLE_INPUT();
    {
        CKeys keys(GetCurrentProcess());
        EXPECT_EQ(keys.Handle(), GetCurrentProcess());
        EXPECT_EQ(m_mode, DWORD{ENABLE_PROCESSED_INPUT | ENABLE_WINDOW_INPUT});
        EXPECT_THAT(keys.Take(), IsEmpty());
        m_input.assign(50, Pressed(L'x'));
        m_input.push_back(Pressed(L'p'));
        m_input.push_back(Pressed(L'q'));
        EXPECT_THAT(keys.Take(), ElementsAre(Key::kPause, Key::kQuit));
    }
    EXPECT_EQ(m_mode, DWORD{ENABLE_PROCESSED_INPUT});
}

TEST_F(KeysConsoleTest, WaitsForNothingMoreFromAConsoleThatHasGone) {
    PLAY_CONSOLE_INPUT();
    CKeys keys(GetCurrentProcess());
    m_input.push_back(Pressed(L'q'));
    m_isBroken = true;
    EXPECT_THAT(keys.Take(), IsEmpty());
    EXPECT_EQ(keys.Handle(), nullptr);
}

TEST(KeysTest, HasNoKeysWhereThereIsNoConsole) {
    CKeys keys(nullptr);
    EXPECT_EQ(keys.Handle(), nullptr);
    EXPECT_THAT(keys.Take(), IsEmpty());
}

}  // namespace
}  // namespace zorvane
