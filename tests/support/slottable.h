/** Objects of foreign interfaces, made by hand. */
#pragma once

#include <array>
#include <cstddef>
#include <stdexcept>

/** What a caller takes for an object: its first word points at its virtual table. */
struct SlotObject {
    void** slots;
};

/**
 * A virtual table made from numbered slots, not from a declared class, so that a declaration at a
 * wrong slot is called where nothing is. A slot that is not set throws std::logic_error. The
 * functions take the object as their first argument.
 */
template <size_t kCount>
class CSlotTable {
  public:
    CSlotTable() { m_slots.fill(reinterpret_cast<void*>(&Unexpected)); }
    CSlotTable(const CSlotTable&) = delete;
    CSlotTable& operator=(const CSlotTable&) = delete;

    template <typename Function>
    void Set(size_t slot, Function* function) {
        m_slots.at(slot) = reinterpret_cast<void*>(function);
    }

    void** Slots() { return m_slots.data(); }

  private:
    [[noreturn]] static void Unexpected() {
        throw std::logic_error("a slot was called that is not in use");
    }

    std::array<void*, kCount> m_slots;
};
