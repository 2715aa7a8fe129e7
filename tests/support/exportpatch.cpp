#include "tests/support/exportpatch.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <string>

#include "base/peimage.h"

namespace {

// The entry for `function` in the library's table of addresses, which are offsets from its base.
DWORD* FindExport(HMODULE library, const char* function) {
    const auto image = zorvane::CPeImage::OfModule(library);
    const DWORD address = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress;
    const auto table = image.Read<IMAGE_EXPORT_DIRECTORY>(address);
    for (DWORD name = 0; table && name < table->NumberOfNames; ++name) {
        const auto text = image.Read<DWORD>(table->AddressOfNames + name * DWORD{sizeof(DWORD)});
        if (text && image.TextAt(*text) == function) {
            const auto ordinal =
                image.Read<WORD>(table->AddressOfNameOrdinals + name * DWORD{sizeof(WORD)});
            auto* addresses = reinterpret_cast<char*>(library) + table->AddressOfFunctions;
            return reinterpret_cast<DWORD*>(addresses) + ordinal.value();
        }
    }
    throw std::runtime_error(std::string("the library does not export ") + function);
}

// Memory for code behind the library, as near as an offset of 32 bits reaches.
unsigned char* AllocateBehind(HMODULE library) {
    auto* base = reinterpret_cast<unsigned char*>(library);
    constexpr size_t kStep = 1u << 20;
    for (size_t offset = kStep; offset < 0x7FFF0000u; offset += kStep) {
        if (void* memory = VirtualAlloc(base + offset, kStep, MEM_RESERVE | MEM_COMMIT,
                                        PAGE_EXECUTE_READWRITE)) {
            return static_cast<unsigned char*>(memory);
        }
    }
    throw std::runtime_error("there is no memory behind the library");
}

// Goes on to `target`. Never freed: modules may be bound to it.
unsigned char* MakeJump(HMODULE library, void* target) {
    unsigned char* jump = AllocateBehind(library);
    constexpr std::array<unsigned char, 12> kCode = {
        0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0,  // mov rax, target
        0xFF, 0xE0                           // jmp rax
    };
    std::memcpy(jump, kCode.data(), kCode.size());
    std::memcpy(jump + 2, &target, sizeof(target));
    FlushInstructionCache(GetCurrentProcess(), jump, kCode.size());
    return jump;
}

void WriteEntry(DWORD* entry, DWORD value) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    *entry = value;
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
}

}  // namespace

CExportPatch::CExportPatch(HMODULE library, const char* function, void* replacement)
    : m_entry(FindExport(library, function)), m_original(*m_entry) {
    const unsigned char* jump = MakeJump(library, replacement);
    WriteEntry(m_entry, static_cast<DWORD>(jump - reinterpret_cast<unsigned char*>(library)));
}

CExportPatch::~CExportPatch() { WriteEntry(m_entry, m_original); }
