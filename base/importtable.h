/** Replacing the functions that a loaded module imports. */
#pragma once

#include <windows.h>

namespace zorvane {

/**
 * The entry in the import table of `module` (null: the program) that holds the address of
 * `function`. Null when the module does not import it.
 */
void** FindImport(HMODULE module, const char* function);

/** What an entry holds. LLD does not align import tables, so it is not read as a pointer. */
void* ReadImport(void* const* entry);

/** Writes an import table entry and returns what it held. */
void* ExchangeImport(void** entry, void* address);

}  // namespace zorvane
