#include "tests/campaigns/faults/calltrap.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "base/importtable.h"
#include "base/peimage.h"
#include "tests/campaigns/faults/failure.h"

namespace {

struct Trap {
    std::string function;
    const Failure* failure = nullptr;
    void* original = nullptr;
    std::atomic<uint32_t> calls{0};
    std::atomic<uint32_t> failed{0};
};

// More than the library imports and looks up. Code refers to them by address.
std::array<Trap, 256> s_traps;
std::atomic<size_t> s_trapCount{0};

FaultPlan s_plan;

void* (*s_getProcAddress)(HMODULE, const char*) = nullptr;

// Windows never denies that a thread's own window exists.
bool IsOwnWindow(uint64_t window) {
    const DWORD error = GetLastError();
    const DWORD owner = GetWindowThreadProcessId(reinterpret_cast<HWND>(window), nullptr);
    SetLastError(error);
    return owner == GetCurrentThreadId();
}

bool IsToFail(const Trap& trap, uint32_t call, const uint64_t* arguments) {
    if (trap.failure->cannotFail || trap.function != s_plan.function) {
        return false;
    }
    if (trap.function == "IsWindow" && IsOwnWindow(arguments[0])) {
        return false;
    }
    return s_plan.isForGood ? call >= s_plan.first : call == s_plan.first;
}

}  // namespace

extern "C" {

// Where the call goes on; null when it fails. `arguments` are those that came in registers. Must
// leave the last error as it is.
void* ZorvaneTrapTarget(Trap* trap, const uint64_t* arguments) {
    const uint32_t call = ++trap->calls;
    if (!IsToFail(*trap, call, arguments)) {
        return trap->original;
    }
    ++trap->failed;
    return nullptr;
}

// What a failed call answers.
uint64_t ZorvaneTrapFailure(const Trap* trap, uint64_t* arguments) {
    return Fail(*trap->failure, arguments);
}

void ZorvaneTrapEntry();
}

// Every trap comes here with its address in r11. The arguments that Windows passes in registers are
// kept, because the call goes on by a jump, as if nobody had looked.
asm(R"(
    .globl ZorvaneTrapEntry
ZorvaneTrapEntry:
    subq $0x88, %rsp
    movq %rcx, 0x20(%rsp)
    movq %rdx, 0x28(%rsp)
    movq %r8, 0x30(%rsp)
    movq %r9, 0x38(%rsp)
    movups %xmm0, 0x40(%rsp)
    movups %xmm1, 0x50(%rsp)
    movups %xmm2, 0x60(%rsp)
    movups %xmm3, 0x70(%rsp)
    movq %r11, 0x80(%rsp)
    movq %r11, %rcx
    leaq 0x20(%rsp), %rdx
    call ZorvaneTrapTarget
    testq %rax, %rax
    jz 1f
    movq %rax, %r11
    movq 0x20(%rsp), %rcx
    movq 0x28(%rsp), %rdx
    movq 0x30(%rsp), %r8
    movq 0x38(%rsp), %r9
    movups 0x40(%rsp), %xmm0
    movups 0x50(%rsp), %xmm1
    movups 0x60(%rsp), %xmm2
    movups 0x70(%rsp), %xmm3
    addq $0x88, %rsp
    jmp *%r11
1:
    movq 0x80(%rsp), %rcx
    leaq 0x20(%rsp), %rdx
    call ZorvaneTrapFailure
    addq $0x88, %rsp
    ret
)");

namespace {

constexpr size_t kCodeSize = 32;

// Loads the trap's address and goes to the common entry.
void* MakeCode(const Trap* trap) {
    static auto* s_code = static_cast<unsigned char*>(VirtualAlloc(
        nullptr, kCodeSize * s_traps.size(), MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE));
    unsigned char* code = s_code;
    s_code += kCodeSize;
    std::array<unsigned char, 23> bytes = {
        0x49, 0xBB, 0,   0, 0, 0, 0, 0, 0, 0,  // mov r11, trap
        0x49, 0xBA, 0,   0, 0, 0, 0, 0, 0, 0,  // mov r10, ZorvaneTrapEntry
        0x41, 0xFF, 0xE2                       // jmp r10
    };
    const auto entry = reinterpret_cast<uintptr_t>(&ZorvaneTrapEntry);
    const auto address = reinterpret_cast<uintptr_t>(trap);
    std::memcpy(&bytes[2], &address, sizeof(address));
    std::memcpy(&bytes[12], &entry, sizeof(entry));
    std::memcpy(code, bytes.data(), bytes.size());
    FlushInstructionCache(GetCurrentProcess(), code, bytes.size());
    return code;
}

void* MakeTrap(const std::string& function, void* original) {
    const Failure* failure = FindFailure(function);
    const size_t index = s_trapCount;
    if (!failure || index == s_traps.size()) {
        throw std::runtime_error("nothing says how " + function + " fails");
    }
    Trap& trap = s_traps[index];
    trap.function = function;
    trap.failure = failure;
    trap.original = original;
    s_trapCount = index + 1;
    return MakeCode(&trap);
}

// Stands behind the trap of GetProcAddress. On the work thread only, after the import table.
void* TrapFound(HMODULE module, const char* name) {
    void* found = s_getProcAddress(module, name);
    if (!found) {
        return nullptr;
    }
    const DWORD error = GetLastError();
    void* trap = found;
    try {
        trap = MakeTrap(name, found);
    } catch (const std::exception& unknown) {
        // The library would catch it.
        std::printf("finding %s\n", unknown.what());
    }
    SetLastError(error);
    return trap;
}

}  // namespace

void SetFaultPlan(const FaultPlan& plan) { s_plan = plan; }

void TrapImports(HMODULE module) {
    for (const zorvane::PeImport& import : zorvane::CPeImage::OfModule(module).Imports()) {
        auto** entry = reinterpret_cast<void**>(reinterpret_cast<char*>(module) + import.entry);
        void* original = zorvane::ReadImport(entry);
        if (import.function == "GetProcAddress") {
            s_getProcAddress = reinterpret_cast<decltype(s_getProcAddress)>(original);
            original = reinterpret_cast<void*>(&TrapFound);
        }
        zorvane::ExchangeImport(entry, MakeTrap(import.function, original));
    }
}

std::vector<CallCount> TrappedCalls() {
    std::vector<CallCount> counts;
    for (size_t index = 0; index < s_trapCount; ++index) {
        const Trap& trap = s_traps[index];
        if (trap.calls > 0) {
            counts.push_back({trap.function, trap.calls, trap.failed});
        }
    }
    return counts;
}
