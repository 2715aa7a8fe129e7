#include <limits>

#include "tests/unit/amdsdk/executefixture.h"

// Run steps of a task whose source is the CPU's temperature less an offset. The source is picked
// once in the life of a process, so all tests of this program have this one.

namespace {

constexpr wchar_t kListedName[] = L"AMD Ryzen 7 1800X Eight-Core Processor";

class COffsetTest : public CExecuteTest {
  protected:
    void SetUp() override {
        SetCurrent(45);
        m_platform.pmTable = [](PMTableData*) { return 4; };
        ASSERT_EQ(Execute(), 1);
        m_settled = m_log.Messages().size();
        TakeTexts();
        m_platform.calls.clear();
        // Never asked again, whatever it would give.
        SetPMTable(99);
    }

    // There is a second device, and this is how it answers.
    void SetSecond(int32_t offset, int32_t status = 0) {
        m_platform.secondName = L"second";
        m_platform.temperatureOffset = [offset, status](int32_t* answer) {
            *answer = offset;
            return status;
        };
    }

    Lines NewMessages() const {
        const Lines all = m_log.Messages();
        return {all.begin() + static_cast<ptrdiff_t>(m_settled), all.end()};
    }

    size_t m_settled = 0;
};

TEST_F(COffsetTest, OffsetOfTheSecondDeviceIsSubtractedAndTheNameNotAskedFor) {
    m_platform.cpuName = kListedName;
    SetSecond(13);
    SetCurrent(60);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("47")});
    EXPECT_EQ(m_platform.calls,
              (Lines{"GetDeviceManager", "GetDevice(0, 0)", "GetCurrentTemperature",
                     "GetDevice(1, 0)", "GetTemperatureOffset"}));
    EXPECT_EQ(NewMessages(), Lines{"[amdsdktask] GetCurrentTemperature 47.00 Celsius"});
}

TEST_F(COffsetTest, NegativeOffsetIsAdded) {
    SetSecond(-10);
    SetCurrent(60);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("70")});
}

TEST_F(COffsetTest, WithoutASecondDeviceTheNameDecides) {
    m_platform.cpuName = kListedName;
    SetCurrent(60);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("40")});
    EXPECT_EQ(m_platform.calls, (Lines{"GetDeviceManager", "GetDevice(0, 0)",
                                       "GetCurrentTemperature", "GetDevice(1, 0)", "GetName"}));
}

TEST_F(COffsetTest, OffsetOfZeroLeavesItToTheName) {
    m_platform.cpuName = kListedName;
    SetSecond(0);
    SetCurrent(60);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("40")});
    EXPECT_EQ(m_platform.calls.back(), "GetName");
}

TEST_F(COffsetTest, NumberOfAFailingSecondDeviceIsNotUsed) {
    SetCurrent(60);
    for (const StatusText& failure : kStatusTexts) {
        SCOPED_TRACE(failure.text);
        SetSecond(13, failure.status);
        m_platform.cpuName = kListedName;
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("40")}) << failure.text;
        m_platform.cpuName = L"Unlisted processor";
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("60")}) << failure.text;
    }
}

TEST_F(COffsetTest, EveryListedNameHasItsOffset) {
    const std::pair<const wchar_t*, const char*> names[] = {
        {L"AMD Ryzen 7 1800X Eight-Core Processor", "80"},
        {L"AMD Ryzen 7 1700X Eight-Core Processor", "80"},
        {L"AMD Ryzen 5 1600X Six-Core Processor", "80"},
        {L"AMD Ryzen Threadripper 1950X 16-Core Processor", "73"},
        {L"AMD Ryzen Threadripper 1900X 8-Core Processor", "73"},
        {L"AMD Ryzen Threadripper 1920X 12-Core Processor", "73"},
        {L"AMD Ryzen Threadripper 1950 16-Core Processor", "90"},
        {L"AMD Ryzen Threadripper 1920 12-Core Processor", "90"},
        {L"AMD Ryzen Threadripper 1900 8-Core Processor", "90"},
        {L"AMD Ryzen 7 3700X 8-Core Processor", "100"},
        {L"AMD Ryzen 7\t1800X Eight-Core Processor", "100"},
        {L"", "100"},
    };
    SetCurrent(100);
    for (const auto& [name, sent] : names) {
        m_platform.cpuName = name;
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json(sent)}) << Quoted(name);
    }
}

TEST_F(COffsetTest, LongNamesAreLookedAtForTheir256BytesOnly) {
    SetCurrent(100);
    for (const size_t length : {255u, 256u, 257u, 4096u}) {
        SCOPED_TRACE(length);
        const std::wstring unlisted(length, L'x');
        m_platform.cpuName = unlisted.c_str();
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("100")}) << length;

        const std::wstring listed = kListedName + unlisted;
        m_platform.cpuName = listed.c_str();
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("80")}) << length;

        const std::wstring behind = unlisted + kListedName;
        m_platform.cpuName = behind.c_str();
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json("100")}) << length;
    }
}

TEST_F(COffsetTest, DifferenceIsLoggedWithTwoDigitsAndCutTowardsZero) {
    m_platform.cpuName = kListedName;
    SetCurrent(65.987);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("45")});
    EXPECT_EQ(NewMessages(), Lines{"[amdsdktask] GetCurrentTemperature 45.99 Celsius"});

    SetCurrent(18.1);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("-1")});
}

TEST_F(COffsetTest, RangeIsThatOfTheDifference) {
    SetSecond(10);
    for (const auto& [measured, sent, switchedOff] :
         {std::tuple(15.0, "5", false), std::tuple(130.9, "120", false),
          std::tuple(14.9, "4", true), std::tuple(131.0, "121", true)}) {
        SCOPED_TRACE(measured);
        m_writes.clear();
        SetCurrent(measured);
        EXPECT_EQ(Execute(), 1);
        EXPECT_EQ(TakeTexts(), Lines{Json(sent)});
        EXPECT_EQ(m_writes, switchedOff ? kSwitchedOff : Lines{});
    }
}

TEST_F(COffsetTest, DifferenceOfZeroEndsTheTask) {
    SetSecond(10);
    SetCurrent(10.5);
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(TakeTexts(), Lines{});
    EXPECT_EQ(m_writes, kSwitchedOff);
    EXPECT_EQ(NewMessages(),
              (Lines{"[amdsdktask] GetCurrentTemperature 0.50 Celsius", "[amdsdktask] temp is 0"}));
}

TEST_F(COffsetTest, LargestOffsetsDoNotOverflow) {
    SetCurrent(50);
    SetSecond(std::numeric_limits<int32_t>::max());
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("-2147483597")});
    SetSecond(std::numeric_limits<int32_t>::min());
    EXPECT_EQ(Execute(), 1);
    // 2147483698 degrees, which no integer holds
    EXPECT_EQ(TakeTexts(), Lines{Json("-2147483648")});
}

TEST_F(COffsetTest, MissingCpuIsLoggedAndCountsAsZero) {
    m_platform.cpuName = nullptr;
    EXPECT_EQ(Execute(), 0);
    EXPECT_EQ(m_platform.calls, (Lines{"GetDeviceManager", "GetDevice(0, 0)"}));
    EXPECT_EQ(NewMessages(),
              (Lines{"[amdsdktask] GetCurrentTemperature obj failed.", "[amdsdktask] temp is 0"}));
    EXPECT_EQ(m_writes, kSwitchedOff);
}

TEST_F(COffsetTest, FailingStatusIsLoggedByItsTextAndCountsAsZero) {
    for (const StatusText& failure : kStatusTexts) {
        SCOPED_TRACE(failure.text);
        m_platform.calls.clear();
        m_platform.currentTemperature = [&failure](double* temperature) {
            *temperature = 60;
            return failure.status;
        };
        EXPECT_EQ(Execute(), 0) << failure.text;
        EXPECT_EQ(TakeTexts(), Lines{});
        EXPECT_EQ(m_platform.calls,
                  (Lines{"GetDeviceManager", "GetDevice(0, 0)", "GetCurrentTemperature"}));
        const Lines messages = m_log.Messages();
        ASSERT_GE(messages.size(), 2u);
        EXPECT_EQ(messages[messages.size() - 2],
                  std::string("[amdsdktask] GetCurrentTemperature ") + failure.text);
    }
}

TEST_F(COffsetTest, TemperatureThatASuccessfulCallDoesNotWriteIsZero) {
    m_platform.currentTemperature = [](double*) { return 0; };
    SetSecond(-7);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("7")});
}

TEST_F(COffsetTest, OffsetThatASuccessfulCallDoesNotWriteIsZero) {
    m_platform.cpuName = kListedName;
    m_platform.secondName = L"second";
    m_platform.temperatureOffset = [](int32_t*) { return 0; };
    SetCurrent(60);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(TakeTexts(), Lines{Json("40")});
}

}  // namespace
