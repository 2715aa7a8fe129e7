#include "tests/support/callcounts.h"

#include <array>
#include <atomic>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "base/importtable.h"
#include "base/peimage.h"

namespace {

// Where an address stands in the instructions below.
constexpr size_t kThreadAt = 11;
constexpr size_t kCountAt = 26;
constexpr size_t kTargetAt = 40;

// Only R10 and R11 are used: no argument is in them and no caller expects them to be kept.
constexpr std::array<uint8_t, 64> kCountingJump = {
    0x65, 0x44, 0x8B, 0x14, 0x25, 0x48, 0, 0, 0,     // mov r10d, gs:[0x48]: the thread's id
    0x49, 0xBB, 0,    0,    0,    0,    0, 0, 0, 0,  // mov r11, the followed thread's address
    0x45, 0x3B, 0x13,                                // cmp r10d, [r11]
    0x75, 0x0E,                                      // jne to the last two instructions
    0x49, 0xBB, 0,    0,    0,    0,    0, 0, 0, 0,  // mov r11, the count's address
    0xF0, 0x49, 0xFF, 0x03,                          // lock inc qword ptr [r11]
    0x49, 0xBB, 0,    0,    0,    0,    0, 0, 0, 0,  // mov r11, the function
    0x41, 0xFF, 0xE3,                                // jmp r11
};

// Some of what a runtime exports is data, which has to stay where it is.
bool IsCode(const void* address) {
    MEMORY_BASIC_INFORMATION region{};
    VirtualQuery(address, &region, sizeof(region));
    constexpr DWORD kExecutable =
        PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return (region.Protect & kExecutable) != 0;
}

void PutAddress(uint8_t* code, size_t at, const void* address) {
    std::memcpy(code + at, &address, sizeof(address));
}

}  // namespace

struct CCallCounts::Entry {
    bool isRuntime;
    std::string function;
    void** entry;
    void* original;
    std::unique_ptr<std::atomic<uint64_t>> count = std::make_unique<std::atomic<uint64_t>>(0);
};

struct CCallCounts::Table {
    std::atomic<DWORD> thread{0};
    std::vector<Entry> entries;
};

CCallCounts::CCallCounts(HMODULE module) : m_table(std::make_unique<Table>()) {
    auto* base = reinterpret_cast<char*>(module ? module : GetModuleHandleW(nullptr));
    for (const zorvane::PeImport& import : zorvane::CPeImage::OfModule(module).Imports()) {
        auto** entry = reinterpret_cast<void**>(base + import.entry);
        void* original = zorvane::ReadImport(entry);
        if (IsCode(original)) {
            m_table->entries.push_back(
                {import.library == "msvcrt.dll", import.function, entry, original});
        }
    }
    // Deliberately leaked: a thread may be on its way through it when the counting ends.
    auto* code =
        static_cast<uint8_t*>(VirtualAlloc(nullptr, m_table->entries.size() * kCountingJump.size(),
                                           MEM_COMMIT, PAGE_EXECUTE_READWRITE));
    if (!code) {
        throw std::runtime_error("no memory for code");
    }
    for (const Entry& entry : m_table->entries) {
        std::memcpy(code, kCountingJump.data(), kCountingJump.size());
        PutAddress(code, kThreadAt, &m_table->thread);
        PutAddress(code, kCountAt, entry.count.get());
        PutAddress(code, kTargetAt, entry.original);
        zorvane::ExchangeImport(entry.entry, code);
        code += kCountingJump.size();
    }
}

CCallCounts::~CCallCounts() {
    for (const Entry& entry : m_table->entries) {
        zorvane::ExchangeImport(entry.entry, entry.original);
    }
    // What a late call still reads goes with its code.
    m_table->thread = 0;
    static_cast<void>(m_table.release());
}

void CCallCounts::Begin() {
    for (const Entry& entry : m_table->entries) {
        *entry.count = 0;
    }
    m_table->thread = GetCurrentThreadId();
}

CallsByName CCallCounts::End(CalledLibraries libraries) {
    m_table->thread = 0;
    CallsByName calls;
    for (const Entry& entry : m_table->entries) {
        const bool isWanted = libraries == CalledLibraries::kAll || !entry.isRuntime;
        if (isWanted && *entry.count > 0) {
            calls[entry.function] += *entry.count;
        }
    }
    return calls;
}

uint64_t TotalOf(const CallsByName& calls) {
    uint64_t total = 0;
    for (const auto& [function, count] : calls) {
        total += count;
    }
    return total;
}
