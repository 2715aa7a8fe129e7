#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "src/nvmlinfo/dynamicnvml.h"
#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"

namespace {

class NvmlApiGarbage : public testing::Test {
  protected:
    void SetUp() override { ASSERT_NE(m_nvml.Load(L"Nvml.dll"), 0); }

    CTestLog m_log;
    CFakeNvml m_library;
    NvmlApi m_nvml{};
};

}  // namespace

TEST_F(NvmlApiGarbage, EndsANameThatFillsItsSixtyFourCharactersWithoutANul) {
    m_library.gpus[0].name = std::string(200, 'n');
    EXPECT_EQ(m_nvml.Name(0).characters, std::string(64, 'n'));
}

TEST_F(NvmlApiGarbage, EndsATextThatFillsItsHundredCharactersWithoutANul) {
    m_library.gpus[0].serial = std::string(200, 's');
    m_library.gpus[0].vbiosVersion = std::string(200, 'v');
    m_library.driverVersion = std::string(200, 'd');
    EXPECT_EQ(m_nvml.Serial(0).characters, std::string(100, 's'));
    EXPECT_EQ(m_nvml.VbiosVersion(0).characters, std::string(100, 'v'));
    EXPECT_EQ(m_nvml.DriverVersion().characters, std::string(100, 'd'));
}

TEST_F(NvmlApiGarbage, TakesEveryCodeButZeroForAFailureAlsoOutsideTheEnumeration) {
    for (const nvmlReturn_t code : {1, 29, 998, 999, 1000, 123456, INT_MAX, -1, INT_MIN}) {
        SCOPED_TRACE(code);
        m_library.calls.clear();
        m_library.results = {{"nvmlDeviceGetTemperature", code}};
        uint32_t celsius = 77;
        EXPECT_FALSE(m_nvml.Temperature(0, celsius)) << code;
        EXPECT_EQ(celsius, 77u);
        EXPECT_EQ(m_library.calls.back(), "nvmlErrorString(" + std::to_string(code) + ")");
    }
}

TEST_F(NvmlApiGarbage, ReadsEveryIndexBelowACountOfFourBillion) {
    m_library.deviceCount = UINT32_MAX;
    NvmlApi nvml{};
    ASSERT_NE(nvml.Load(L"Nvml.dll"), 0);
    EXPECT_EQ(nvml.Name(UINT32_MAX - 1).characters, std::string("GeForce 0"));
    EXPECT_EQ(m_library.calls.back(), "nvmlDeviceGetName(4294967294, 64)");
}

TEST_F(NvmlApiGarbage, HandsOutOfRangeNumbersOnAsTheyAre) {
    m_library.gpus[0].temperature = UINT32_MAX;
    m_library.gpus[0].utilization = {UINT32_MAX, 4000000000u};
    m_library.gpus[0].memory.total = UINT64_MAX;
    uint32_t celsius = 0;
    nvmlUtilization_t rates{};
    uint64_t bytes = 0;
    EXPECT_TRUE(m_nvml.Temperature(0, celsius));
    EXPECT_TRUE(m_nvml.Utilization(0, rates));
    EXPECT_TRUE(m_nvml.TotalMemory(0, bytes));
    EXPECT_EQ(celsius, UINT32_MAX);
    EXPECT_EQ(rates.gpu, UINT32_MAX);
    EXPECT_EQ(rates.memory, 4000000000u);
    EXPECT_EQ(bytes, UINT64_MAX);
}
