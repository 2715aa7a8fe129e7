#include "sim/machine/simulatemachine.h"

#include "base/peimage.h"
#include "sim/machine/replacement.h"

namespace {

Machine* s_machine = nullptr;

// Writes an entry of an import table and returns what it held.
void* Exchange(void** entry, void* address) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    void* previous = InterlockedExchangePointer(entry, address);
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
    return previous;
}

void Install(void** entry, const std::string& function, std::span<const Replacement> replacements) {
    for (const Replacement& row : replacements) {
        // An entry that holds the replacement was replaced before.
        if (row.function == function && *entry != row.replacement) {
            *row.original = Exchange(entry, row.replacement);
        }
    }
}

}  // namespace

Machine& CurrentMachine() { return *s_machine; }

void SimulateMachine(HMODULE module, Machine& machine) {
    s_machine = &machine;
    auto* base = reinterpret_cast<char*>(module ? module : GetModuleHandleW(nullptr));
    for (const zorvane::PeImport& import : zorvane::CPeImage::OfModule(module).Imports()) {
        auto* entry = reinterpret_cast<void**>(base + import.entry);
        Install(entry, import.function, SystemReplacements());
        Install(entry, import.function, DriverReplacements());
        Install(entry, import.function, WmiReplacements());
    }
}
