/**
 * Objects of C++ interfaces, made without the interface's declaration. Their virtual tables are
 * filled slot by slot, so that a declaration with a wrong slot is found out.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace zorvane {

/** What a caller takes for an object: its first word points to a virtual table. */
struct SlotObject {
    void* const* slots;
};

/** A function for a slot. It takes the object as its first argument. */
struct FilledSlot {
    template <typename Function>
    FilledSlot(size_t slotNumber, Function* slotFunction)
        : number(slotNumber), function(reinterpret_cast<void*>(slotFunction)) {}

    size_t number;
    void* function;
};

/** A virtual table of `kCount` slots; `kOnUnused` gets the number of a slot that is not filled. */
template <size_t kCount, void (*kOnUnused)(size_t number)>
class CSlotTable {
  public:
    explicit CSlotTable(std::initializer_list<FilledSlot> slots = {}) {
        FillUnused(std::make_index_sequence<kCount>());
        for (const FilledSlot& slot : slots) {
            m_slots.at(slot.number) = slot.function;
        }
    }
    CSlotTable(const CSlotTable&) = delete;
    CSlotTable& operator=(const CSlotTable&) = delete;

    /** Throws std::out_of_range for a number beyond the table, as the constructor does. */
    template <typename Function>
    void Set(size_t number, Function* function) {
        m_slots.at(number) = FilledSlot(number, function).function;
    }

    /** Valid as long as the table. */
    void* const* Slots() const { return m_slots.data(); }

  private:
    template <size_t kNumber>
    static void Unused() {
        kOnUnused(kNumber);
    }

    template <size_t... kNumbers>
    void FillUnused(std::index_sequence<kNumbers...>) {
        ((m_slots[kNumbers] = reinterpret_cast<void*>(&Unused<kNumbers>)), ...);
    }

    std::array<void*, kCount> m_slots;
};

/**
 * RAX after a function that returns bool or a 32-bit number. Only the lowest byte or half is
 * defined; here all bits above are set, to find callers that read more than that.
 */
constexpr uint64_t BoolInRegister(bool value) { return ~uint64_t{0xFF} | (value ? 1u : 0u); }
constexpr uint64_t NumberInRegister(int32_t value) {
    return ~uint64_t{0xFFFFFFFF} | static_cast<uint32_t>(value);
}

}  // namespace zorvane
