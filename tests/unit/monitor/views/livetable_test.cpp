#include "monitor/views/livetable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/views/forms.h"
#include "tests/unit/monitor/fakeconsole.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class LiveTableTest : public FakeConsoleTest {
  protected:
    static Display Made() {
        Display display;
        EXPECT_FALSE(MakeDisplay({"table"}, display));
        return display;
    }

    static CMachineModel OneGpu(int celsius) {
        CMachineModel model;
        model.Apply(EventAt(0, FullReading()));
        model.Apply(EventAt(0, CpuTemperature{celsius}));
        return model;
    }

    std::string Shown() const { return All(m_alternate); }
};

TEST_F(LiveTableTest, IsDrawnAnewInItsPlaceOnAScreenOfItsOwn) {
    PLAY_CONSOLE();
    const Display display = Made();
    EXPECT_TRUE(m_isAlternateShown);
    display.view->OnChange(CMachineModel());
    EXPECT_EQ(Row(m_alternate, 1), "No NVIDIA GPU has been reported.");
    display.view->OnChange(OneGpu(47));
    EXPECT_THAT(Row(m_alternate, 1), StartsWith("PCI "));
    EXPECT_EQ(Row(m_alternate, 4), "CPU temperature: 47 C");
    display.view->OnChange(CMachineModel());
    EXPECT_EQ(Row(m_alternate, 2), "CPU temperature: n/a");
    EXPECT_EQ(Row(m_alternate, 4), "") << "nothing is left of the higher table";
    EXPECT_EQ(m_own.writes, 0);
}

TEST_F(LiveTableTest, StaysInsideTheTerminal) {
    PLAY_CONSOLE();
    const Display display = Made();
    CMachineModel model;
    for (uint32_t i = 0; i < 48; ++i) {
        model.Apply(EventAt(0, Reading(i, "")));
    }
    display.view->OnChange(model);
    EXPECT_EQ(m_alternate.lines.size(), static_cast<size_t>(m_size.Y));
    EXPECT_EQ(Row(m_alternate, 11), "... and 40 more, CPU n/a");
    for (const std::wstring& line : m_alternate.lines) {
        EXPECT_LT(line.size(), static_cast<size_t>(m_size.X));
    }
}

TEST_F(LiveTableTest, HasTheNewestNoteBelow) {
    PLAY_CONSOLE();
    const Display display = Made();
    display.view->OnChange(OneGpu(47));
    display.view->OnEvent(EventAt(5, NoticeEvent()), CMachineModel());
    display.notes->ShowNote("first");
    display.notes->ShowNote("second \x1b[2J");
    EXPECT_EQ(Row(m_alternate, 11), LocalClock(TimeOfTest(5)) + "  second ?[2J");
    EXPECT_EQ(Row(m_alternate, 10), LocalClock(TimeOfTest(5)) + "  first");
    EXPECT_EQ(Row(m_alternate, 4), "CPU temperature: 47 C");
}

TEST_F(LiveTableTest, StandsStillInAPauseAndSaysSo) {
    PLAY_CONSOLE();
    const Display display = Made();
    display.view->OnChange(OneGpu(47));
    display.view->OnKey(Key::kPause);
    EXPECT_THAT(Row(m_alternate, 11), StartsWith("PAUSED"));
    display.view->OnChange(OneGpu(90));
    EXPECT_THAT(Shown(), HasSubstr("CPU temperature: 47 C"));
    m_size = {50, 20};
    display.view->OnKey(Key::kResize);
    EXPECT_THAT(Row(m_alternate, 19), StartsWith("PAUSED"));
    EXPECT_THAT(Shown(), HasSubstr("CPU temperature: 47 C"));
    display.view->OnKey(Key::kPause);
    EXPECT_THAT(Shown(), Not(HasSubstr("PAUSED")));
    EXPECT_THAT(Shown(), HasSubstr("CPU temperature: 90 C")) << "the model went on";
}

TEST_F(LiveTableTest, LeavesItsLastTableAndAllNotesOnTheTerminal) {
    PLAY_CONSOLE();
    const Display display = Made();
    display.view->OnChange(OneGpu(47));
    for (int i = 0; i < 8; ++i) {
        display.notes->ShowNote("note " + std::to_string(i));
    }
    EXPECT_EQ(m_own.writes, 0);
    display.view->OnEnd(CMachineModel());
    EXPECT_FALSE(m_isAlternateShown);
    display.notes->ShowNote("last");
    const std::string left = All(m_own);
    EXPECT_THAT(left, HasSubstr("CPU temperature: 47 C\n"));
    EXPECT_THAT(left, HasSubstr("  note 0\n"));
    EXPECT_THAT(left, HasSubstr("  note 7\n"));
    EXPECT_THAT(left, HasSubstr("zorvanemon: last\n"));
}

TEST_F(LiveTableTest, CountsTheNotesThatAreTooOldToBeKept) {
    PLAY_CONSOLE();
    const Display display = Made();
    for (int i = 0; i < 203; ++i) {
        display.notes->ShowNote("note " + std::to_string(i) + ".");
    }
    display.view->OnEnd(CMachineModel());
    const std::string left = All(m_own);
    EXPECT_THAT(left, HasSubstr("zorvanemon: 3 earlier messages are not kept\n"));
    EXPECT_THAT(left, Not(HasSubstr("  note 2.\n")));
    EXPECT_THAT(left, HasSubstr("  note 3.\n"));
    EXPECT_THAT(left, HasSubstr("  note 202.\n"));
}

TEST_F(LiveTableTest, PutsTheTerminalBackAfterAFailure) {
    PLAY_CONSOLE();
    {
        const Display display = Made();
        PATCH_IMPORT(broken, WriteConsoleW,
                     [](HANDLE, const void*, DWORD, LPDWORD, LPVOID) -> WINBOOL {
                         SetLastError(ERROR_INVALID_HANDLE);
                         return FALSE;
                     });
        display.view->OnChange(CMachineModel());
        ASSERT_TRUE(display.view->Failure());
        EXPECT_EQ(display.view->Failure()->error.call, "WriteConsoleW");
        EXPECT_FALSE(display.view->Failure()->readerGone);
    }
    EXPECT_FALSE(m_isAlternateShown);
}

TEST_F(LiveTableTest, HasNoColourWhereNobodyWantsIt) {
    PLAY_CONSOLE();
    const auto hasColour = [this] {
        m_alternate = Screen();
        const Display display = Made();
        display.view->OnChange(OneGpu(47));
        return m_alternate.attributes[1][0] != kPlain;
    };
    EXPECT_TRUE(hasColour());
    SetEnvironmentVariableW(L"NO_COLOR", L"1");
    EXPECT_FALSE(hasColour());
    SetEnvironmentVariableW(L"NO_COLOR", L"");
    EXPECT_TRUE(hasColour());
    SetEnvironmentVariableW(L"NO_COLOR", nullptr);
}

}  // namespace
}  // namespace zorvane
