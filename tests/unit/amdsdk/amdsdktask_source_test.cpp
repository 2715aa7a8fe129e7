#include "tests/unit/amdsdk/executefixture.h"

// The choice of the source, which a process makes once: each test has a process of its own.

namespace {

class CSourceTest : public CExecuteTest {
  protected:
    size_t CountOf(const char* call) const {
        return static_cast<size_t>(
            std::count(m_platform.calls.begin(), m_platform.calls.end(), call));
    }

    // The first step finds no temperature in the PM table and asks for the current one, at once;
    // from then on the PM table is not asked.
    void ExpectOffsetIsPicked() {
        SetCurrent(50);
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("50")});
        SetPMTable(99);
        m_platform.calls.clear();
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("50")});
        EXPECT_EQ(CountOf("GetPMTableData"), 0u);
    }

    // The first step sends what the PM table gives; from then on nothing else is asked, also when
    // it gives 0.
    void ExpectPMTableIsPicked(double first, const char* sent) {
        SetPMTable(first);
        SetCurrent(50);
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json(sent)});
        SetPMTable(0);
        EXPECT_EQ(Execute(), 0);
        SetPMTable(48);
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("48")});
        EXPECT_EQ(CountOf("GetPMTableData"), 3u);
        EXPECT_EQ(CountOf("GetCurrentTemperature"), 0u);
    }
};

TEST_F(CSourceTest, FirstTableReadingThatIsNotZeroFixesTheTableForGood) {
    ExpectPMTableIsPicked(45, "45");
}

TEST_F(CSourceTest, ImplausibleTableReadingFixesTheTableToo) { ExpectPMTableIsPicked(121, "121"); }

TEST_F(CSourceTest, NegativeTableReadingFixesTheTableToo) { ExpectPMTableIsPicked(-3, "-3"); }

TEST_F(CSourceTest, FirstTableReadingOfZeroFixesTheOffsetMethodForGood) {
    SetPMTable(0);
    ExpectOffsetIsPicked();
}

TEST_F(CSourceTest, FirstTableReadingThatIsCutToZeroFixesTheOffsetMethod) {
    SetPMTable(0.99);
    ExpectOffsetIsPicked();
}

TEST_F(CSourceTest, FailingTableFixesTheOffsetMethod) {
    m_platform.pmTable = [](PMTableData* table) {
        table->currentTemperature = 45;
        return 1;
    };
    ExpectOffsetIsPicked();
}

TEST_F(CSourceTest, BothAreAskedInTheSameStepAndTheChoiceHoldsWhenBothGiveNothing) {
    m_platform.pmTable = [](PMTableData*) { return 2; };
    m_platform.currentTemperature = [](double*) { return 5; };
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(m_platform.calls,
              (Lines{"GetDeviceManager", "GetDevice(0, 0)", "GetPMTableData", "GetDeviceManager",
                     "GetDevice(0, 0)", "GetCurrentTemperature"}));
    EXPECT_EQ(m_log.Messages(),
              (Lines{"[amdsdktask] GetPMTableData Method is not implemented by the BIOS",
                     "[amdsdktask] GetCurrentTemperature Deprecated API. Use GetPMTableData",
                     "[amdsdktask] temp is 0"}));
    ExpectOffsetIsPicked();
}

TEST_F(CSourceTest, MissingCpuFixesTheOffsetMethod) {
    const wchar_t* const name = m_platform.cpuName;
    m_platform.cpuName = nullptr;
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(m_log.Messages(),
              (Lines{"[amdsdktask] GetPMTableData obj failed.",
                     "[amdsdktask] GetCurrentTemperature obj failed.", "[amdsdktask] temp is 0"}));
    m_platform.cpuName = name;
    SetPMTable(45);
    ExpectOffsetIsPicked();
}

TEST_F(CSourceTest, OffsetMethodIsKeptWhenItGivesZeroLater) {
    SetPMTable(0);
    ExpectOffsetIsPicked();
    SetCurrent(0);
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(CountOf("GetPMTableData"), 0u);
}

TEST_F(CSourceTest, ChoiceOutlivesTheTaskThatMadeIt) {
    SetPMTable(0);
    ExpectOffsetIsPicked();
    m_task.Uninit();
    m_platform.calls.clear();
    CAMDSDKTask another(&GetPlatform());
    EXPECT_EQ(another.Execute(m_process), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("50")});
    EXPECT_EQ(CountOf("GetPMTableData"), 0u);
}

}  // namespace
