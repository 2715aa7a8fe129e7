#include <cmath>
#include <limits>

#include "tests/unit/amdsdk/executefixture.h"

// Run steps of a task whose source is the PM table. The source is picked once in the life of a
// process, so all tests of this program have this one.

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class CPMTableTest : public CExecuteTest {
  protected:
    void SetUp() override {
        SetPMTable(45);
        ASSERT_EQ(Execute(), 1);
        ASSERT_EQ(TakeTexts(), Lines{Json("45")});
        m_platform.calls.clear();
    }

    Lines NewMessages() const {
        const Lines all = m_log.Messages();
        return {all.begin() + 1, all.end()};
    }
};

TEST_F(CPMTableTest, ReadingIsSentAsJsonWithItsNulUnderCode3345) {
    SetPMTable(47);
    EXPECT_EQ(Execute(), 1);
    ASSERT_EQ(m_process->messages.size(), 1u);
    EXPECT_EQ(m_process->messages[0].code, 3345u);
    EXPECT_EQ(m_process->messages[0].payload, std::string("{\"CpuTemp\":47}\0", 15));
    EXPECT_EQ(m_writes, Lines{});
    EXPECT_EQ(NewMessages(), Lines{"[amdsdktask] GetCurrentTemperature 47.00 Celsius"});
}

TEST_F(CPMTableTest, OnlyTheTableOfTheCpuIsAsked) {
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(m_platform.calls, (Lines{"GetDeviceManager", "GetDevice(0, 0)", "GetPMTableData"}));
}

struct Reading {
    double degreesCelsius;
    const char* sent;
    bool switchedOff;
};

TEST_F(CPMTableTest, ReadingsOutside5To120AreSentAndSwitchTheTaskOffForLaterRuns) {
    const Reading readings[] = {
        {5, "5", false},
        {6, "6", false},
        {119, "119", false},
        {120, "120", false},
        {4, "4", true},
        {121, "121", true},
        {1, "1", true},
        {-1, "-1", true},
        {-40, "-40", true},
        {1000, "1000", true},
        {2147483647.0, "2147483647", true},
        {-2147483648.0, "-2147483648", true},
        // Values that no integer can hold
        {2147483648.0, "-2147483648", true},
        {1e300, "-2147483648", true},
        {-1e300, "-2147483648", true},
        {kInfinity, "-2147483648", true},
        {-kInfinity, "-2147483648", true},
        {std::nan(""), "-2147483648", true},
    };
    for (const Reading& reading : readings) {
        m_writes.clear();
        SetPMTable(reading.degreesCelsius);
        EXPECT_EQ(Execute(), 1) << reading.degreesCelsius;
        EXPECT_EQ(TakeTexts(), Lines{Json(reading.sent)}) << reading.degreesCelsius;
        EXPECT_EQ(m_writes, reading.switchedOff ? kSwitchedOff : Lines{}) << reading.degreesCelsius;
    }
}

TEST_F(CPMTableTest, ReadingsAreCutTowardsZero) {
    const Reading readings[] = {
        {45.9, "45", false}, {5.999, "5", false},     {120.999, "120", false}, {4.999, "4", true},
        {-1.9, "-1", true},  {121.0001, "121", true}, {99.9999, "99", false},
    };
    for (const Reading& reading : readings) {
        m_writes.clear();
        SetPMTable(reading.degreesCelsius);
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json(reading.sent)}) << reading.degreesCelsius;
        EXPECT_EQ(m_writes.empty(), !reading.switchedOff) << reading.degreesCelsius;
    }
}

TEST_F(CPMTableTest, ReadingIsLoggedWithTwoDigitsBeforeItIsCut) {
    SetPMTable(45.987);
    Execute();
    EXPECT_EQ(NewMessages(), Lines{"[amdsdktask] GetCurrentTemperature 45.99 Celsius"});
}

TEST_F(CPMTableTest, ReadingOfZeroSwitchesOffSendsNothingAndEndsTheTask) {
    for (const double zero : {0.0, -0.0, 0.9, -0.9}) {
        SCOPED_TRACE(zero);
        m_writes.clear();
        SetPMTable(zero);
        EXPECT_EQ(Execute(), 0) << zero;
        EXPECT_EQ(TakeTexts(), Lines{});
        EXPECT_EQ(m_writes, kSwitchedOff);
        EXPECT_EQ(m_log.Messages().back(), "[amdsdktask] temp is 0");
    }
}

TEST_F(CPMTableTest, FlagIsWrittenBeforeZeroIsLogged) {
    Lines logged;
    PATCH_IMPORT(write, WritePrivateProfileStringW, [&](LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR) {
        logged = m_log.Messages();
        return TRUE;
    });
    SetPMTable(0);
    EXPECT_EQ(Execute(), 0);
    ASSERT_FALSE(logged.empty());
    EXPECT_EQ(logged.back(), "[amdsdktask] GetCurrentTemperature 0.00 Celsius");
}

TEST_F(CPMTableTest, LaterZeroDoesNotChangeTheSource) {
    SetPMTable(0);
    SetCurrent(50);
    EXPECT_EQ(Execute(), 0);
    EXPECT_THAT(m_platform.calls, testing::Not(testing::Contains("GetCurrentTemperature")));
    SetPMTable(46);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("46")});
}

TEST_F(CPMTableTest, FailingStatusIsLoggedByItsTextAndCountsAsZero) {
    for (const StatusText& failure : kStatusTexts) {
        SCOPED_TRACE(failure.text);
        m_writes.clear();
        m_platform.pmTable = [&failure](PMTableData* table) {
            table->currentTemperature = 60;
            return failure.status;
        };
        EXPECT_EQ(Execute(), 0) << failure.text;
        EXPECT_EQ(TakeTexts(), Lines{});
        EXPECT_EQ(m_writes, kSwitchedOff);
        const Lines messages = m_log.Messages();
        ASSERT_GE(messages.size(), 2u);
        EXPECT_EQ(messages[messages.size() - 2],
                  std::string("[amdsdktask] GetPMTableData ") + failure.text);
        EXPECT_EQ(messages.back(), "[amdsdktask] temp is 0");
    }
}

TEST_F(CPMTableTest, StatusThatHasNoTextIsAFailureToo) {
    for (const int32_t status : {6, -2, 64, 1 << 30, std::numeric_limits<int32_t>::min(),
                                 std::numeric_limits<int32_t>::max()}) {
        SCOPED_TRACE(status);
        m_platform.pmTable = [status](PMTableData*) { return status; };
        EXPECT_EQ(Execute(), 0) << status;
        const Lines messages = m_log.Messages();
        ASSERT_GE(messages.size(), 2u);
        EXPECT_THAT(messages[messages.size() - 2],
                    testing::StartsWith("[amdsdktask] GetPMTableData "));
    }
}

TEST_F(CPMTableTest, MissingCpuIsLoggedAndCountsAsZero) {
    m_platform.cpuName = nullptr;
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(m_platform.calls, (Lines{"GetDeviceManager", "GetDevice(0, 0)"}));
    EXPECT_EQ(m_writes, kSwitchedOff);
    EXPECT_EQ(NewMessages(),
              (Lines{"[amdsdktask] GetPMTableData obj failed.", "[amdsdktask] temp is 0"}));
}

TEST_F(CPMTableTest, ResultOfTheSendIsNotLookedAt) {
    m_process->sendResult = false;
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("45")});
}

TEST_F(CPMTableTest, ResultOfTheWriteIsNotLookedAt) {
    m_writeResult = FALSE;
    SetPMTable(121);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("121")});
}

TEST_F(CPMTableTest, SettingsFileLiesBesideTheExecutable) {
    m_executable.path = L"D:\\Other folder\\host.exe";
    SetPMTable(3);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(
        m_writes,
        Lines{R"("cpu_kernel", "sdk_flag", "0", "D:\Other folder\Qorvella.set" after 0 messages)"});
}

TEST_F(CPMTableTest, ProcessIsNotKept) {
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(m_process.use_count(), 1);
    SetPMTable(0);
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(m_process.use_count(), 1);
}

}  // namespace
