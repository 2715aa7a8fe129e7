#include "tests/unit/sim/simfixture.h"

#include <sstream>

#include "tests/support/buildfolder.h"

std::filesystem::path SimFolder() { return BuildFolder(L"sim"); }

std::filesystem::path NvmlPath(const std::string& variant) {
    const std::filesystem::path tree =
        variant.empty() ? SimFolder() / "ProgramFiles" : SimFolder() / "variants" / variant;
    return tree / "NVIDIA Corporation" / "NVSMI" / "Nvml.dll";
}

CSimTest::CSimTest() {
    SetEnvironmentVariableW(L"ZORVANE_SIM_SCENARIO", ScenarioFile().c_str());
    SetEnvironmentVariableW(L"ZORVANE_SIM_CALL_LOG", CallLogFile().c_str());
}

CSimTest::~CSimTest() {
    SetEnvironmentVariableW(L"ZORVANE_SIM_SCENARIO", nullptr);
    SetEnvironmentVariableW(L"ZORVANE_SIM_CALL_LOG", nullptr);
}

void CSimTest::SetScenario(const std::string& json) const { WriteFileBytes(ScenarioFile(), json); }

std::vector<std::string> CSimTest::Calls() const {
    std::istringstream text(ReadFileBytes(CallLogFile()));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}
