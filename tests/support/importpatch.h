/** Replacing a Windows function that a module imports. */
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <functional>
#include <span>
#include <utility>

#include "tests/support/importtable.h"

/** What a replaced entry must remember; null members while nothing is replaced. */
struct ImportPatchSlot {
    /** The patch whose replacement is called. */
    std::atomic<const void*> patch;
    /** What the entry held before: the function itself, or the next older patch of it. */
    std::atomic<void*> original;
    void** entry;
    void* address;
    ImportPatchSlot* next;
};

/** Takes a free slot for `patch` and returns its index; throws std::runtime_error without one. */
size_t TakeImportPatchSlot(std::span<ImportPatchSlot> slots, const void* patch);

/** Writes `address` to `entry`; what it held becomes the slot's original. */
void InstallImportPatch(ImportPatchSlot& slot, void** entry, void* address);

/** Takes the slot's address out of its entry, or out of the newer patch on top, and frees it. */
void RemoveImportPatch(ImportPatchSlot& slot);

/**
 * Replaces one imported function for its own life, on all threads; declared with PATCH_IMPORT, or
 * by hand for a function without a declaration or an entry of another table.
 *
 * An entry holds a plain address, so each signature has a pool of functions that pass the call on
 * to their patch: kMostAtOnce patches of one signature may exist at a time, and one more throws
 * std::runtime_error. Patches of the same function stack, the newest is called first, and they may
 * end in any order. A call on its way while its patch ends reaches the original; one that is inside
 * the replacement stays there, so what the lambda captures must outlive the threads that call it.
 */
template <typename Signature>
class CImportPatch;

template <typename Result, typename... Arguments>
class CImportPatch<Result(Arguments...)> {
  public:
    static constexpr size_t kMostAtOnce = 16;

    /** Throws std::runtime_error when the module does not import `function`. */
    template <typename Replacement>
    CImportPatch(const char* function, Replacement replacement, HMODULE module = nullptr)
        : CImportPatch(FindImport(module, function), std::move(replacement)) {}
    /** For a function that is called through an entry elsewhere. */
    template <typename Replacement>
    CImportPatch(void** entry, Replacement replacement)
        : m_replacement(std::move(replacement)), m_slot(TakeImportPatchSlot(s_slots, this)) {
        InstallImportPatch(s_slots[m_slot], entry, reinterpret_cast<void*>(kCalls[m_slot]));
    }
    ~CImportPatch() { RemoveImportPatch(s_slots[m_slot]); }
    CImportPatch(const CImportPatch&) = delete;
    CImportPatch& operator=(const CImportPatch&) = delete;

    /** Calls the function that was replaced, also from the replacement. */
    Result Original(Arguments... arguments) const {
        return CallOriginal(s_slots[m_slot], arguments...);
    }

  private:
    using Function = Result (*)(Arguments...);

    static Result CallOriginal(const ImportPatchSlot& slot, Arguments... arguments) {
        return reinterpret_cast<Function>(slot.original.load())(arguments...);
    }

    template <size_t kSlot>
    static Result Call(Arguments... arguments) {
        const ImportPatchSlot& slot = s_slots[kSlot];
        const auto* patch = static_cast<const CImportPatch*>(slot.patch.load());
        return patch ? patch->m_replacement(arguments...) : CallOriginal(slot, arguments...);
    }

    template <size_t... kSlots>
    static constexpr std::array<Function, kMostAtOnce> Calls(std::index_sequence<kSlots...>) {
        return {&Call<kSlots>...};
    }

    inline static std::array<ImportPatchSlot, kMostAtOnce> s_slots{};
    static constexpr std::array<Function, kMostAtOnce> kCalls =
        Calls(std::make_index_sequence<kMostAtOnce>());

    std::function<Result(Arguments...)> m_replacement;
    size_t m_slot;
};

/**
 * PATCH_IMPORT(patch, CreateMutexW, [&](auto... arguments) { ... patch.Original(arguments...) });
 * Declares `patch`, a local variable or a member; for its life the program's CreateMutexW is the
 * lambda. It is meant for the code under test: in the test's own function the compiler may keep the
 * old address.
 */
#define PATCH_IMPORT(variable, function, ...) \
    const CImportPatch<decltype(function)> variable { #function, __VA_ARGS__ }
