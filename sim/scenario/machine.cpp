#include "sim/scenario/machine.h"

#include <vector>

#include "base/text.h"
#include "sim/scenario/windowsfunctions.h"

namespace {

constexpr int64_t kHighestVbsStatus = 2;

WindowsVersion ReadWindows(const CJsonPlace& place) {
    WindowsVersion version;
    place.ReadMembers({
        {"major", [&](const CJsonPlace& value) { version.major = value.Unsigned(); }},
        {"minor", [&](const CJsonPlace& value) { version.minor = value.Unsigned(); }},
        {"build", [&](const CJsonPlace& value) { version.build = value.Unsigned(); }},
        {"workstation", [&](const CJsonPlace& value) { version.workstation = value.Boolean(); }},
    });
    return version;
}

VbsAnswer ReadVbs(const CJsonPlace& place) {
    if (place.IsText("unavailable")) {
        return {.available = false};
    }
    return {.status = static_cast<int32_t>(place.Integer(0, kHighestVbsStatus))};
}

std::vector<ResultFunction> WindowsFunctions() {
    std::vector<ResultFunction> functions;
    for (const char* name : kWindowsFunctions) {
        functions.push_back({.name = name});
    }
    return functions;
}

}  // namespace

Machine ReadMachine(const CJsonPlace& place) {
    Machine machine;
    place.ReadMembers({
        {"administrator",
         [&](const CJsonPlace& value) { machine.administrator = value.Boolean(); }},
        {"windows", [&](const CJsonPlace& value) { machine.windows = ReadWindows(value); }},
        {"vbs", [&](const CJsonPlace& value) { machine.vbs = ReadVbs(value); }},
        {"productName",
         [&](const CJsonPlace& value) { machine.productName = zorvane::ToWide(value.Text()); }},
        {"systemFolder",
         [&](const CJsonPlace& value) { machine.systemFolder = zorvane::ToWide(value.Text()); }},
        {"results",
         [&](const CJsonPlace& value) {
             machine.results = ReadResults(value, WindowsFunctions());
         }},
    });
    return machine;
}
