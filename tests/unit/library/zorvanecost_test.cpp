// What a cycle and a record of the shipped library cost, in counts that hold on any machine.
#include <gtest/gtest.h>

#include <memory>

#include "tests/support/buildfolder.h"
#include "tests/support/callcounts.h"
#include "tests/support/importpatch.h"
#include "tests/support/recordingstub.h"
#include "tests/unit/library/loadedlibrary.h"

namespace {

constexpr DWORD kPauseMs = 1000;
// The first ones write more to the log.
constexpr int kCountedCycle = 8;

// The calls of a cycle with so many GPUs, from the end of one pause to the begin of the next.
CallsByName CallsOfACycle(size_t gpus, CalledLibraries libraries) {
    const CTempFolder folder;
    std::string scenario = R"({"gpus": [)";
    for (size_t gpu = 0; gpu < gpus; ++gpu) {
        scenario += std::string(gpu > 0 ? ", " : "") + R"({"name": "GPU"})";
    }
    WriteFileBytes(folder.PathOf(L"scenario.json"), scenario + "]}");
    SetEnvironmentVariableW(L"ZORVANE_SIM_SCENARIO", folder.PathOf(L"scenario.json").c_str());
    SetEnvironmentVariableW(L"ProgramW6432", (BuildFolder(L"sim") + L"\\ProgramFiles").c_str());

    CRecordingStub stub;
    const CLoadedLibrary library;
    PATCH_IMPORT(
        settings, GetPrivateProfileIntW, [](auto...) -> UINT { return 0; }, library.Module());
    std::unique_ptr<CCallCounts> counts;
    CallsByName calls;
    int cycle = 0;
    PATCH_IMPORT(
        wait, WaitForSingleObject,
        [&](HANDLE handle, DWORD timeoutMs) -> DWORD {
            if (timeoutMs != kPauseMs) {
                return wait.Original(handle, timeoutMs);
            }
            ++cycle;
            if (cycle == kCountedCycle) {
                counts = std::make_unique<CCallCounts>(library.Module());
                counts->Begin();
            }
            if (cycle <= kCountedCycle) {
                return WAIT_TIMEOUT;
            }
            calls = counts->End(libraries);
            return WAIT_OBJECT_0;
        },
        library.Module());
    library.RunAsItIs(L"--entry=e " + stub.WindowWord());
    return calls;
}

// The static records, and a dynamic one a cycle.
CallsByName SystemCallsFor(uint64_t gpus) {
    // The pause is one of the waits, the line "log off" another.
    return {{"IsWindow", gpus},
            {"SendMessageTimeoutW", gpus},
            {"MultiByteToWideChar", gpus},
            {"WaitForSingleObject", gpus + 2},
            {"AcquireSRWLockShared", gpus + 1},
            {"ReleaseSRWLockShared", gpus + 1},
            {"EnterCriticalSection", 4},
            {"LeaveCriticalSection", 4},
            {"GetCurrentProcessId", 1},
            {"GetCurrentThreadId", 1},
            {"WideCharToMultiByte", 1},
            {"OpenMutexW", 1},
            {"ReleaseMutex", 1}};
}

}  // namespace

TEST(ZorvaneCost, OfACycleWithOneGpuIsTheCallsThatItNeeds) {
    EXPECT_EQ(CallsOfACycle(1, CalledLibraries::kSystem), SystemCallsFor(1));
}

TEST(ZorvaneCost, OfACycleGrowsByTheCallsOfEachRecord) {
    EXPECT_EQ(CallsOfACycle(8, CalledLibraries::kSystem), SystemCallsFor(8));
}

// What is allocated is the line of the log.
TEST(ZorvaneCost, OfARecordIsNoAllocation) {
    CallsByName calls = CallsOfACycle(8, CalledLibraries::kAll);
    EXPECT_LE(calls["malloc"] + calls["calloc"] + calls["realloc"], 4u);
    EXPECT_EQ(calls["SendMessageTimeoutW"], 8u);
}
