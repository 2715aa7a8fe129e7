#include "src/module.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>

namespace {

HINSTANCE s_instance = nullptr;

}  // namespace

void SetModuleInstance(HINSTANCE instance) { s_instance = instance; }

HINSTANCE ModuleInstance() { return s_instance; }

void GetModuleFolder(HMODULE module, ModulePath& path) {
    std::fill(std::begin(path), std::end(path), L'\0');
    // Results are not checked, here and below: there is nobody to tell. With a path that is cut or
    // empty the file is simply not found.
    GetModuleFileNameW(module, path, MAX_PATH);
    PathRemoveFileSpecW(path);
}

void GetPathBesideModule(HMODULE module, const wchar_t* relative, ModulePath& path) {
    GetModuleFolder(module, path);
    PathAppendW(path, relative);
}
