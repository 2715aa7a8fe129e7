// The memory of exceptions, in place of libstdc++'s. That one reserves its emergency memory on the
// heap when the DLL is loaded (73 KB), and ends the process where it did not get it. Here the
// reserve is part of the DLL, so an exception can be thrown with no memory left from the start.
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <cxxabi.h>

namespace {

// The runtime keeps its own record right before the thrown object; 160 bytes in GCC 12. It finds
// the record from the object's side, so that spare room in front of it does not matter.
constexpr size_t kRecordRoom = 256;

constexpr size_t kBlockSize = 512;
constexpr size_t kBlockCount = 16;

struct alignas(16) Block {
    unsigned char bytes[kBlockSize];
};

Block s_blocks[kBlockCount];
std::atomic<bool> s_isTaken[kBlockCount];

void* TakeReserve(size_t size) {
    if (size > kBlockSize) {
        return nullptr;
    }
    for (size_t index = 0; index < kBlockCount; ++index) {
        if (!s_isTaken[index].exchange(true)) {
            return &s_blocks[index];
        }
    }
    return nullptr;
}

void* Allocate(size_t size) {
    void* memory = std::malloc(size);
    if (!memory) {
        memory = TakeReserve(size);
    }
    if (!memory) {
        std::terminate();
    }
    // The runtime relies on a record of zeros.
    std::memset(memory, 0, kRecordRoom);
    return memory;
}

void Free(void* memory) {
    for (size_t index = 0; index < kBlockCount; ++index) {
        if (memory == &s_blocks[index]) {
            s_isTaken[index] = false;
            return;
        }
    }
    std::free(memory);
}

}  // namespace

extern "C" void* __cxxabiv1::__cxa_allocate_exception(size_t size) noexcept {
    return static_cast<unsigned char*>(Allocate(kRecordRoom + size)) + kRecordRoom;
}

extern "C" void __cxxabiv1::__cxa_free_exception(void* object) noexcept {
    Free(static_cast<unsigned char*>(object) - kRecordRoom);
}

// What std::rethrow_exception throws: a record that points to the first exception's.
extern "C" __cxxabiv1::__cxa_dependent_exception*
__cxxabiv1::__cxa_allocate_dependent_exception() noexcept {
    return static_cast<__cxa_dependent_exception*>(Allocate(kRecordRoom));
}

extern "C" void __cxxabiv1::__cxa_free_dependent_exception(
    __cxa_dependent_exception* exception) noexcept {
    Free(exception);
}
