#include "tests/support/importtable.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

// The entry for `function` among those of one imported library; null when it is not there.
void** FindInDescriptor(char* base, const IMAGE_IMPORT_DESCRIPTOR& descriptor,
                        const char* function) {
    const auto* name = reinterpret_cast<const ULONGLONG*>(base + descriptor.OriginalFirstThunk);
    auto* entry = reinterpret_cast<void**>(base + descriptor.FirstThunk);
    for (; *name != 0; ++name, ++entry) {
        if (IMAGE_SNAP_BY_ORDINAL64(*name)) {
            continue;
        }
        const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + *name);
        if (std::strcmp(reinterpret_cast<const char*>(import->Name), function) == 0) {
            return entry;
        }
    }
    return nullptr;
}

}  // namespace

void** FindImport(HMODULE module, const char* function) {
    auto* base = reinterpret_cast<char*>(module ? module : GetModuleHandleW(nullptr));
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const DWORD imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto* descriptor = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports);
    for (; descriptor->Name != 0; ++descriptor) {
        if (void** entry = FindInDescriptor(base, *descriptor, function)) {
            return entry;
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
