/** A function that takes the place of one of Windows in an import table. */
#pragma once

/** One replaced function. */
struct Replacement {
    const char* function;
    void* replacement;
    /** Receives the address of the Windows function. */
    void** original;
};

/** A row of a table of replacements. `original` is where the replacement finds Windows' function.
 */
template <class Function>
Replacement Replace(const char* function, Function* replacement, Function*& original) {
    return {function, reinterpret_cast<void*>(replacement), reinterpret_cast<void**>(&original)};
}
