// zorvanesimhost: zorvanehost on the simulated processor. Loads the same library, unmodified, and
// lets its CPUID instructions answer as the scenario says.
#include <windows.h>

#include <filesystem>

#include "cpu/cpuidpatch.h"
#include "cpuidimage.h"
#include "process/commandlineargs.h"
#include "reporterror.h"
#include "scenario/environment.h"
#include "scenario/jsonplace.h"
#include "scenario/scenariofile.h"
#include "scenario/widetext.h"
#include "workerlibrary.h"

namespace {

// Exit codes beside those of EHostExit.
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
int RunOn(const Scenario& scenario) {
    const std::wstring path = LibraryPath();
    CWorkerLibrary library;
    std::wstring error;
    const EHostExit loaded = library.Load(path, error);
    if (loaded != EHostExit::kOrderlyEnd) {
        return Fail(error, static_cast<int>(loaded));
    }
    if (scenario.cpu) {
        error = PatchCpuid(library.Base(), kCpuidImage, *scenario.cpu);
    }
    if (!error.empty()) {
        return Fail(L"the processor cannot be simulated in " + path + L": " + error,
                    kProcessorNotSimulated);
    }
    library.Run(GetCommandLineW());
    return static_cast<int>(EHostExit::kOrderlyEnd);
}

}  // namespace

int main() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    try {
        return RunOn(LoadScenario(ScenarioPath()));
    } catch (const CScenarioError& error) {
        return Fail(ToWide(error.what()), kScenarioUnusable);
    }
}
