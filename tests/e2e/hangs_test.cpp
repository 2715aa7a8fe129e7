// A hang in every function that the worker calls of a vendor's library or of Windows, each noticed
// by zorvanemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "sim/scenario/platformfunctions.h"
#include "sim/scenario/windowsfunctions.h"
#include "src/amdsdk/driverservice.h"
#include "tests/e2e/monitor.h"
#include "tests/support/driverservice.h"
#include "tests/support/winetest.h"

using nlohmann::json;

namespace {

// Enough to find the machine's processors busy, few enough for its memory.
constexpr size_t kAtOnce = 8;
constexpr ULONGLONG kTimeoutMs = 120000;

// How often each function was called.
using Counts = std::map<std::string, int>;

// A processor whose temperature comes from the PM table, or one that is read in the other way.
json Machine(bool hasPmTable) {
    json machine = json::parse(R"({
        "driverVersion": "551.86",
        "gpus": [{"name": "one", "serial": "1", "vbios": "2", "bus": 1, "memoryMiB": 1024,
                  "utilization": {"gpu": 50, "memory": 40}, "temperature": 50, "fanSpeed": 30,
                  "clocks": [1, 2, 3, 4], "maxClocks": [5, 6, 7, 8]}],
        "cpu": {"signature": "0x00870F10", "packageType": 2, "needsDriver": false,
                "name": "AMD Ryzen 9 3900X 12-Core Processor",
                "pmTable": {"temperature": 45}, "currentTemperature": {"temperature": 46}}})");
    if (!hasPmTable) {
        // Its temperature is corrected by what a second device says.
        json& cpu = machine["cpu"];
        cpu["signature"] = "0x00800F82";
        cpu["packageType"] = 7;
        cpu["name"] = "AMD Ryzen Threadripper 2950X 16-Core Processor";
        cpu["pmTable"] = {{"temperature", 0}};
        cpu["offset"] = {{"value", 10}};
    }
    return machine;
}

// A function that does its work until call number `calls`, which hangs.
json HangsAt(int calls) {
    json results(std::vector<int>(static_cast<size_t>(calls - 1), 0));
    results.push_back("hang");
    return {{"perRead", results}};
}

// One zorvanemon on a machine that hangs.
class CHungRun {
  public:
    CHungRun(const json& scenario, std::string function, bool atTheEnd)
        : m_machine({.scenario = scenario.dump()}),
          m_function(std::move(function)),
          m_atTheEnd(atTheEnd),
          m_monitor(StartMonitor(m_machine, std::wstring(L"--format json --stale-after 2") +
                                                (atTheEnd ? L" --count 1" : L""))) {}

    // Whether the worker hangs, and zorvanemon has said so.
    bool IsNoticed() const {
        if (!HasHung()) {
            return false;
        }
        return std::ranges::any_of(Lines(), [this](const json& line) {
            return m_atTheEnd ? line["type"] == "notice" && line["id"] == "worker.window_taken"
                              : IsStaleOf(line);
        });
    }

    bool HasEnded() const { return m_monitor->Wait(0).has_value(); }

    // No reading after a silence that lasts, and none that is newer than what the silence names.
    void ExpectNoOldValueUnderANewTime() const {
        std::string latest;
        bool isStale = false;
        // The first round of a worker that was only slow comes before "fresh", which it earns.
        json duringSilence;
        for (const json& line : Lines()) {
            const std::string type = line["type"];
            if (type == "gpu" || type == "cpu" || type == "worker_start") {
                duringSilence = isStale ? line : json();
                latest = line["time"];
            }
            if (type == "stale") {
                isStale = true;
                EXPECT_EQ(line["since"], latest);
            }
            if (type == "fresh") {
                isStale = false;
                duringSilence = json();
            }
            // One that has been silent for too long is replaced; no round was completed before.
            if (type == "worker_exit") {
                isStale = false;
                EXPECT_EQ(duringSilence, json());
            }
        }
        EXPECT_EQ(duringSilence, json());
    }

    // What there is to see of a run that went otherwise.
    std::string Story() const {
        const std::optional<DWORD> code = m_monitor->Wait(0);
        return m_function + ", zorvanemon " +
               (code ? "has ended with " + std::to_string(*code) : "runs") + "\n" +
               m_monitor->Errors() + m_monitor->Output() + "calls " +
               testing::PrintToString(m_machine.Calls()) + "\nlog " +
               testing::PrintToString(m_machine.LogMessages());
    }

  private:
    std::vector<json> Lines() const { return JsonLines(*m_monitor); }

    bool HasHung() const {
        const std::vector<std::string> calls = m_machine.Calls();
        return std::any_of(calls.begin(), calls.end(), [this](const std::string& call) {
            return call.starts_with(m_function + "(") && call.ends_with("= hang");
        });
    }

    // A busy computer may make a healthy worker seem silent for a while; that one comes back.
    bool IsStaleOf(const json& line) const {
        const std::vector<json> lines = Lines();
        const auto last = std::find_if(lines.rbegin(), lines.rend(), [](const json& other) {
            return other["type"] == "stale" || other["type"] == "fresh" || other["type"] == "gpu" ||
                   other["type"] == "cpu";
        });
        return last != lines.rend() && line == *last && line["type"] == "stale";
    }

    const CSimulatedMachine m_machine;
    const std::string m_function;
    const bool m_atTheEnd;
    const std::unique_ptr<CChildProcess> m_monitor;
};

class Hangs : public CDriverTest {
  protected:
    // How often a worker calls each function until its second round is over; 0 for those that it
    // calls at its end only.
    static Counts CallsOf(const json& scenario) {
        const CSimulatedMachine machine({.scenario = scenario.dump()});
        const auto monitor = StartMonitor(machine, L"--format json --count 2 --stale-after 600");
        EXPECT_EQ(monitor->Wait(), 0u) << monitor->Errors();
        const std::vector<std::string> calls = machine.Calls();
        // What comes behind the last reading of a GPU is the end, and a temperature.
        const auto last = std::find_if(calls.rbegin(), calls.rend(), [](const std::string& call) {
                              return call.starts_with("nvmlDeviceGet");
                          }).base();
        Counts counts;
        for (auto call = calls.begin(); call != calls.end(); ++call) {
            counts[call->substr(0, call->find('('))] += call < last ? 1 : 0;
        }
        // A second call comes only from a worker that does not find the driver's service, which the
        // others that run beside it may have installed.
        if (const auto again = counts.find("GetPlatform"); again != counts.end()) {
            again->second = 1;
        }
        return counts;
    }

    // Starts one run and waits until those that run are noticed, when they are many.
    void Start(const json& scenario, const std::string& function, bool atTheEnd) {
        m_runs.push_back(std::make_unique<CHungRun>(scenario, function, atTheEnd));
        if (m_runs.size() == kAtOnce) {
            ExpectAllNoticed();
        }
    }

    void ExpectAllNoticed() {
        const ULONGLONG end = GetTickCount64() + kTimeoutMs;
        for (const auto& run : m_runs) {
            while (!run->IsNoticed() && !run->HasEnded() && GetTickCount64() < end) {
                Sleep(50);
            }
            EXPECT_TRUE(run->IsNoticed()) << run->Story();
            run->ExpectNoOldValueUnderANewTime();
        }
        m_runs.clear();
    }

    std::vector<std::unique_ptr<CHungRun>> m_runs;
};

}  // namespace

// Both ways to a temperature, so that between them every function is called.
TEST_F(Hangs, InEachFunctionOfTheVendorsAreNoticed) {
    std::set<std::string> done;
    for (const bool hasPmTable : {true, false}) {
        const json machine = Machine(hasPmTable);
        for (const auto& [function, calls] : CallsOf(machine)) {
            if (!done.insert(function).second) {
                continue;
            }
            json hung = machine;
            json& part = function.starts_with("nvml") ? hung : hung["cpu"];
            part["results"][function] = HangsAt(std::max(calls, 1));
            Start(hung, function, calls == 0);
        }
    }
    ExpectAllNoticed();
    EXPECT_THAT(done, testing::IsSupersetOf(kPlatformFunctions));
    EXPECT_THAT(
        done,
        testing::IsSupersetOf(
            {"nvmlInit_v2", "nvmlDeviceGetCount_v2", "nvmlDeviceGetHandleByIndex_v2",
             "nvmlDeviceGetName", "nvmlDeviceGetSerial", "nvmlDeviceGetVbiosVersion",
             "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetMemoryInfo", "nvmlDeviceGetUtilizationRates",
             "nvmlDeviceGetTemperature", "nvmlDeviceGetFanSpeed", "nvmlDeviceGetClock",
             "nvmlDeviceGetMaxClockInfo", "nvmlSystemGetDriverVersion", "nvmlShutdown"}));
}

// One after the other: there is one driver service.
TEST_F(Hangs, InEachFunctionOfWindowsAreNoticed) {
    for (const std::string function : kWindowsFunctions) {
        RemoveDriverService();
        // Only a service that is there is asked for its state.
        CServiceHandle service;
        if (function == kQueryServiceStatus) {
            service.reset(CreateServiceW(OpenServiceManager().get(), kDriverServiceName,
                                         kDriverServiceName, SERVICE_ALL_ACCESS,
                                         SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START,
                                         SERVICE_ERROR_NORMAL, L"C:\\none.sys", nullptr, nullptr,
                                         nullptr, nullptr, nullptr));
            ASSERT_TRUE(service);
        }
        json machine = Machine(true);
        machine["machine"]["results"][function] = "hang";
        Start(machine, function, function == kControlService || function == kDeleteService);
        ExpectAllNoticed();
    }
}
