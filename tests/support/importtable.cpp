#include "tests/support/importtable.h"

#include <stdexcept>
#include <string>

#include "base/peimage.h"

void** FindImport(HMODULE module, const char* function) {
    const auto image = zorvane::CPeImage::OfModule(module);
    for (const zorvane::PeImport& import : image.Imports()) {
        if (import.function == function) {
            auto* base = reinterpret_cast<char*>(module ? module : GetModuleHandleW(nullptr));
            return reinterpret_cast<void**>(base + import.entry);
        }
    }
    throw std::runtime_error(std::string("the module does not import ") + function);
}

void* ExchangeImport(void** entry, void* address) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    void* previous = InterlockedExchangePointer(entry, address);
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
    return previous;
}
