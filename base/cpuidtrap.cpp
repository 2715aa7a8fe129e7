#include "base/cpuidtrap.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace zorvane {
namespace {

constexpr unsigned char kCpuid[] = {0x0F, 0xA2};
constexpr unsigned char kBreakpoint = 0xCC;

CCpuidTrap::Answer s_answer;
// Sorted
std::vector<unsigned char*> s_sites;

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_BREAKPOINT ||
        !std::binary_search(s_sites.begin(), s_sites.end(), record.ExceptionAddress)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CONTEXT& context = *exception->ContextRecord;
    const CpuidRegisters answer =
        s_answer(static_cast<uint32_t>(context.Rax), static_cast<uint32_t>(context.Rcx));
    context.Rax = answer.eax;
    context.Rbx = answer.ebx;
    context.Rcx = answer.ecx;
    context.Rdx = answer.edx;
    context.Rip = reinterpret_cast<DWORD64>(record.ExceptionAddress) + sizeof(kCpuid);
    return EXCEPTION_CONTINUE_EXECUTION;
}

bool WriteFirstByte(unsigned char* site, unsigned char byte) {
    DWORD protection = 0;
    if (!VirtualProtect(site, 1, PAGE_EXECUTE_READWRITE, &protection)) {
        return false;
    }
    *site = byte;
    VirtualProtect(site, 1, protection, &protection);
    FlushInstructionCache(GetCurrentProcess(), site, 1);
    return true;
}

}  // namespace

bool HoldsCpuidAt(const CPeImage& image, std::span<const uint32_t> addresses) {
    return std::all_of(addresses.begin(), addresses.end(), [&](uint32_t address) {
        const char* site = image.At(address, sizeof(kCpuid));
        return site && std::memcmp(site, kCpuid, sizeof(kCpuid)) == 0;
    });
}

std::optional<CallError> CCpuidTrap::Set(HMODULE module, std::span<const uint32_t> addresses,
                                         Answer answer) {
    auto* base = reinterpret_cast<unsigned char*>(module ? module : GetModuleHandleW(nullptr));
    s_answer = std::move(answer);
    for (const uint32_t address : addresses) {
        s_sites.push_back(base + address);
    }
    std::sort(s_sites.begin(), s_sites.end());
    m_handler = AddVectoredExceptionHandler(1, &OnException);
    if (!m_handler) {
        return LastCallError("AddVectoredExceptionHandler");
    }
    for (unsigned char* site : s_sites) {
        if (!WriteFirstByte(site, kBreakpoint)) {
            return LastCallError("VirtualProtect");
        }
    }
    return std::nullopt;
}

CCpuidTrap::~CCpuidTrap() {
    if (m_handler) {
        for (unsigned char* site : s_sites) {
            WriteFirstByte(site, kCpuid[0]);
        }
        RemoveVectoredExceptionHandler(m_handler);
    }
    s_sites.clear();
}

}  // namespace zorvane
