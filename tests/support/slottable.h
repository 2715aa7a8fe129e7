/** Objects of foreign interfaces whose unexpected use fails a test. */
#pragma once

#include <stdexcept>
#include <string>

#include "base/slottable.h"

using zorvane::SlotObject;  // NOLINT(misc-unused-using-decls): used by who includes this

[[noreturn]] inline void ThrowUnusedSlot(size_t number) {
    throw std::logic_error("slot " + std::to_string(number) + " was called and is not in use");
}

/** A slot that is not set throws std::logic_error. */
template <size_t kCount>
using CSlotTable = zorvane::CSlotTable<kCount, &ThrowUnusedSlot>;
