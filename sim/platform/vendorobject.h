/**
 * Objects as a library built by another compiler hands them out: the first word points at a table
 * of functions. The tables are written out here, slot by slot, and not taken from the header of the
 * program under test, so that a wrong slot there shows.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

struct VendorObject;

/**
 * Any function of such an object: integers and pointers arrive in registers of 64 bits and go back
 * in one. Of a bool only the lowest byte is defined, of a 32-bit number the lower half.
 */
using Slot = uint64_t (*)(VendorObject* self, uint64_t first, uint64_t second);

struct VendorObject {
    const Slot* table;
};

/** Ends the process: nobody may call a slot that the simulated library does not have. */
[[noreturn]] void ReportUnusedSlot(size_t number);

/** A function for slot `Number`, which is not simulated. */
template <size_t Number>
uint64_t UnusedSlot(VendorObject*, uint64_t, uint64_t) {
    ReportUnusedSlot(Number);
}

/** A table of `Size` slots, none of them simulated yet. */
template <size_t Size>
constexpr std::array<Slot, Size> UnusedSlots() {
    return []<size_t... Numbers>(std::index_sequence<Numbers...>) {
        return std::array<Slot, Size>{&UnusedSlot<Numbers>...};
    }
    (std::make_index_sequence<Size>());
}

/** What a bool looks like in a register: every bit above its byte is set. */
inline uint64_t BoolInRegister(bool value) { return ~uint64_t{0xFF} | (value ? 1u : 0u); }

/** What a 32-bit number looks like in a register: every bit above it is set. */
inline uint64_t NumberInRegister(int32_t value) {
    return ~uint64_t{0xFFFFFFFF} | static_cast<uint32_t>(value);
}
