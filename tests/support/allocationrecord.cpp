#include "tests/support/allocationrecord.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

struct Allocation {
    std::atomic<void*> memory{nullptr};
    size_t size = 0;
    std::atomic<int> releaseOrder{0};
};

std::array<Allocation, 64> s_allocations;
std::atomic<size_t> s_count{0};
std::atomic<size_t> s_attempts{0};
std::atomic<int> s_releases{0};
std::atomic<DWORD> s_thread{0};
AllocationFailure s_failure;

void Follow(void* memory, size_t size) {
    const size_t number = s_count;
    if (number < s_allocations.size()) {
        s_allocations[number].size = size;
        s_allocations[number].memory = memory;
        s_count = number + 1;
    }
}

bool Fails(size_t attempt) {
    return s_failure.isForGood ? attempt >= s_failure.first : attempt == s_failure.first;
}

void* Allocate(size_t size) {
    const bool isFollowed = s_thread == GetCurrentThreadId();
    if (isFollowed && Fails(s_attempts++)) {
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size > 0 ? size : 1);
    if (!memory) {
        throw std::bad_alloc();
    }
    if (isFollowed) {
        Follow(memory, size);
    }
    return memory;
}

void Release(void* memory) {
    const size_t count = s_count;
    for (size_t number = 0; number < count; ++number) {
        Allocation& allocation = s_allocations[number];
        if (memory && allocation.memory == memory) {
            allocation.memory = nullptr;
            allocation.releaseOrder = ++s_releases;
        }
    }
    std::free(memory);
}

}  // namespace

CAllocationRecord::CAllocationRecord(AllocationFailure failure) {
    for (Allocation& allocation : s_allocations) {
        allocation.memory = nullptr;
        allocation.releaseOrder = 0;
    }
    s_count = 0;
    s_releases = 0;
    s_attempts = 0;
    s_failure = failure;
    s_thread = GetCurrentThreadId();
}

CAllocationRecord::~CAllocationRecord() {
    StopCounting();
    s_count = 0;
}

void CAllocationRecord::StopCounting() { s_thread = 0; }

size_t CAllocationRecord::Count() { return s_count; }

bool CAllocationRecord::HasFailed() { return s_attempts > s_failure.first; }

size_t CAllocationRecord::Size(size_t number) { return s_allocations.at(number).size; }

bool CAllocationRecord::IsReleased(size_t number) { return ReleaseOrder(number) > 0; }

int CAllocationRecord::ReleaseOrder(size_t number) { return s_allocations.at(number).releaseOrder; }

void* operator new(size_t size) { return Allocate(size); }
void* operator new[](size_t size) { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, size_t) noexcept { Release(memory); }
void operator delete[](void* memory, size_t) noexcept { Release(memory); }
