/** Replacing the functions that a loaded module imports. */
#pragma once

#include <windows.h>

namespace zorvane {

/**
 * The entry in the import table of `module` (null: the program) that holds the address of
 * `function`. Null when the module does not import it.
 */
void** FindImport(HMODULE module, const char* function);

/** Writes an import table entry and returns what it held. */
void* ExchangeImport(void** entry, void* address);

}  // namespace zorvane
