// zorvanemon as a Windows service, with the shipped library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "base/commandline.h"
#include "base/text.h"
#include "tests/e2e/simulatedmachine.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/records.h"
#include "tests/support/winetest.h"

using testing::HasSubstr;

namespace {

class Service : public CWineTest {
  protected:
    void TearDown() override { Zorvanemon(L"remove"); }

    // Runs "zorvanemon service <action>" to its end; its exit code.
    DWORD Zorvanemon(const std::wstring& action, const std::wstring& words = L"") {
        const CChildProcess process(
            BuildFolder(L"bin") + L"\\zorvanemon.exe",
            L"service " + action + L" --name " + zorvane::QuoteWord(m_name) + L" " + words);
        const DWORD code = process.Wait().value_or(static_cast<DWORD>(-1));
        m_output = process.Output();
        m_errors = process.Errors();
        return code;
    }

    // What the service is to run: the machine's variables do not reach it but by its command line.
    std::wstring Watch(const CSimulatedMachine& machine) const {
        std::wstring words = L"watch --stale-after 600 --format json --out " +
                             zorvane::QuoteWord(OutPath(machine)) + L" --host " +
                             zorvane::QuoteWord(machine.Host());
        for (const zorvane::EnvironmentChange& variable : machine.Environment()) {
            words += L" --env " + zorvane::QuoteWord(variable.name + L"=" + variable.value);
        }
        return words;
    }

    static std::wstring OutPath(const CSimulatedMachine& machine) {
        return machine.Folder() + L"\\readings of a service.jsonl";
    }

    static std::vector<std::string> Types(const CSimulatedMachine& machine) {
        std::vector<std::string> types;
        std::istringstream text(ReadFileBytes(OutPath(machine)));
        for (std::string line; std::getline(text, line);) {
            const auto json = nlohmann::json::parse(line, nullptr, false);
            types.push_back(json.is_object() ? json.value("type", "") : "broken");
        }
        return types;
    }

    static bool WaitForType(const CSimulatedMachine& machine, const std::string& type) {
        using namespace std::chrono_literals;
        for (int i = 0; i < 600; ++i) {
            const auto types = Types(machine);
            if (std::find(types.begin(), types.end(), type) != types.end()) {
                return true;
            }
            std::this_thread::sleep_for(100ms);
        }
        return false;
    }

    const std::wstring m_name = L"zorvanemon test " + std::to_wstring(GetCurrentProcessId());
    std::string m_output;
    std::string m_errors;
};

TEST_F(Service, RunsUntilItIsRemovedAndEndsItsWorkerInOrder) {
    const CSimulatedMachine machine(
        {.scenario = kTwoGpus, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
    ASSERT_EQ(Zorvanemon(L"install", L"--start " + Watch(machine)), 0u) << m_errors;
    EXPECT_THAT(m_output, HasSubstr("It runs."));
    ASSERT_TRUE(WaitForType(machine, "gpu")) << ReadFileBytes(OutPath(machine));
    EXPECT_EQ(Zorvanemon(L"status"), 0u);
    EXPECT_THAT(m_output, HasSubstr("is running (process "));
    EXPECT_EQ(Zorvanemon(L"remove"), 0u) << m_errors;
    EXPECT_THAT(m_output, HasSubstr("was stopped and removed"));
    const auto types = Types(machine);
    ASSERT_FALSE(types.empty());
    EXPECT_EQ(types.back(), "worker_exit");
    EXPECT_THAT(ReadFileBytes(OutPath(machine)), HasSubstr("ended in order (0)"));
    EXPECT_EQ(Zorvanemon(L"status"), 10u);
    EXPECT_EQ(Zorvanemon(L"remove"), 0u) << "without a service";
}

TEST_F(Service, InstallsNothingThatCouldNotRun) {
    const struct {
        const wchar_t* words;
        const char* sentence;
    } rows[] = {
        {L"", "install needs the command"},
        {L"watch", "watch needs --out FILE"},
        {L"watch --out readings.csv --format csv", "the full path of --out"},
        {L"watch --out C:\\r.csv --format csv --host zorvanehost.exe", "the full path of --host"},
        {L"serve --host bin\\zorvanehost.exe", "the full path of --host"},
        {L"serve --library \\Zorvane.dll", "the full path of --library"},
        {L"watch --fromat csv", "has no option --fromat"},
        {L"replay x.jsonl", "does not run until it is stopped"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Zorvanemon(L"install", row.words), 2u) << row.sentence;
        EXPECT_THAT(m_errors, HasSubstr(row.sentence));
        EXPECT_EQ(Zorvanemon(L"status"), 10u) << row.sentence;
    }
}

}  // namespace
