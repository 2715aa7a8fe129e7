#include "base/importtable.h"

#include <cstring>

#include "base/peimage.h"

namespace zorvane {
namespace {

// Not through the import table: the entry that is exchanged may be this function's own.
decltype(&VirtualProtect) RealVirtualProtect() {
    static const auto kProtect =
        reinterpret_cast<decltype(&VirtualProtect)>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "VirtualProtect")));
    return kProtect;
}

}  // namespace

void** FindImport(HMODULE module, const char* function) {
    for (const PeImport& import : CPeImage::OfModule(module).Imports()) {
        if (import.function == function) {
            auto* base = reinterpret_cast<char*>(module ? module : GetModuleHandleW(nullptr));
            return reinterpret_cast<void**>(base + import.entry);
        }
    }
    return nullptr;
}

void* ReadImport(void* const* entry) {
    void* address = nullptr;
    std::memcpy(&address, entry, sizeof(address));
    return address;
}

void* ExchangeImport(void** entry, void* address) {
    DWORD protection = 0;
    RealVirtualProtect()(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    // Not interlocked: where an entry crosses two cache lines a locked instruction stops all
    // processors, for which Linux makes the thread pay with milliseconds. Whoever calls through the
    // entry reads it no more atomically than this writes it.
    void* previous = ReadImport(entry);
    std::memcpy(entry, &address, sizeof(address));
    RealVirtualProtect()(entry, sizeof(*entry), protection, &protection);
    return previous;
}

}  // namespace zorvane
