/**
 * What the program allocates with operator new. A test program that includes this has
 * allocationrecord.cpp among its own sources, because that replaces the operators.
 */
#pragma once

#include <cstddef>
#include <limits>

/** Which allocations throw std::bad_alloc: the one with the number `first`, or all from it on. */
struct AllocationFailure {
    size_t first = std::numeric_limits<size_t>::max();
    bool isForGood = false;
};

/**
 * Numbers the allocations that the calling thread makes in this object's life, from 0, and follows
 * the first of them. One object at a time.
 */
class CAllocationRecord {
  public:
    explicit CAllocationRecord(AllocationFailure failure = {});
    ~CAllocationRecord();
    CAllocationRecord(const CAllocationRecord&) = delete;
    CAllocationRecord& operator=(const CAllocationRecord&) = delete;

    /** No further allocation is followed; releases still are. */
    void StopCounting();

    /** How many were made, at most as many as are followed. */
    static size_t Count();
    /** Whether an allocation was made to fail. */
    static bool HasFailed();
    static size_t Size(size_t number);
    static bool IsReleased(size_t number);
    /** Its place among the releases, from 1; 0 when it has not been released. */
    static int ReleaseOrder(size_t number);
};
