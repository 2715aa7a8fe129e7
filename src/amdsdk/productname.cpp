#include "src/amdsdk/productname.h"

#include <wchar.h>

namespace {

constexpr DWORD kTextBytes = 2048;

}  // namespace

CRegistryKey::CRegistryKey(HKEY parent, const wchar_t* path, REGSAM access) {
    if (RegOpenKeyExW(parent, path, 0, access, &m_key) != ERROR_SUCCESS) {
        m_key = nullptr;
    }
}

CRegistryKey::~CRegistryKey() {
    if (m_key) {
        RegCloseKey(m_key);
    }
}

std::optional<std::wstring> CRegistryKey::ReadText(const wchar_t* name) const {
    if (!m_key) {
        return std::nullopt;
    }
    wchar_t text[kTextBytes / sizeof(wchar_t)] = {};
    DWORD type = REG_NONE;
    DWORD bytes = kTextBytes;
    if (RegQueryValueExW(m_key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    const bool isText = type == REG_SZ || type == REG_EXPAND_SZ;
    if (!isText || bytes > kTextBytes || bytes % sizeof(wchar_t) != 0) {
        return std::nullopt;
    }
    if (bytes == 0) {
        return std::wstring();
    }
    if (text[bytes / sizeof(wchar_t) - 1] != L'\0') {
        return std::nullopt;
    }
    return std::wstring(text);
}

bool IsSkippedProduct(const std::wstring& name) {
    return _wcsicmp(name.c_str(), L"Surface Laptop 3") == 0;
}
