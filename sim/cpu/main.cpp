// zorvanesimhost: zorvanehost on the simulated machine. Loads the same library, unmodified, and
// lets its CPUID instructions and the Windows functions that it imports answer as the scenario
// says.
#include <windows.h>

#include <filesystem>

#include "base/librarysearch.h"
#include "base/modulepath.h"
#include "base/text.h"
#include "base/textstream.h"
#include "cpuidimage.h"
#include "host/hostwords.h"
#include "host/reporterror.h"
#include "host/runworker.h"
#include "host/workerlibrary.h"
#include "sim/cpu/cpuidpatch.h"
#include "sim/machine/simulatemachine.h"
#include "sim/scenario/jsonplace.h"
#include "sim/scenario/scenariofile.h"

namespace {

// Exit codes beside those of HostExit.
constexpr int kScenarioUnusable = 6;
constexpr int kProcessorNotSimulated = 7;

std::wstring LibraryPath(const HostWords& words) {
    if (words.libraryPath) {
        return *words.libraryPath;
    }
    std::wstring path = CWorkerLibrary::DefaultPath();
    if (!std::filesystem::exists(path)) {
        const std::filesystem::path program = zorvane::ModulePath(nullptr);
        path = program.parent_path().parent_path() / L"bin" / L"Zorvane.dll";
    }
    return path;
}

int Fail(const std::wstring& error, int code) {
    ReportError(error);
    return code;
}

// Loads the library, patches it and stays in it until the worker has ended.
int RunOn(Scenario& scenario, const HostWords& words) {
    const std::wstring path = LibraryPath(words);
    CWorkerLibrary library;
    std::wstring error;
    const HostExit loaded = library.Load(path, error);
    if (loaded != HostExit::kOrderlyEnd) {
        return Fail(error, static_cast<int>(loaded));
    }
    if (scenario.cpu) {
        error = PatchCpuid(library.Base(), kCpuidImage, *scenario.cpu);
    }
    if (!error.empty()) {
        return Fail(L"the processor cannot be simulated in " + path + L": " + error,
                    kProcessorNotSimulated);
    }
    if (scenario.machine) {
        SimulateMachine(static_cast<HMODULE>(library.Base()), *scenario.machine);
        // The host's own calls of the service manager would use up the scenario's results.
        SimulateSystem(nullptr, *scenario.machine);
    }
    RunWorker(library, words);
}

}  // namespace

int main() {
    zorvane::NarrowLibrarySearch();
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    std::wstring error;
    const HostWords words = ReadHostWords(GetCommandLineW(), error);
    if (!error.empty()) {
        return Fail(error, static_cast<int>(HostExit::kBadWord));
    }
    if (words.help) {
        return zorvane::WriteText(GetStdHandle(STD_OUTPUT_HANDLE), kHostHelp) ? 1 : 0;
    }
    try {
        // The replaced functions read it until the process ends.
        static Scenario s_scenario = LoadScenario(ScenarioPath());
        return RunOn(s_scenario, words);
    } catch (const CScenarioError& unusable) {
        return Fail(zorvane::ToWide(unusable.what()), kScenarioUnusable);
    }
}
