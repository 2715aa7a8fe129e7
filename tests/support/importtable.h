/** The entries of a module's import table. */
#pragma once

#include <windows.h>

/**
 * The entry of a module's import table that holds the address of `function`; throws
 * std::runtime_error when the module does not import it. A null module is the program itself.
 */
void** FindImport(HMODULE module, const char* function);
