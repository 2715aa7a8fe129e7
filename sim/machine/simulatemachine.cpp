#include "sim/machine/simulatemachine.h"

#include "base/importtable.h"
#include "sim/machine/currentmachine.h"
#include "sim/machine/driverreplacements.h"
#include "sim/machine/systemreplacements.h"
#include "sim/machine/wmireplacements.h"

namespace {

void Install(HMODULE module, std::span<const Replacement> replacements) {
    for (const Replacement& row : replacements) {
        void** entry = zorvane::FindImport(module, row.function);
        // A module may be given twice; its entry then holds the replacement already.
        if (entry && zorvane::ReadImport(entry) != row.replacement) {
            *row.original = zorvane::ExchangeImport(entry, row.replacement);
        }
    }
}

}  // namespace

void SimulateMachine(HMODULE module, Machine& machine) {
    SetCurrentMachine(machine);
    Install(module, SystemReplacements());
    Install(module, DriverReplacements());
    Install(module, WmiReplacements());
}

void SimulateSystem(HMODULE module, Machine& machine) {
    SetCurrentMachine(machine);
    Install(module, SystemReplacements());
}
