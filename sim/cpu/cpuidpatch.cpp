#include "sim/cpu/cpuidpatch.h"

#include <windows.h>

#include <cpuid.h>

#include <algorithm>
#include <vector>

#include "sim/cpu/cpuidanswer.h"

namespace {

constexpr unsigned char kFirstByte = 0x0F;
constexpr unsigned char kSecondByte = 0xA2;
constexpr unsigned char kBreakpoint = 0xCC;
constexpr DWORD64 kInstructionLength = 2;

Cpu s_cpu;
// Sorted
std::vector<const void*> s_sites;

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_BREAKPOINT ||
        !std::binary_search(s_sites.begin(), s_sites.end(), record.ExceptionAddress)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CONTEXT& context = *exception->ContextRecord;
    const auto leaf = static_cast<uint32_t>(context.Rax);
    const auto subleaf = static_cast<uint32_t>(context.Rcx);
    CpuidRegisters real{};
    __cpuid_count(leaf, subleaf, real.eax, real.ebx, real.ecx, real.edx);
    const CpuidRegisters answer = AnswerCpuid(s_cpu, leaf, real);
    context.Rax = answer.eax;
    context.Rbx = answer.ebx;
    context.Rcx = answer.ecx;
    context.Rdx = answer.edx;
    context.Rip = reinterpret_cast<DWORD64>(record.ExceptionAddress) + kInstructionLength;
    return EXCEPTION_CONTINUE_EXECUTION;
}

const IMAGE_OPTIONAL_HEADER64& HeaderOf(const unsigned char* base) {
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    return reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew)->OptionalHeader;
}

bool IsImage(const unsigned char* base, const CpuidImage& image) {
    const IMAGE_OPTIONAL_HEADER64& header = HeaderOf(base);
    if (header.SizeOfImage != image.sizeOfImage || header.CheckSum != image.checkSum) {
        return false;
    }
    return std::all_of(image.addresses.begin(), image.addresses.end(), [&](uint32_t address) {
        return address < image.sizeOfImage - kInstructionLength && base[address] == kFirstByte &&
               base[address + 1] == kSecondByte;
    });
}

bool WriteBreakpoint(unsigned char* site) {
    DWORD protection = 0;
    if (!VirtualProtect(site, 1, PAGE_EXECUTE_READWRITE, &protection)) {
        return false;
    }
    *site = kBreakpoint;
    VirtualProtect(site, 1, protection, &protection);
    FlushInstructionCache(GetCurrentProcess(), site, 1);
    return true;
}

}  // namespace

std::wstring PatchCpuid(void* module, const CpuidImage& image, const Cpu& cpu) {
    auto* base = static_cast<unsigned char*>(module);
    if (!IsImage(base, image)) {
        return L"this is not the library that this program was built for; build both together";
    }
    s_cpu = cpu;
    s_sites.clear();
    for (const uint32_t address : image.addresses) {
        s_sites.push_back(base + address);
    }
    std::sort(s_sites.begin(), s_sites.end());
    if (!AddVectoredExceptionHandler(1, &OnException)) {
        return L"no exception handler can be added";
    }
    for (const uint32_t address : image.addresses) {
        if (!WriteBreakpoint(base + address)) {
            return L"its code cannot be written, error " + std::to_wstring(GetLastError());
        }
    }
    return {};
}
