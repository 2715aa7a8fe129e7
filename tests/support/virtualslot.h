/** The slot of a virtual operation in its class's table. */
#pragma once

#include <cstdint>
#include <cstring>

/**
 * The slot of a virtual operation, counted from 0. GCC keeps one more than its offset in bytes in
 * a pointer to member; a virtual destructor takes two slots.
 */
template <typename Operation>
size_t VirtualSlot(Operation operation) {
    uintptr_t offset = 0;
    std::memcpy(&offset, &operation, sizeof(offset));
    return (offset - 1) / sizeof(void*);
}
