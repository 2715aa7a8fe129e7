#include "fakeprocessor.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "amdsdk/amdsdktask.h"

// CPUID cannot be imported. Its two bytes 0F A2 become a breakpoint, and a handler answers.

namespace {

constexpr unsigned char kCpuid[] = {0x0F, 0xA2};
constexpr unsigned char kBreakpoint = 0xCC;
constexpr unsigned char kCall = 0xE8;
constexpr ptrdiff_t kCallLength = 5;

std::vector<const unsigned char*> s_sites;

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    const auto* address =
        static_cast<const unsigned char*>(exception->ExceptionRecord->ExceptionAddress);
    if (std::find(s_sites.begin(), s_sites.end(), address) == s_sites.end()) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CONTEXT& context = *exception->ContextRecord;
    const bool isVendorLeaf = static_cast<uint32_t>(context.Rax) == 0;
    context.Rax = isVendorLeaf ? 1 : 0x870F10;
    context.Rbx = isVendorLeaf ? 0x68747541 : 0;
    context.Rdx = isVendorLeaf ? 0x69746E65 : 0;
    context.Rcx = isVendorLeaf ? 0x444D4163 : 0;
    context.Rip = reinterpret_cast<DWORD64>(address) + sizeof(kCpuid);
    return EXCEPTION_CONTINUE_EXECUTION;
}

// The code of the function that begins at `start`; empty where none does.
struct Code {
    unsigned char* begin;
    unsigned char* end;
};

Code CodeAt(unsigned char* start) {
    DWORD64 base = 0;
    const RUNTIME_FUNCTION* function =
        RtlLookupFunctionEntry(reinterpret_cast<DWORD64>(start), &base, nullptr);
    auto* image = reinterpret_cast<unsigned char*>(base);
    if (!function || image + function->BeginAddress != start) {
        return {start, start};
    }
    return {start, image + function->EndAddress};
}

// CPUID in the function itself, else in one that it calls: what the compiler put inline varies.
unsigned char* FindCpuid(unsigned char* function, int depth) {
    const Code code = CodeAt(function);
    unsigned char* found = std::search(code.begin, code.end, std::begin(kCpuid), std::end(kCpuid));
    if (found != code.end) {
        return found;
    }
    for (unsigned char* at = code.begin; depth > 0 && code.end - at >= kCallLength; ++at) {
        if (*at != kCall) {
            continue;
        }
        int32_t distance = 0;
        std::copy_n(at + 1, sizeof(distance), reinterpret_cast<unsigned char*>(&distance));
        if (unsigned char* inner = FindCpuid(at + kCallLength + distance, depth - 1)) {
            return inner;
        }
    }
    return nullptr;
}

unsigned char* SiteIn(void* function) {
    constexpr int kDepth = 3;
    unsigned char* site = FindCpuid(static_cast<unsigned char*>(function), kDepth);
    if (!site) {
        throw std::runtime_error("the AMD task's CPUID instructions are not where they were");
    }
    return site;
}

void Replace(unsigned char* site) {
    DWORD protection = 0;
    VirtualProtect(site, 1, PAGE_EXECUTE_READWRITE, &protection);
    *site = kBreakpoint;
    VirtualProtect(site, 1, protection, &protection);
}

}  // namespace

void UseFakeProcessor() {
    if (!s_sites.empty()) {
        return;
    }
    const CAMDSDKTask task(nullptr);
    void* const* slots = *reinterpret_cast<void* const* const*>(&task);
    // Both may be the same one.
    unsigned char* const vendor = SiteIn(slots[0]);
    unsigned char* const signature = SiteIn(reinterpret_cast<void*>(&IsSupportedProcessor));
    s_sites = {vendor, signature};
    AddVectoredExceptionHandler(1, &OnException);
    Replace(vendor);
    Replace(signature);
}
