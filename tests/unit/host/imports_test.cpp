#include "host/imports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

#include "tests/unit/host/libraryfolder.h"

using testing::Contains;
using testing::IsEmpty;

namespace {

// A copy of the shipped library with its import directory, or its first entry, overwritten.
class CDamagedLibrary {
  public:
    CDamagedLibrary() : m_path(m_folder.Copy(L"bin", L"Zorvane.dll")) {
        m_bytes = ReadFileBytes(m_path);
    }

    IMAGE_NT_HEADERS64& Headers() {
        auto* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(m_bytes.data());
        return *reinterpret_cast<IMAGE_NT_HEADERS64*>(m_bytes.data() + dos->e_lfanew);
    }

    IMAGE_DATA_DIRECTORY& Directory() {
        return Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    }

    IMAGE_IMPORT_DESCRIPTOR& FirstEntry() {
        return *reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(m_bytes.data() +
                                                           FileOffset(Directory().VirtualAddress));
    }

    std::vector<std::wstring> Imports() const {
        WriteFileBytes(m_path, m_bytes);
        return ImportedLibraries(m_path);
    }

  private:
    size_t FileOffset(DWORD address) {
        IMAGE_NT_HEADERS64& headers = Headers();
        const auto* section = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
            reinterpret_cast<char*>(&headers.OptionalHeader) +
            headers.FileHeader.SizeOfOptionalHeader);
        while (address - section->VirtualAddress >= section->SizeOfRawData) {
            ++section;
        }
        return address - section->VirtualAddress + section->PointerToRawData;
    }

    CLibraryFolder m_folder;
    std::wstring m_path;
    std::string m_bytes;
};

}  // namespace

TEST(ImportedLibraries, AreNamedInTheOrderOfTheTable) {
    CDamagedLibrary untouched;
    const std::vector<std::wstring> names = untouched.Imports();
    EXPECT_THAT(names, Contains(L"KERNEL32.dll"));
    EXPECT_THAT(names, Contains(L"Platform.dll").Times(1));
    EXPECT_EQ(names.front(), L"ADVAPI32.dll");
}

TEST(ImportedLibraries, AreNoneOfAFileThatIsMissingOrNoLibrary) {
    const CLibraryFolder folder;
    EXPECT_THAT(ImportedLibraries(folder.PathOf(L"missing.dll")), IsEmpty());
    EXPECT_THAT(ImportedLibraries(folder.WriteText(L"text.dll")), IsEmpty());
    EXPECT_THAT(ImportedLibraries(folder.Path()), IsEmpty());
}

TEST(ImportedLibraries, AreNoneOfAFileThatImportsNothing) {
    CDamagedLibrary library;
    library.Directory().VirtualAddress = 0;
    EXPECT_THAT(library.Imports(), IsEmpty());
}

TEST(ImportedLibraries, AreNoneWhenTheTableDoesNotLieInTheImage) {
    CDamagedLibrary library;
    const DWORD size = library.Headers().OptionalHeader.SizeOfImage;
    for (const DWORD address : {size - 1, size, size + 4096, ~DWORD{0}}) {
        library.Directory().VirtualAddress = address;
        EXPECT_THAT(library.Imports(), IsEmpty()) << address;
    }
}

TEST(ImportedLibraries, EndAtANameThatDoesNotLieInTheImage) {
    CDamagedLibrary library;
    const DWORD size = library.Headers().OptionalHeader.SizeOfImage;
    for (const DWORD address : {size, size + 4096, ~DWORD{0}}) {
        library.FirstEntry().Name = address;
        EXPECT_THAT(library.Imports(), IsEmpty()) << address;
    }
}

TEST(ImportedLibraries, EndAtAnEntryWithoutAName) {
    CDamagedLibrary library;
    library.FirstEntry().Name = 0;
    EXPECT_THAT(library.Imports(), IsEmpty());
}
