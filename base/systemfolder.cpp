#include "base/systemfolder.h"

#include <windows.h>

namespace zorvane {

std::wstring SystemFolder() {
    std::wstring folder(GetSystemDirectoryW(nullptr, 0), L'\0');
    folder.resize(GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size())));
    return folder.empty() ? folder : folder + L"\\";
}

}  // namespace zorvane
