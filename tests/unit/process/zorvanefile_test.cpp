// The shipped file: what it exports and needs, and how it is protected.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "host/imports.h"
#include "tests/support/buildfolder.h"
#include "tests/support/tempfolder.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

constexpr size_t kSizeLimit = 200'000;

std::wstring Path() { return BuildFolder(L"bin") + L"\\Zorvane.dll"; }

// The file laid out as in memory; nothing of it is run.
class CImage {
  public:
    CImage() : m_module(LoadLibraryExW(Path().c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {
        if (!m_module) {
            throw std::runtime_error("there is no Zorvane.dll");
        }
    }
    ~CImage() { FreeLibrary(m_module); }
    CImage(const CImage&) = delete;
    CImage& operator=(const CImage&) = delete;

    template <typename Structure>
    const Structure* At(DWORD address) const {
        const auto base = reinterpret_cast<ULONG_PTR>(m_module) & ~ULONG_PTR{3};
        return reinterpret_cast<const Structure*>(base + address);
    }

    const IMAGE_NT_HEADERS64& Headers() const {
        const auto offset = static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
        return *At<IMAGE_NT_HEADERS64>(offset);
    }

    const IMAGE_DATA_DIRECTORY& Directory(int entry) const {
        return Headers().OptionalHeader.DataDirectory[entry];
    }

  private:
    HMODULE m_module;
};

std::wstring VersionText(const std::vector<char>& version, const wchar_t* name) {
    void* text = nullptr;
    UINT length = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    if (!VerQueryValueW(version.data(), path.c_str(), &text, &length) || length == 0) {
        return {};
    }
    return static_cast<const wchar_t*>(text);
}

}  // namespace

TEST(ZorvaneFile, ExportsOneNameUndecoratedAndNothingElse) {
    const CImage image;
    const DWORD address = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress;
    ASSERT_NE(address, 0u);
    const auto* table = image.At<IMAGE_EXPORT_DIRECTORY>(address);
    EXPECT_EQ(table->NumberOfFunctions, 1u);
    ASSERT_EQ(table->NumberOfNames, 1u);
    EXPECT_STREQ(image.At<char>(*image.At<DWORD>(table->AddressOfNames)), "ZorvaneProcess");
    EXPECT_STREQ(image.At<char>(table->Name), "Zorvane.dll");
}

TEST(ZorvaneFile, NeedsLibrariesOfTheSystemAndThePlatformLibraryOnly) {
    std::vector<std::wstring> names = ImportedLibraries(Path());
    for (std::wstring& name : names) {
        std::transform(name.begin(), name.end(), name.begin(), std::towlower);
    }
    EXPECT_THAT(names, UnorderedElementsAre(L"advapi32.dll", L"kernel32.dll", L"msvcrt.dll",
                                            L"ole32.dll", L"oleaut32.dll", L"shell32.dll",
                                            L"shlwapi.dll", L"user32.dll", L"platform.dll"));
}

TEST(ZorvaneFile, TakesOneNameFromThePlatformLibrary) {
    const CImage image;
    std::vector<std::string> names;
    const auto* descriptor = image.At<IMAGE_IMPORT_DESCRIPTOR>(
        image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
    for (; descriptor->Name != 0; ++descriptor) {
        if (std::string(image.At<char>(descriptor->Name)) != "Platform.dll") {
            continue;
        }
        const auto* thunk = image.At<ULONGLONG>(descriptor->OriginalFirstThunk);
        for (; *thunk != 0; ++thunk) {
            const auto* import = image.At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(*thunk));
            names.emplace_back(reinterpret_cast<const char*>(import->Name));
        }
    }
    EXPECT_THAT(names, ElementsAre("?GetPlatform@@YAAEAVIPlatform@@XZ"));
}

TEST(ZorvaneFile, IsA64BitLibrary) {
    const CImage image;
    EXPECT_EQ(image.Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(image.Headers().OptionalHeader.Magic, IMAGE_NT_OPTIONAL_HDR64_MAGIC);
    EXPECT_TRUE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_DLL);
    EXPECT_TRUE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_LARGE_ADDRESS_AWARE);
}

TEST(ZorvaneFile, IsHardened) {
    const CImage image;
    const WORD flags = image.Headers().OptionalHeader.DllCharacteristics;
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    // Without relocations it could not be put anywhere else.
    EXPECT_FALSE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_GT(image.Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 8u);
    EXPECT_GE(image.Headers().OptionalHeader.ImageBase, ULONGLONG{1} << 32);
}

TEST(ZorvaneFile, HasNoSectionThatIsWritableAndExecutable) {
    const CImage image;
    const IMAGE_NT_HEADERS64& headers = image.Headers();
    const auto* section = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
        reinterpret_cast<const char*>(&headers.OptionalHeader) +
        headers.FileHeader.SizeOfOptionalHeader);
    for (WORD number = 0; number < headers.FileHeader.NumberOfSections; ++number, ++section) {
        constexpr DWORD kBoth = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
        EXPECT_NE(section->Characteristics & kBoth, kBoth) << section->Name;
    }
}

TEST(ZorvaneFile, HasNoThreadCallbacks) {
    const CImage image;
    EXPECT_EQ(image.Directory(IMAGE_DIRECTORY_ENTRY_TLS).VirtualAddress, 0u);
}

TEST(ZorvaneFile, CarriesNoTimeOfItsBuild) {
    const CImage image;
    EXPECT_EQ(image.Headers().FileHeader.TimeDateStamp, 0u);
}

TEST(ZorvaneFile, IsSmallAndKeepsItsSymbolsInAFileBesideIt) {
    EXPECT_LT(std::filesystem::file_size(Path()), kSizeLimit);
    EXPECT_TRUE(std::filesystem::exists(Path() + L".debug"));
    const CImage image;
    EXPECT_EQ(image.Headers().FileHeader.NumberOfSymbols, 0u);
}

TEST(ZorvaneFile, HasAVersionResource) {
    DWORD ignored = 0;
    std::vector<char> version(GetFileVersionInfoSizeW(Path().c_str(), &ignored));
    ASSERT_FALSE(version.empty());
    ASSERT_TRUE(
        GetFileVersionInfoW(Path().c_str(), 0, static_cast<DWORD>(version.size()), version.data()));
    EXPECT_EQ(VersionText(version, L"OriginalFilename"), L"Zorvane.dll");
    EXPECT_EQ(VersionText(version, L"ProductName"), L"Zorvane");
    EXPECT_NE(VersionText(version, L"FileDescription"), L"");
    EXPECT_NE(VersionText(version, L"FileVersion"), L"");
    EXPECT_EQ(VersionText(version, L"FileVersion"), VersionText(version, L"ProductVersion"));
}
