#include "tests/unit/manager/executablefolder.h"

#include <windows.h>

#include <algorithm>

#include "tests/support/importpatch.h"

namespace {

CExecutableFolder* s_folder = nullptr;

DWORD AnswerExecutable(wchar_t* path, DWORD size) {
    const bool isZero = std::all_of(path, path + size, [](wchar_t c) { return c == L'\0'; });
    s_folder->questions.push_back(isZero ? static_cast<int>(size) : -1);
    const std::wstring& executable = s_folder->executable;
    const size_t length = std::min<size_t>(executable.size(), size - 1);
    std::copy_n(executable.c_str(), length, path);
    path[length] = L'\0';
    return static_cast<DWORD>(length);
}

}  // namespace

struct CExecutableFolder::Patch {
    PATCH_IMPORT(fileName, GetModuleFileNameW, [this](HMODULE module, wchar_t* path, DWORD size) {
        return module ? fileName.Original(module, path, size) : AnswerExecutable(path, size);
    });
};

CExecutableFolder::CExecutableFolder() {
    executable = m_folder.PathOf(L"host.exe");
    s_folder = this;
    m_patch = std::make_unique<Patch>();
}

CExecutableFolder::~CExecutableFolder() {
    m_patch.reset();
    s_folder = nullptr;
}
