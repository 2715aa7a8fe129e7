#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "monitor/views/forms.h"
#include "tests/support/importpatch.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;

// A console of 60 by 8 characters that understands cursor moves, and catches all that is written.
class FormsTest : public testing::Test {
  protected:
    static constexpr SHORT kColumns = 60;
    static constexpr SHORT kRows = 8;

    void Write(std::wstring_view text) {
        for (const wchar_t c : text) {
            if (c == L'\n') {
                m_column = 0;
                ++m_row;
                continue;
            }
            m_screen.resize(std::max(m_screen.size(), m_row + 1));
            std::wstring& line = m_screen[m_row];
            line.resize(std::max(line.size(), m_column + 1), L' ');
            line[m_column++] = c;
        }
    }

    std::string Row(size_t number) const {
        if (number >= m_screen.size()) {
            return "";
        }
        const std::wstring& line = m_screen[number];
        return ToUtf8(line.substr(0, line.find_last_not_of(L' ') + 1));
    }

    static Display Made(const std::string& form) {
        Display display;
        EXPECT_FALSE(MakeDisplay({.format = form}, display));
        return display;
    }

    std::vector<std::wstring> m_screen;
    size_t m_row = 0;
    size_t m_column = 0;
};

// Plays the console of FormsTest for the rest of the scope.
#define PLAY_CONSOLE()                                                                            \
    PATCH_IMPORT(mode, GetConsoleMode, [](HANDLE, LPDWORD) -> WINBOOL { return TRUE; });          \
    PATCH_IMPORT(write, WriteConsoleW,                                                            \
                 [this](HANDLE, const void* text, DWORD length, LPDWORD, LPVOID) -> WINBOOL {     \
                     Write({static_cast<const wchar_t*>(text), length});                          \
                     return TRUE;                                                                 \
                 });                                                                              \
    PATCH_IMPORT(                                                                                 \
        info, GetConsoleScreenBufferInfo,                                                         \
        [this](HANDLE, PCONSOLE_SCREEN_BUFFER_INFO buffer) -> WINBOOL {                           \
            buffer->dwCursorPosition = {static_cast<SHORT>(m_column), static_cast<SHORT>(m_row)}; \
            buffer->srWindow = {0, 0, kColumns - 1, kRows - 1};                                   \
            return TRUE;                                                                          \
        });                                                                                       \
    PATCH_IMPORT(move, SetConsoleCursorPosition, [this](HANDLE, COORD position) -> WINBOOL {      \
        m_column = static_cast<size_t>(position.X);                                               \
        m_row = static_cast<size_t>(position.Y);                                                  \
        return TRUE;                                                                              \
    })

TEST_F(FormsTest, TheLiveTableIsDrawnAnewInItsPlace) {
    PLAY_CONSOLE();
    const Display display = Made("table");
    IView* view = display.view.get();
    CMachineModel model;
    view->OnChange(model);
    EXPECT_EQ(Row(1), "No NVIDIA GPU has been reported.");
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(0, CpuTemperature{47}));
    view->OnChange(model);
    EXPECT_THAT(Row(1), testing::StartsWith("PCI bus id"));
    EXPECT_EQ(Row(4), "CPU temperature: 47 C");
    EXPECT_EQ(m_row, 5u);
}

TEST_F(FormsTest, ALowerLiveTableLeavesNothingOfTheHigherOne) {
    PLAY_CONSOLE();
    const Display display = Made("table");
    IView* view = display.view.get();
    CMachineModel model;
    model.Apply(EventAt(0, FullReading()));
    view->OnChange(model);
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    view->OnChange(model);
    EXPECT_EQ(Row(2), "CPU temperature: n/a");
    EXPECT_EQ(Row(3), "");
    EXPECT_EQ(Row(4), "");
}

TEST_F(FormsTest, TheLiveTableStaysInsideTheTerminal) {
    PLAY_CONSOLE();
    const Display display = Made("table");
    IView* view = display.view.get();
    CMachineModel model;
    for (uint32_t i = 0; i < 8; ++i) {
        model.Apply(EventAt(0, Reading(i, "")));
    }
    view->OnChange(model);
    EXPECT_EQ(m_row, static_cast<size_t>(kRows - 1));
    for (const std::wstring& line : m_screen) {
        EXPECT_LT(line.size(), static_cast<size_t>(kColumns));
    }
}

TEST_F(FormsTest, ANoteStandsAboveTheLiveTable) {
    PLAY_CONSOLE();
    const Display display = Made("table");
    IView* view = display.view.get();
    view->OnChange(CMachineModel());
    display.notes->ShowNote("something happened");
    EXPECT_EQ(Row(0), "zorvanemon: something happened");
    EXPECT_EQ(Row(2), "No NVIDIA GPU has been reported.");
    view->OnChange(CMachineModel());
    EXPECT_EQ(Row(0), "zorvanemon: something happened");
    EXPECT_EQ(Row(2), "No NVIDIA GPU has been reported.");
    EXPECT_EQ(m_row, 4u);
}

TEST_F(FormsTest, JsonGoesToATerminalAsLinesToo) {
    PLAY_CONSOLE();
    const Display display = Made("json");
    IView* view = display.view.get();
    view->OnEvent(EventAt(0, CpuTemperature{47}), CMachineModel());
    view->OnChange(CMachineModel());
    view->OnRound(CMachineModel());
    EXPECT_THAT(Row(0), HasSubstr(R"("type":"cpu")"));
    EXPECT_EQ(m_row, 1u);
}

TEST_F(FormsTest, RefusesAFormThatThereIsNot) {
    Display display;
    EXPECT_TRUE(MakeDisplay({.format = "xml"}, display));
    EXPECT_THAT(FormNames(), testing::ElementsAre("table", "json", "csv", "prometheus"));
}

}  // namespace
}  // namespace zorvane
