/** Libraries of the build in a folder of a test. */
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/buildfolder.h"
#include "tests/support/tempfolder.h"

/** A folder that takes copies of the build's files. */
class CLibraryFolder {
  public:
    /** Copies `file` of the build's folder `folder` and answers the copy's path. */
    std::wstring Copy(const std::wstring& folder, const std::wstring& file) const {
        return CopyAs(folder, file, file);
    }

    std::wstring CopyAs(const std::wstring& folder, const std::wstring& file,
                        const std::wstring& name) const {
        std::filesystem::copy_file(BuildFolder(folder) + L"\\" + file, PathOf(name));
        return PathOf(name);
    }

    /** Writes a file that is no library and answers its path. */
    std::wstring WriteText(const std::wstring& name) const {
        WriteFileBytes(PathOf(name), "This is no library.\r\n");
        return PathOf(name);
    }

    const std::wstring& Path() const { return m_folder.Path(); }
    std::wstring PathOf(const std::wstring& name) const { return m_folder.PathOf(name); }

  private:
    CTempFolder m_folder;
};
