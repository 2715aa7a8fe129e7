#include "tests/support/importpatch.h"

#include <stdexcept>

#include "base/importtable.h"

namespace {

// Not std::mutex: that one calls functions which tests replace.
SRWLOCK s_lock{};

// All slots in use, newest first.
ImportPatchSlot* s_first = nullptr;

class CLocked {
  public:
    CLocked() { AcquireSRWLockExclusive(&s_lock); }
    ~CLocked() { ReleaseSRWLockExclusive(&s_lock); }
    CLocked(const CLocked&) = delete;
    CLocked& operator=(const CLocked&) = delete;
};

void Unlink(const ImportPatchSlot& slot) {
    ImportPatchSlot** link = &s_first;
    while (*link != &slot) {
        link = &(*link)->next;
    }
    *link = slot.next;
}

// The patch that was made next after `slot`, for the same entry; null when `slot` is the newest.
ImportPatchSlot* FindNewer(const ImportPatchSlot& slot) {
    for (ImportPatchSlot* other = s_first; other; other = other->next) {
        if (other->entry == slot.entry && other->original == slot.address) {
            return other;
        }
    }
    return nullptr;
}

}  // namespace

size_t TakeImportPatchSlot(std::span<ImportPatchSlot> slots, const void* patch) {
    for (size_t index = 0; index < slots.size(); ++index) {
        const void* none = nullptr;
        if (slots[index].patch.compare_exchange_strong(none, patch)) {
            return index;
        }
    }
    throw std::runtime_error("no more than " + std::to_string(slots.size()) +
                             " functions of one signature can be replaced at a time");
}

void InstallImportPatch(ImportPatchSlot& slot, void** entry, void* address) {
    const CLocked locked;
    slot.entry = entry;
    slot.address = address;
    // Set first: another thread may call the new address at once.
    slot.original = zorvane::ReadImport(entry);
    slot.next = std::exchange(s_first, &slot);
    zorvane::ExchangeImport(entry, address);
}

void RemoveImportPatch(ImportPatchSlot& slot) {
    const CLocked locked;
    Unlink(slot);
    if (ImportPatchSlot* newer = FindNewer(slot)) {
        newer->original = slot.original.load();
    } else {
        zorvane::ExchangeImport(slot.entry, slot.original);
    }
    slot.patch = nullptr;
}
