#include "sim/scenario/nvmlfunctions.h"
#include "sim/scenario/scenario.h"
#include "sim/scenario/scenarioparts.h"

namespace {

// The library's own text, "... parse error at line 3, column 5: ...", without its number in front.
std::string ParseComplaint(const nlohmann::json::parse_error& error) {
    const std::string text = error.what();
    const size_t bracket = text.find("] ");
    return bracket == std::string::npos ? text : text.substr(bracket + 2);
}

nlohmann::json ParseJson(const std::string& text) {
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& error) {
        throw CScenarioError(ParseComplaint(error));
    }
}

void ReadGarbage(const CJsonPlace& place, Scenario& scenario) {
    place.ReadMembers({
        {"unterminatedTexts",
         [&](const CJsonPlace& value) { scenario.unterminatedTexts = value.Boolean(); }},
        {"writeOnFailure",
         [&](const CJsonPlace& value) { scenario.writeOnFailure = value.Boolean(); }},
    });
}

}  // namespace

void CResults::Set(const std::string& function, ResultRule rule) {
    m_rules[function] = std::move(rule);
}

ResultRule* CResults::Find(std::string_view function) {
    for (const std::string_view name : {function, WithoutVersion(function)}) {
        const auto found = m_rules.find(name);
        if (found != m_rules.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

Scenario ParseScenario(const std::string& json) {
    const nlohmann::json document = ParseJson(json);
    Scenario scenario;
    CJsonPlace(document).ReadMembers({
        {"description", [](const CJsonPlace& value) { value.Text(); }},
        {"driverVersion",
         [&](const CJsonPlace& value) { scenario.driverVersion = ReadOptionalText(value); }},
        {"deviceCount", [&](const CJsonPlace& value) { scenario.deviceCount = value.Unsigned(); }},
        {"gpus",
         [&](const CJsonPlace& value) {
             for (const CJsonPlace& item : value.Items()) {
                 scenario.gpus.push_back(ReadGpu(item));
             }
         }},
        {"results", [&](const CJsonPlace& value) { scenario.results = ReadResults(value, false); }},
        {"garbage", [&](const CJsonPlace& value) { ReadGarbage(value, scenario); }},
        {"crashAfterReadings",
         [&](const CJsonPlace& value) { scenario.crashAfterReadings = value.Unsigned(); }},
        {"cpu",
         [&](const CJsonPlace& value) {
             if (!value.IsNull()) {
                 scenario.cpu = ReadCpu(value);
             }
         }},
    });
    return scenario;
}
