#include "sim/scenario/scenario.h"

#include "sim/scenario/nvmlfunctions.h"
#include "sim/scenario/parsejson.h"
#include "sim/scenario/readvalue.h"

namespace {

Garbage ReadGarbage(const CJsonPlace& place) {
    Garbage garbage;
    place.ReadMembers({
        {"unterminatedTexts",
         [&](const CJsonPlace& value) { garbage.unterminatedTexts = value.Boolean(); }},
        {"writeOnFailure",
         [&](const CJsonPlace& value) { garbage.writeOnFailure = value.Boolean(); }},
        {"reservedWords",
         [&](const CJsonPlace& value) { garbage.reservedWords = value.Boolean(); }},
    });
    return garbage;
}

}  // namespace

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
        {"results",
         [&](const CJsonPlace& value) { scenario.results = ReadResults(value, NvmlFunctions()); }},
        {"garbage", [&](const CJsonPlace& value) { scenario.garbage = ReadGarbage(value); }},
        {"crashAfterReadings",
         [&](const CJsonPlace& value) { scenario.crashAfterReadings = value.Unsigned(); }},
        {"cpu",
         [&](const CJsonPlace& value) {
             if (!value.IsNull()) {
                 scenario.cpu = ReadCpu(value);
             }
         }},
        {"machine", [&](const CJsonPlace& value) { scenario.machine = ReadMachine(value); }},
    });
    return scenario;
}
