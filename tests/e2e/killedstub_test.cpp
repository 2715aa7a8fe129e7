// zorvanemon killed at random moments. ZORVANE_KILLS=N kills it N times in place of 20. Wine only.
#include <gtest/gtest.h>
#include <windows.h>

#include <tlhelp32.h>

#include <cstdlib>
#include <iostream>
#include <random>

#include "base/environment.h"
#include "base/handle.h"
#include "tests/e2e/simulatedmachine.h"
#include "tests/support/driverservice.h"

namespace {

constexpr char kMachine[] = R"({"cpu": {"signature": "0x00870F10", "packageType": 2,
    "name": "AMD Ryzen 9 3900X 12-Core Processor", "pmTable": {"temperature": 45}},
    "gpus": [{"name": "one", "bus": 1}]})";

// The host asks at once, ends a worker after 15 seconds with a code of its own, and takes 5 more
// for clearing away. The rest is for a machine that is busy.
constexpr DWORD kBoundMs = 60000;

int Kills() {
    const std::wstring wanted = zorvane::EnvironmentVariable(L"ZORVANE_KILLS");
    return wanted.empty() ? 20 : std::stoi(wanted);
}

// False when the worker has not installed its driver service within a minute.
bool WaitForService() {
    const ULONGLONG end = GetTickCount64() + 60000;
    while (!ServiceState() && GetTickCount64() < end) {
        Sleep(10);
    }
    return ServiceState().has_value();
}

// CreateProcessW makes a process with a suspended thread, which it resumes at its end. A stub that
// is killed in between leaves the process so. True when that has happened.
bool ResumeHalfMade(HANDLE process) {
    const DWORD id = GetProcessId(process);
    const zorvane::CUniqueHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    bool resumed = false;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Thread32First(snapshot.get(), &entry); more;
         more = Thread32Next(snapshot.get(), &entry)) {
        if (entry.th32OwnerProcessID == id) {
            const zorvane::CUniqueHandle thread(
                OpenThread(THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID));
            resumed = static_cast<int>(ResumeThread(thread.get())) > 0 || resumed;
        }
    }
    return resumed;
}

}  // namespace

TEST(KilledStub, LeavesNoWorkerAndNoServiceBehind) {
    if (!IsWine()) {
        GTEST_SKIP() << "would install a driver on a real Windows";
    }
    RemoveDriverService();
    const CSimulatedMachine machine({.scenario = kMachine});
    const auto seed = static_cast<unsigned>(GetTickCount64());
    std::mt19937 random(seed);
    for (int kill = 1; kill <= Kills(); ++kill) {
        CChildProcess monitor(BuildFolder(L"bin") + L"\\zorvanemon.exe",
                              L"--host \"" + machine.Host() + L"\"", machine.Environment());
        const DWORD moment = random() % 1500;
        // One of the moments is known to lie behind the installation.
        if (kill == 1) {
            ASSERT_TRUE(WaitForService()) << monitor.Errors();
        } else {
            Sleep(moment);
        }
        monitor.Kill();
        const zorvane::CUniqueHandle worker = monitor.OpenChild(L"zorvanesimhost.exe");
        SCOPED_TRACE("kill " + std::to_string(kill) + " after " + std::to_string(moment) +
                     " ms, seed " + std::to_string(seed));
        if (worker) {
            if (ResumeHalfMade(worker.get())) {
                std::cout << "kill " << kill << " came before the worker could run\n";
            }
            ASSERT_EQ(WaitForSingleObject(worker.get(), kBoundMs), WAIT_OBJECT_0)
                << testing::PrintToString(machine.LogLines());
            DWORD code = 1;
            EXPECT_TRUE(GetExitCodeProcess(worker.get(), &code));
            EXPECT_EQ(code, 0u) << testing::PrintToString(machine.LogLines());
        }
        ASSERT_EQ(ServiceState(), std::nullopt);
    }
}
