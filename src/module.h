/** The module that this code is linked into, and the folders that the system works in. */
#pragma once

#include <windows.h>

/** Room for MAX_PATH characters, NUL included; Windows truncates longer paths. */
using ModulePath = wchar_t[MAX_PATH];

/** Keeps the handle that the module was attached with; called once, before anything else. */
void SetModuleInstance(HINSTANCE instance);

/** The kept handle; null in a program that is not a library. */
HINSTANCE ModuleInstance();

/** Writes the folder of `module` (null: the process's executable) to `path`, without a last "\". */
void GetModuleFolder(HMODULE module, ModulePath& path);

/** Writes the path of `relative`, taken from the folder of `module` (null: the executable's). */
void GetPathBesideModule(HMODULE module, const wchar_t* relative, ModulePath& path);
