#include "base/importtable.h"

#include "base/peimage.h"

namespace zorvane {

void** FindImport(HMODULE module, const char* function) {
    for (const PeImport& import : CPeImage::OfModule(module).Imports()) {
        if (import.function == function) {
            auto* base = reinterpret_cast<char*>(module ? module : GetModuleHandleW(nullptr));
            return reinterpret_cast<void**>(base + import.entry);
        }
    }
    return nullptr;
}

void* ExchangeImport(void** entry, void* address) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    void* previous = InterlockedExchangePointer(entry, address);
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
    return previous;
}

}  // namespace zorvane
