/** Replacing a Windows function that a module imports. */
#pragma once

#include <windows.h>

#include <functional>
#include <utility>

/**
 * The entry of a module's import table that holds the address of `function`; throws
 * std::runtime_error when the module does not import it. A null module is the program itself.
 */
void** FindImport(HMODULE module, const char* function);

/** Writes an import table entry and answers what it held. */
void* ExchangeImport(void** entry, void* address);

/**
 * Replaces one imported function for its own life, on all threads. Made by PATCH_IMPORT; the number
 * keeps the replacements of one signature apart. The replaced function can be called with Original,
 * also from the replacement.
 */
template <typename Signature, int kNumber>
class CImportPatch;

template <typename Result, typename... Arguments, int kNumber>
class CImportPatch<Result(Arguments...), kNumber> {
  public:
    /** Throws std::runtime_error when the program does not import `function`. */
    template <typename Replacement>
    CImportPatch(const char* function, Replacement replacement, HMODULE module = nullptr)
        : CImportPatch(FindImport(module, function), std::move(replacement)) {}
    /** For a function that is called through an entry elsewhere. */
    template <typename Replacement>
    CImportPatch(void** entry, Replacement replacement) : m_entry(entry) {
        s_replacement = std::move(replacement);
        s_original = ExchangeImport(m_entry, reinterpret_cast<void*>(&Call));
    }
    ~CImportPatch() { ExchangeImport(m_entry, s_original); }
    CImportPatch(const CImportPatch&) = delete;
    CImportPatch& operator=(const CImportPatch&) = delete;

    /** Calls the function that was replaced. */
    static Result Original(Arguments... arguments) {
        return reinterpret_cast<Result (*)(Arguments...)>(s_original)(arguments...);
    }

  private:
    static Result Call(Arguments... arguments) { return s_replacement(arguments...); }

    inline static std::function<Result(Arguments...)> s_replacement;
    inline static void* s_original = nullptr;
    void** m_entry;
};

/**
 * PATCH_IMPORT(patch, CreateMutexW, [](auto... arguments) -> HANDLE { ... });
 * Declares `patch`; until the end of the scope the program's CreateMutexW is the lambda. It is
 * meant for the code under test: in the test's own function the compiler may keep the old address.
 */
#define PATCH_IMPORT(variable, function, ...) \
    const CImportPatch<decltype(function), __COUNTER__> variable(#function, __VA_ARGS__)
