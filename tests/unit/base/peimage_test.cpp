#include "base/peimage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "base/modulepath.h"
#include "tests/support/buildfolder.h"
#include "tests/support/tempfolder.h"

using testing::Contains;
using testing::IsEmpty;

namespace zorvane {
namespace {

std::vector<std::string> LibrariesOf(const std::wstring& path) {
    const CPeImage image = CPeImage::OfFile(path);
    return image.IsValid() ? image.ImportedLibraries() : std::vector<std::string>();
}

// A copy of the shipped library, to be damaged.
class CDamagedLibrary {
  public:
    CDamagedLibrary() : m_bytes(ReadFileBytes(BuildFolder(L"bin") + L"\\Zorvane.dll")) {}

    IMAGE_NT_HEADERS64& Headers() {
        auto* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(m_bytes.data());
        return *reinterpret_cast<IMAGE_NT_HEADERS64*>(m_bytes.data() + dos->e_lfanew);
    }

    IMAGE_DATA_DIRECTORY& Directory() {
        return Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    }

    IMAGE_IMPORT_DESCRIPTOR& FirstEntry() {
        return *At<IMAGE_IMPORT_DESCRIPTOR>(Directory().VirtualAddress);
    }

    template <typename Structure>
    Structure* At(DWORD address) {
        IMAGE_NT_HEADERS64& headers = Headers();
        const auto* section = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
            reinterpret_cast<char*>(&headers.OptionalHeader) +
            headers.FileHeader.SizeOfOptionalHeader);
        while (address - section->VirtualAddress >= section->SizeOfRawData) {
            ++section;
        }
        return reinterpret_cast<Structure*>(m_bytes.data() + address - section->VirtualAddress +
                                            section->PointerToRawData);
    }

    std::wstring Write() const {
        const std::wstring path = m_folder.PathOf(L"damaged.dll");
        WriteFileBytes(path, m_bytes);
        return path;
    }

    std::vector<std::string> Libraries() const { return LibrariesOf(Write()); }

  private:
    CTempFolder m_folder;
    std::string m_bytes;
};

TEST(PeImageTest, NamesImportedLibrariesInTheOrderOfTheTable) {
    const std::vector<std::string> names = CDamagedLibrary().Libraries();
    EXPECT_THAT(names, Contains("KERNEL32.dll"));
    EXPECT_THAT(names, Contains("Platform.dll").Times(1));
    EXPECT_EQ(names.front(), "ADVAPI32.dll");
}

TEST(PeImageTest, IsInvalidForAFileThatIsMissingOrNoImage) {
    const CTempFolder folder;
    WriteFileBytes(folder.PathOf(L"text.dll"), "This is no library.\r\n");
    for (const std::wstring& path :
         {folder.PathOf(L"missing.dll"), folder.PathOf(L"text.dll"), folder.Path()}) {
        EXPECT_FALSE(CPeImage::OfFile(path).IsValid());
    }
}

TEST(PeImageTest, ImportsNothingWithoutAnImportTable) {
    CDamagedLibrary library;
    library.Directory().VirtualAddress = 0;
    EXPECT_THAT(library.Libraries(), IsEmpty());
}

TEST(PeImageTest, ImportsNothingWhenTheTableDoesNotLieInTheImage) {
    CDamagedLibrary library;
    const DWORD size = library.Headers().OptionalHeader.SizeOfImage;
    for (const DWORD address : {size - 1, size, size + 4096, ~DWORD{0}}) {
        library.Directory().VirtualAddress = address;
        EXPECT_THAT(library.Libraries(), IsEmpty()) << address;
    }
}

TEST(PeImageTest, EndsItsImportsAtANameThatDoesNotLieInTheImage) {
    CDamagedLibrary library;
    const DWORD size = library.Headers().OptionalHeader.SizeOfImage;
    for (const DWORD address : {size, size + 4096, ~DWORD{0}, DWORD{0}}) {
        library.FirstEntry().Name = address;
        EXPECT_THAT(library.Libraries(), IsEmpty()) << address;
    }
}

TEST(PeImageTest, HasAnEmptyNameForAFunctionWhoseNameDoesNotLieInTheImage) {
    CDamagedLibrary library;
    *library.At<ULONGLONG>(library.FirstEntry().OriginalFirstThunk) = 0x7FFFFFFF;
    const CPeImage image = CPeImage::OfFile(library.Write());
    ASSERT_TRUE(image.IsValid());
    EXPECT_EQ(image.Imports().front().function, "");
}

TEST(PeImageTest, ReadsNoListOfFunctionsThatDoesNotLieInTheImage) {
    CDamagedLibrary library;
    library.FirstEntry().OriginalFirstThunk = ~DWORD{0};
    const CPeImage image = CPeImage::OfFile(library.Write());
    ASSERT_TRUE(image.IsValid());
    EXPECT_NE(image.Imports().front().library, "ADVAPI32.dll");
}

TEST(PeImageTest, FindsTheEntriesOfALoadedModule) {
    const CPeImage program = CPeImage::OfModule(nullptr);
    ASSERT_TRUE(program.IsValid());
    int found = 0;
    for (const PeImport& import : program.Imports()) {
        if (import.function == "GetTickCount64") {
            ++found;
            EXPECT_EQ(import.library, "KERNEL32.dll");
            EXPECT_EQ(program.Read<void*>(import.entry),
                      reinterpret_cast<void*>(
                          GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetTickCount64")));
        }
    }
    EXPECT_EQ(found, 1);
}

TEST(PeImageTest, ListsTheSections) {
    const CPeImage program = CPeImage::OfModule(nullptr);
    std::vector<std::string> names;
    for (const IMAGE_SECTION_HEADER& section : program.Sections()) {
        names.emplace_back(reinterpret_cast<const char*>(section.Name));
    }
    EXPECT_EQ(names.size(), program.Headers().FileHeader.NumberOfSections);
    EXPECT_EQ(names.front(), ".text");
}

TEST(PeImageTest, ReadsNothingBeyondItsEnd) {
    const CPeImage program = CPeImage::OfModule(nullptr);
    const DWORD size = program.Headers().OptionalHeader.SizeOfImage;
    EXPECT_TRUE(program.Read<DWORD>(size - 4));
    EXPECT_FALSE(program.Read<DWORD>(size - 3));
    EXPECT_FALSE(program.Read<DWORD>(~DWORD{0}));
    EXPECT_EQ(program.TextAt(size), "");
}

}  // namespace
}  // namespace zorvane
