/** The machine's product name, as its firmware gives it. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>

/** Owns an open registry key; none when it could not be opened. */
class CRegistryKey {
  public:
    CRegistryKey(HKEY parent, const wchar_t* path, REGSAM access);
    ~CRegistryKey();
    CRegistryKey(const CRegistryKey&) = delete;
    CRegistryKey& operator=(const CRegistryKey&) = delete;

    /**
     * A text value of at most 2048 bytes. Nothing when there is no key, no such value, no text, or
     * a text whose byte count is odd or does not end with a NUL; a count of 0 is an empty text.
     */
    std::optional<std::wstring> ReadText(const wchar_t* name) const;

  private:
    HKEY m_key = nullptr;
};

/** True for the name of a product on which the vendor library must not be started. */
bool IsSkippedProduct(const std::wstring& name);
