// zorvanesimhost: zorvanehost on the simulated machine. Loads the same library, unmodified, and
// lets its CPUID instructions and the Windows functions that it imports answer as the scenario
// says.
#include <windows.h>

#include <filesystem>

#include "cpuidimage.h"
#include "host/reporterror.h"
#include "host/workerlibrary.h"
#include "sim/cpu/cpuidpatch.h"
#include "sim/machine/simulatemachine.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/jsonplace.h"
#include "sim/scenario/scenariofile.h"
#include "sim/scenario/widetext.h"
#include "src/process/commandlineargs.h"

namespace {

// Exit codes beside those of HostExit.
constexpr int kScenarioUnusable = 6;
constexpr int kProcessorNotSimulated = 7;

std::wstring LibraryPath() {
    CommandLineArgs args;
    args.SetCommandLine(GetCommandLineW());
    args.Parse();
    std::wstring path = CWorkerLibrary::DefaultPath();
    if (!std::filesystem::exists(path)) {
        path = ModuleFolder().parent_path() / L"bin" / L"Zorvane.dll";
    }
    args.GetValue(L"--library", path);
    return path;
}

int Fail(const std::wstring& error, int code) {
    ReportError(error);
    return code;
}

// Loads the library, patches it and stays in it until the worker has ended.
int RunOn(Scenario& scenario) {
    const std::wstring path = LibraryPath();
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
    }
    library.Run(GetCommandLineW());
    return static_cast<int>(HostExit::kOrderlyEnd);
}

}  // namespace

int main() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    try {
        // What replaces functions of Windows asks it until the process ends.
        static Scenario s_scenario = LoadScenario(ScenarioPath());
        return RunOn(s_scenario);
    } catch (const CScenarioError& error) {
        return Fail(ToWide(error.what()), kScenarioUnusable);
    }
}
