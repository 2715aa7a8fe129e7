// What the C++ runtime knows of a thread's exceptions, in place of libstdc++'s. That one takes it
// from the heap when a thread first throws, and ends the process where there is no memory, which is
// when a DLL throws at all. It also has it freed by a callback of every thread that ends.
#include <windows.h>

#include <cxxabi.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <exception>

namespace __cxxabiv1 {

// As the C++ ABI defines it.
struct __cxa_eh_globals {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};

}  // namespace __cxxabiv1

namespace {

struct ThreadState {
    std::atomic<DWORD> threadId;
    __cxxabiv1::__cxa_eh_globals exceptions;
};

// Kept by thread id, because thread-local storage wants memory and callbacks. A state stays when
// its thread ends: it has no exception then, and serves the next thread of that id as it is.
struct States {
    std::array<ThreadState, 64> ofThreads;
    std::atomic<States*> next;
};

// Enough for more threads than ever throw here; only a process with more of them needs memory.
States s_states;

States* Following(States& states) {
    if (States* next = states.next) {
        return next;
    }
    auto* made = static_cast<States*>(std::calloc(1, sizeof(States)));
    if (!made) {
        std::terminate();
    }
    States* next = nullptr;
    if (states.next.compare_exchange_strong(next, made)) {
        return made;
    }
    std::free(made);
    return next;
}

}  // namespace

extern "C" __cxxabiv1::__cxa_eh_globals* __cxxabiv1::__cxa_get_globals() noexcept {
    const DWORD thread = GetCurrentThreadId();
    for (States* states = &s_states;; states = Following(*states)) {
        for (ThreadState& state : states->ofThreads) {
            // States are taken in order: the first free one comes behind this thread's own.
            DWORD owner = 0;
            if (state.threadId == thread || state.threadId.compare_exchange_strong(owner, thread)) {
                return &state.exceptions;
            }
        }
    }
}

extern "C" __cxxabiv1::__cxa_eh_globals* __cxxabiv1::__cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}
