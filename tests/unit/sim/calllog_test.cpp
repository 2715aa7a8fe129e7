#include "sim/scenario/calllog.h"

#include <algorithm>
#include <thread>

#include "tests/unit/sim/simfixture.h"

namespace {

using CCallLogTest = CSimTest;

TEST_F(CCallLogTest, WithoutTheEnvironmentNothingIsWritten) {
    SetEnvironmentVariableW(L"ZORVANE_SIM_CALL_LOG", nullptr);
    LogCall("call");
    EXPECT_FALSE(std::filesystem::exists(CallLogFile()));
}

TEST_F(CCallLogTest, LinesAreAppendedToWhatIsThere) {
    LogCall("first");
    LogCall("second");
    EXPECT_EQ(ReadFileBytes(CallLogFile()), "first\nsecond\n");
}

TEST_F(CCallLogTest, LinesOfSeveralThreadsAreWholeAndNoneIsLost) {
    constexpr size_t kThreads = 8;
    constexpr size_t kLines = 1500;
    std::vector<std::thread> threads;
    for (size_t index = 0; index < kThreads; ++index) {
        threads.emplace_back([index] {
            const std::string line(50 + index, static_cast<char>('a' + index));
            for (size_t count = 0; count < kLines; ++count) {
                LogCall(line);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::string> lines = Calls();
    for (size_t index = 0; index < kThreads; ++index) {
        const std::string line(50 + index, static_cast<char>('a' + index));
        EXPECT_EQ(static_cast<size_t>(std::count(lines.begin(), lines.end(), line)), kLines);
    }
    EXPECT_EQ(lines.size(), kThreads * kLines);
}

}  // namespace
