// One run of the shipped library on the simulated machine, with faults in its calls or not:
//
//   faultedworker ENDING [FUNCTION FIRST once|always]
//   faultedworker ENDING after MILLISECONDS
//   faultedworker ENDING messages COUNT
//   faultedworker ENDING strangers SEED
//
// ENDING is "stop", where the stub sends the stop message, "vanish", where its window goes,
// "close", where somebody closes the worker's window, or "both", a stop and a vanishing at once. It
// comes after some cycles, some time, or some messages, or when another process has sent messages
// to the worker's window: "faultedworker stranger PROCESSID SEED". Lies beside Zorvane.dll,
// Platform.dll and scenario.json. Prints what it saw, one line each:
//
//   calls FUNCTION CALLS FAILED
//   record HEX        a message of the worker
//   open KIND COUNT   what the library has not released, in the middle of the run and at its end
//   returned          the export has returned; "thrown TYPE" when an exception left it
//   finding TEXT      what should not be
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <iterator>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "base/librarysearch.h"
#include "base/modulepath.h"
#include "base/windowthread.h"
#include "cpuidimage.h"
#include "sim/cpu/cpuidpatch.h"
#include "sim/machine/simulatemachine.h"
#include "sim/scenario/scenariofile.h"
#include "tests/campaigns/faults/calltrap.h"
#include "tests/campaigns/faults/drivenmachine.h"
#include "tests/campaigns/faults/strangermessages.h"
#include "tests/campaigns/faults/watchedresources.h"
#include "zorvane/wire.h"

namespace {

// Enough messages for the cycle in which the log is switched off: hello, two static records, and
// two records and a temperature in each cycle.
constexpr size_t kEnoughMessages = 3 + 3 * 8;

// A worker that sends nothing for so long is not waited for; it is asked to end.
constexpr auto kSilence = std::chrono::milliseconds(1000);

// The longest that an end may take, on a machine that is busy with many runs.
constexpr auto kBound = std::chrono::seconds(20);

constexpr UINT kHung = 70;

class CStub {
  public:
    CStub()
        : m_window([this](UINT message, WPARAM, LPARAM lParam) -> std::optional<LRESULT> {
              if (message != WM_COPYDATA) {
                  return std::nullopt;
              }
              Keep(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
              return TRUE;
          }) {}

    std::wstring Words() const {
        return L"--entry=faulted --wnd=" +
               std::to_wstring(static_cast<int>(reinterpret_cast<INT_PTR>(m_window.Handle())));
    }

    // Returns when the worker has sent so many messages, or nothing more.
    void WaitForMessages(const std::atomic<bool>& hasEnded, size_t enough) {
        std::unique_lock guard(m_lock);
        size_t seen = 0;
        do {
            seen = m_count;
            m_arrived.wait_for(guard, kSilence, [&] { return hasEnded || m_count != seen; });
        } while (!hasEnded && m_count != seen && m_count < enough);
    }

    // False: the worker has ended, or it sends too little.
    bool WaitForMore(const std::atomic<bool>& hasEnded, size_t count) {
        std::unique_lock guard(m_lock);
        const size_t enough = m_count + count;
        m_arrived.wait_for(guard, kBound, [&] { return hasEnded || m_count >= enough; });
        return m_count >= enough;
    }

    void Notify() { m_arrived.notify_all(); }

    void Destroy() { m_window.Destroy(); }

    bool HasRecord() {
        const std::lock_guard guard(m_lock);
        return std::any_of(m_records.begin(), m_records.end(), [](const std::string& record) {
            return !record.starts_with(std::to_string(kCopyDataHello));
        });
    }

    void PrintRecords() {
        const std::lock_guard guard(m_lock);
        for (const std::string& record : m_records) {
            std::printf("record %s ", record.substr(0, record.find(' ')).c_str());
            for (size_t index = record.find(' ') + 1; index < record.size(); ++index) {
                std::printf("%02X", static_cast<unsigned char>(record[index]));
            }
            std::printf("\n");
        }
    }

  private:
    // Each kind of message once; their number differs from run to run.
    void Keep(const COPYDATASTRUCT& data) {
        // The window's handle in the hello differs.
        const DWORD size = data.dwData == kCopyDataHello ? data.cbData - 8 : data.cbData;
        const std::string text = std::to_string(data.dwData) + " " +
                                 std::string(static_cast<const char*>(data.lpData), size);
        const std::lock_guard guard(m_lock);
        m_records.insert(text);
        ++m_count;
        m_arrived.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_arrived;
    std::set<std::string> m_records;
    size_t m_count = 0;
    // Last: its thread uses the others.
    zorvane::CWindowThread m_window;
};

BOOL CALLBACK SendStop(HWND window, LPARAM) {
    static COPYDATASTRUCT s_stop{kCopyDataStop, 0, nullptr};
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&s_stop), SMTO_NORMAL,
                        1000, &answer);
    return TRUE;
}

// The export's run as the other threads see it.
struct Run {
    DWORD threadId = GetCurrentThreadId();
    std::atomic<bool> hasEnded{false};
    HANDLE ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);

    bool Wait(std::chrono::milliseconds timeout) const {
        return WaitForSingleObject(ended, static_cast<DWORD>(timeout.count())) == WAIT_OBJECT_0;
    }
};

[[noreturn]] void Finish(UINT code) {
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), code);
    for (;;) {
        Sleep(INFINITE);
    }
}

// When and how a run ends.
struct Ending {
    std::string way;
    DWORD afterMs = 0;
    size_t messages = kEnoughMessages;
    std::optional<unsigned> strangerSeed{};
};

BOOL CALLBACK PostClose(HWND window, LPARAM) { return PostMessageW(window, WM_CLOSE, 0, 0); }

void PrintOpen() {
    for (const OpenResources& open : OpenNow()) {
        std::printf("open %s %zu\n", open.kind, open.count);
    }
}

// A worker that works on before, during and after the messages of a stranger.
void AwaitStranger(CStub& stub, const Run& run, unsigned seed) {
    constexpr size_t kTwoCycles = 6;
    std::string wrong = "the worker does not begin";
    if (stub.WaitForMore(run.hasEnded, kTwoCycles)) {
        wrong = LetAStrangerSend(seed);
    }
    if (wrong.empty() && !stub.WaitForMore(run.hasEnded, kTwoCycles)) {
        wrong = "the worker does not go on after a stranger's messages";
    }
    if (!wrong.empty()) {
        std::printf("finding %s\n", wrong.c_str());
    }
}

// Lets the worker work; what it has open is told in the middle of a run of many messages.
void AwaitMoment(CStub& stub, const Run& run, const Ending& ending) {
    if (ending.afterMs > 0) {
        run.Wait(std::chrono::milliseconds(ending.afterMs));
        return;
    }
    if (ending.strangerSeed) {
        AwaitStranger(stub, run, *ending.strangerSeed);
        return;
    }
    if (ending.messages != kEnoughMessages) {
        stub.WaitForMessages(run.hasEnded, ending.messages / 2);
        PrintOpen();
    }
    stub.WaitForMessages(run.hasEnded, ending.messages);
}

// The stub's side: lets the worker work, asks it to end, and ends the process when it does not.
void End(CStub& stub, const Run& run, const Ending& ending) {
    AwaitMoment(stub, run, ending);
    if (ending.way == "close") {
        EnumThreadWindows(run.threadId, &PostClose, 0);
    }
    if (ending.way == "stop" || ending.way == "both") {
        EnumThreadWindows(run.threadId, &SendStop, 0);
    }
    // A moment before the worker has a window there is nobody to ask.
    if (ending.way == "stop" && ending.afterMs == 0) {
        if (run.Wait(kBound)) {
            return;
        }
        std::printf("finding the worker did not end for a stop message\n");
    }
    stub.Destroy();
    if (!run.Wait(kBound)) {
        std::printf("finding the worker did not end when its stub's window had gone\n");
        Finish(kHung);
    }
}

// The loader tells of a library between resolving its imports and running its code.
struct LibraryLoaded {
    ULONG flags;
    const void* fullName;
    const void* name;
    void* base;
    ULONG size;
};

void CALLBACK OnLibrary(ULONG reason, const LibraryLoaded* loaded, void* context) {
    constexpr ULONG kLoaded = 1;
    auto* const module = static_cast<HMODULE>(loaded->base);
    wchar_t name[MAX_PATH] = {};
    GetModuleFileNameW(module, name, MAX_PATH);
    if (reason != kLoaded || !std::wstring_view(name).ends_with(L"\\Zorvane.dll")) {
        return;
    }
    SimulateMachine(module, *static_cast<Machine*>(context));
    DriveMachine(module);
    WatchResources(module);
    TrapImports(module);
}

bool TrapAtLoading(Machine& machine) {
    using Register =
        LONG NTAPI(ULONG, void(CALLBACK*)(ULONG, const LibraryLoaded*, void*), void*, void**);
    const auto registerNotification = reinterpret_cast<Register*>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification")));
    void* cookie = nullptr;
    return registerNotification && registerNotification(0, &OnLibrary, &machine, &cookie) == 0;
}

// The library's lock of the log; null when it was never made.
HANDLE OpenLogMutex(const std::wstring& folder) {
    std::wstring name = folder + L"Log\\Qorvella_HardwareDll.log";
    std::erase(name, L':');
    std::erase(name, L'\\');
    return OpenMutexW(MUTEX_ALL_ACCESS, FALSE, name.c_str());
}

// `hasWorked`: a record has come. A worker that is stopped while it starts leaves the service to
// its host.
void PrintFindings(const std::wstring& folder, bool hasWorked) {
    for (const std::string& wrong : WrongReleases()) {
        std::printf("finding %s\n", wrong.c_str());
    }
    // The work thread may be in its last lines.
    const ULONGLONG end = GetTickCount64() + 5000;
    while (!AreAllLocksFree() && GetTickCount64() < end) {
        Sleep(10);
    }
    if (!AreAllLocksFree()) {
        std::printf("finding a lock is still held\n");
    }
    const HANDLE mutex = OpenLogMutex(folder);
    if (mutex && WaitForSingleObject(mutex, 0) != WAIT_OBJECT_0) {
        std::printf("finding the log's mutex is still held\n");
    }
    if (hasWorked && IsDriverServiceLeft()) {
        std::printf("finding the driver's service is left\n");
    }
}

void PrintCalls() {
    for (const CallCount& count : TrappedCalls()) {
        std::printf("calls %s %u %u\n", count.function.c_str(), count.calls, count.failed);
    }
}

// Enters the export on this thread.
void EnterExport(HMODULE library, std::wstring words) {
    const auto entry = reinterpret_cast<void (*)(wchar_t*)>(
        reinterpret_cast<void*>(GetProcAddress(library, "ZorvaneProcess")));
    try {
        entry(words.data());
        std::printf("returned\n");
    } catch (const std::bad_alloc&) {
        std::printf("thrown std::bad_alloc\n");
    } catch (const std::exception& error) {
        std::printf("thrown %s\n", error.what());
    } catch (...) {
        std::printf("thrown something\n");
    }
}

Ending EndingOf(char** arguments) {
    Ending ending{arguments[1]};
    const std::string moment = arguments[2];
    const size_t number = std::stoul(arguments[3]);
    if (moment == "after") {
        ending.afterMs = static_cast<DWORD>(number);
    } else if (moment == "strangers") {
        ending.strangerSeed = static_cast<unsigned>(number);
    } else {
        ending.messages = number;
    }
    return ending;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2 && count != 4 && count != 5) {
        std::fprintf(stderr,
                     "usage: faultedworker ENDING [FUNCTION FIRST once|always | "
                     "after MILLISECONDS | messages COUNT | strangers SEED]\n");
        return 2;
    }
    zorvane::NarrowLibrarySearch();
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    if (count == 4 && std::strcmp(arguments[1], "stranger") == 0) {
        return SendAsAStranger(std::stoul(arguments[2]),
                               static_cast<unsigned>(std::stoul(arguments[3])));
    }
    const Ending ending = count == 4 ? EndingOf(arguments) : Ending{arguments[1]};
    if (count == 5) {
        SetFaultPlan({arguments[2], static_cast<uint32_t>(std::stoul(arguments[3])),
                      std::strcmp(arguments[4], "always") == 0});
    }
    const std::wstring folder = zorvane::ModuleFolder(nullptr);
    static Scenario s_scenario = LoadScenario(ScenarioPath());
    if (!TrapAtLoading(*s_scenario.machine)) {
        std::fprintf(stderr, "faultedworker: the loader tells nothing\n");
        return 2;
    }
    const HMODULE library = LoadLibraryW((folder + L"Zorvane.dll").c_str());
    if (!library || !PatchCpuid(library, kCpuidImage, *s_scenario.cpu).empty()) {
        std::printf("finding the library cannot be loaded\n");
        Finish(3);
    }
    CStub stub;
    Run run;
    std::thread ender([&] { End(stub, run, ending); });
    EnterExport(library, stub.Words());
    run.hasEnded = true;
    SetEvent(run.ended);
    stub.Notify();
    ender.join();
    PrintFindings(folder, stub.HasRecord());
    PrintOpen();
    PrintCalls();
    stub.PrintRecords();
    // Not past the end of main: what unloads the library there is not part of a worker's life.
    Finish(0);
}
