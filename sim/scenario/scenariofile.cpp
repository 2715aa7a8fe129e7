#include "sim/scenario/scenariofile.h"

#include <fstream>
#include <sstream>

#include "base/environment.h"
#include "base/modulepath.h"
#include "base/text.h"
#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/jsonplace.h"

namespace {

constexpr wchar_t kScenarioVariable[] = L"ZORVANE_SIM_SCENARIO";

std::optional<Scenario> LoadOrReport() {
    try {
        return LoadScenario(ScenarioPath());
    } catch (const CScenarioError& error) {
        WriteErrorLine(error.what());
        LogCall(std::string("error: ") + error.what());
        return std::nullopt;
    }
}

}  // namespace

std::filesystem::path ScenarioPath() {
    const std::wstring named = zorvane::EnvironmentVariable(kScenarioVariable);
    return named.empty() ? zorvane::ModuleFolder(zorvane::ThisModule()) + L"scenario.json" : named;
}

Scenario LoadScenario(const std::filesystem::path& path) {
    const std::string shown = "scenario " + zorvane::ToUtf8(path.native()) + ": ";
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw CScenarioError(shown + "the file cannot be opened");
    }
    std::ostringstream text;
    text << file.rdbuf();
    try {
        return ParseScenario(text.str());
    } catch (const CScenarioError& error) {
        throw CScenarioError(shown + error.what());
    }
}

Scenario* CurrentScenario() {
    static std::optional<Scenario> s_scenario = LoadOrReport();
    return s_scenario ? &*s_scenario : nullptr;
}
