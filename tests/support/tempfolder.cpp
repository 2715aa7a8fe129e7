#include "tests/support/tempfolder.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

CTempFolder::CTempFolder() {
    static std::atomic<int> s_count{0};
    const std::wstring name = L"zorvane test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L"-" + std::to_wstring(s_count++);
    m_path = (std::filesystem::temp_directory_path() / name).wstring();
    std::filesystem::create_directories(m_path);
}

CTempFolder::~CTempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string ReadFileBytes(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file << bytes;
    if (!file.flush()) {
        throw std::runtime_error("cannot write a file of the test");
    }
}
