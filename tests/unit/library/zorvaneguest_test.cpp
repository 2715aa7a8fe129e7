// What the shipped library leaves in the process that loads it.
#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <cstring>
#include <thread>

#include "base/peimage.h"
#include "tests/unit/library/loadedlibrary.h"

namespace {

LONG CALLBACK PassOn(EXCEPTION_POINTERS*) { return EXCEPTION_CONTINUE_SEARCH; }

// What is registered is a node of the process's list of handlers, which can be walked from there.
int CountVectoredHandlers() {
    void* own = AddVectoredExceptionHandler(0, PassOn);
    int others = 0;
    const auto* first = static_cast<const LIST_ENTRY*>(own);
    for (const LIST_ENTRY* node = first->Flink; node != first; node = node->Flink) {
        ++others;
    }
    RemoveVectoredExceptionHandler(own);
    return others;
}

// Counts the calls of a module's entry point from now on; the module's own code is not run.
class CEntryCounter {
  public:
    explicit CEntryCounter(HMODULE module) {
        const auto image = zorvane::CPeImage::OfModule(module);
        unsigned char* entry = reinterpret_cast<unsigned char*>(module) +
                               image.Headers().OptionalHeader.AddressOfEntryPoint;
        std::array<unsigned char, 19> code = {
            0x48, 0xB8, 0,    0, 0, 0, 0, 0, 0, 0,  // mov rax, &m_calls
            0xF0, 0xFF, 0x00,                       // lock inc dword ptr [rax]
            0xB8, 1,    0,    0, 0,                 // mov eax, TRUE
            0xC3                                    // ret
        };
        LONG* calls = &m_calls;
        std::memcpy(&code[2], &calls, sizeof(calls));
        DWORD protection = 0;
        VirtualProtect(entry, code.size(), PAGE_EXECUTE_READWRITE, &protection);
        std::memcpy(entry, code.data(), code.size());
        VirtualProtect(entry, code.size(), protection, &protection);
        FlushInstructionCache(GetCurrentProcess(), entry, code.size());
    }

    LONG Calls() { return InterlockedCompareExchange(&m_calls, 0, 0); }

  private:
    LONG m_calls = 0;
};

}  // namespace

TEST(ZorvaneGuest, InstallsNoExceptionHandler) {
    const int before = CountVectoredHandlers();
    void* another = AddVectoredExceptionHandler(0, PassOn);
    ASSERT_EQ(CountVectoredHandlers(), before + 1) << "they cannot be counted here";
    RemoveVectoredExceptionHandler(another);
    const CLoadedLibrary library;
    EXPECT_EQ(CountVectoredHandlers(), before) << "by loading";
    library.Run(L"--entry=e");
    EXPECT_EQ(CountVectoredHandlers(), before) << "by a run";
}

TEST(ZorvaneGuest, IsNotCalledWhenAThreadStartsOrEnds) {
    const CLoadedLibrary library;
    // Static: the loader calls the entry points once more when the process ends.
    static CEntryCounter s_library(library.Module());
    static CEntryCounter s_other(CLoadedLibrary::Platform());
    std::thread([] {}).join();
    EXPECT_EQ(s_other.Calls(), 2) << "a library that asked for nothing is called at both ends";
    EXPECT_EQ(s_library.Calls(), 0);
}
