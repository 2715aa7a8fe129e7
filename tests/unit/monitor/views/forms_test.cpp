#include "monitor/views/forms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/fakeconsole.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;

class FormsTest : public FakeConsoleTest {};

TEST_F(FormsTest, JsonGoesToATerminalAsLinesToo) {
    PLAY_CONSOLE();
    Display display;
    ASSERT_FALSE(MakeDisplay({"json"}, display));
    IView* view = display.view.get();
    view->OnEvent(EventAt(0, CpuTemperature{47}), CMachineModel());
    view->OnChange(CMachineModel());
    view->OnRound(CMachineModel());
    EXPECT_THAT(Row(m_own, 0), HasSubstr(R"("type":"cpu")"));
    EXPECT_EQ(m_own.cursor.Y, 1);
    EXPECT_FALSE(m_isAlternateShown);
    EXPECT_FALSE(display.keys);
}

TEST_F(FormsTest, ATableGoesToATerminalWithoutAlternateScreenAsToAFile) {
    PLAY_CONSOLE();
    PATCH_IMPORT(refused, CreateConsoleScreenBuffer,
                 [](DWORD, DWORD, const SECURITY_ATTRIBUTES*, DWORD, LPVOID) -> HANDLE {
                     SetLastError(ERROR_NOT_SUPPORTED);
                     return INVALID_HANDLE_VALUE;
                 });
    Display display;
    ASSERT_FALSE(MakeDisplay({"table"}, display));
    display.view->OnRound(CMachineModel());
    EXPECT_THAT(Row(m_own, 1), HasSubstr("No NVIDIA GPU"));
    EXPECT_FALSE(display.keys);
}

TEST_F(FormsTest, RefusesAFormThatThereIsNot) {
    Display display;
    EXPECT_TRUE(MakeDisplay({.format = "xml"}, display));
    EXPECT_THAT(FormNames(), testing::ElementsAre("table", "json", "csv", "prometheus"));
}

}  // namespace
}  // namespace zorvane
