#include "tests/support/fakecpuid.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "base/modulepath.h"

namespace {

constexpr unsigned char kCpuid[] = {0x0F, 0xA2};
constexpr unsigned char kBreakpoint = 0xCC;

CFakeCpuid::Answer s_answer;
std::vector<unsigned char*> s_sites;

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_BREAKPOINT ||
        std::find(s_sites.begin(), s_sites.end(), record.ExceptionAddress) == s_sites.end()) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CONTEXT& context = *exception->ContextRecord;
    const CpuidRegisters answer = s_answer(static_cast<uint32_t>(context.Rax));
    context.Rax = answer.eax;
    context.Rbx = answer.ebx;
    context.Rcx = answer.ecx;
    context.Rdx = answer.edx;
    context.Rip = reinterpret_cast<DWORD64>(record.ExceptionAddress) + sizeof(kCpuid);
    return EXCEPTION_CONTINUE_EXECUTION;
}

std::vector<unsigned char*> ReadSites() {
    const HMODULE program = GetModuleHandleW(nullptr);
    // With the handle itself: a test may have another path for the null handle.
    std::ifstream list(std::filesystem::path(zorvane::ModulePath(program) + L".cpuid"));
    auto* base = reinterpret_cast<unsigned char*>(program);
    std::vector<unsigned char*> sites;
    for (std::string line; std::getline(list, line);) {
        sites.push_back(base + std::stoul(line, nullptr, 16));
    }
    if (sites.empty()) {
        throw std::runtime_error("no list of CPUID instructions lies beside this program");
    }
    return sites;
}

// The first byte of every instruction; false when the code cannot be written.
bool WriteSites(unsigned char first) {
    for (unsigned char* site : s_sites) {
        DWORD protection = 0;
        if (!VirtualProtect(site, sizeof(first), PAGE_EXECUTE_READWRITE, &protection)) {
            return false;
        }
        *site = first;
        VirtualProtect(site, sizeof(first), protection, &protection);
        FlushInstructionCache(GetCurrentProcess(), site, sizeof(first));
    }
    return true;
}

}  // namespace

CFakeCpuid::CFakeCpuid(Answer answer) {
    s_sites = ReadSites();
    for (const unsigned char* site : s_sites) {
        if (std::memcmp(site, kCpuid, sizeof(kCpuid)) != 0) {
            throw std::runtime_error("the list of CPUID instructions is not this program's");
        }
    }
    s_answer = std::move(answer);
    m_handler = AddVectoredExceptionHandler(1, &OnException);
    if (!m_handler) {
        throw std::runtime_error("no exception handler can be added");
    }
    if (!WriteSites(kBreakpoint)) {
        throw std::runtime_error("the program's code cannot be written");
    }
}

CFakeCpuid::~CFakeCpuid() {
    WriteSites(kCpuid[0]);
    RemoveVectoredExceptionHandler(m_handler);
}

CpuidRegisters VendorLeaf(const char (&vendor)[13]) {
    CpuidRegisters registers{};
    std::memcpy(&registers.ebx, vendor, 4);
    std::memcpy(&registers.edx, vendor + 4, 4);
    std::memcpy(&registers.ecx, vendor + 8, 4);
    return registers;
}
