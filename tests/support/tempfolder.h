/** A folder for one test. */
#pragma once

#include <string>

/** Creates an empty folder, with a blank in its path, and removes it with its contents. */
class CTempFolder {
  public:
    CTempFolder();
    /** Files that are still open are left behind. */
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    /** Full path, without a last "\". */
    const std::wstring& Path() const { return m_path; }

    /** The path of `name` in this folder; creates nothing. */
    std::wstring PathOf(const std::wstring& name) const { return m_path + L"\\" + name; }

  private:
    std::wstring m_path;
};

/** The bytes of a file; empty when there is none. Reads also what another process is writing. */
std::string ReadFileBytes(const std::wstring& path);

/** Writes a file anew; throws std::runtime_error when it cannot. */
void WriteFileBytes(const std::wstring& path, const std::string& bytes);
