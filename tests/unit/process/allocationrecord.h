/** What the program allocates with operator new. */
#pragma once

#include <cstddef>

/**
 * Numbers the allocations that the calling thread makes in this object's life, from 0, and follows
 * the first of them. One object at a time.
 */
class CAllocationRecord {
  public:
    /** The allocation with the number `failing` throws std::bad_alloc; none when negative. */
    explicit CAllocationRecord(int failing = -1);
    ~CAllocationRecord();
    CAllocationRecord(const CAllocationRecord&) = delete;
    CAllocationRecord& operator=(const CAllocationRecord&) = delete;

    /** No further allocation is followed; releases still are. */
    void StopCounting();

    /** How many were made, at most as many as are followed. */
    static size_t Count();
    static size_t Size(size_t number);
    static bool IsReleased(size_t number);
    /** Its place among the releases, from 1; 0 when it has not been released. */
    static int ReleaseOrder(size_t number);
};
