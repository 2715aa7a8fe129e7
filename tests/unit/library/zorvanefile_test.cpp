// The shipped file: what it exports and needs, and how it is protected.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "base/peimage.h"
#include "tests/support/buildfolder.h"
#include "tests/support/tempfolder.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using zorvane::CPeImage;

namespace {

constexpr size_t kSizeLimit = 200'000;

std::wstring Path() { return BuildFolder(L"bin") + L"\\Zorvane.dll"; }

// The file laid out as in memory; nothing of it is run.
CPeImage Image() {
    CPeImage image = CPeImage::OfFile(Path());
    if (!image.IsValid()) {
        throw std::runtime_error("there is no Zorvane.dll");
    }
    return image;
}

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
    const CPeImage image = Image();
    const DWORD address = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress;
    ASSERT_NE(address, 0u);
    const auto table = image.Read<IMAGE_EXPORT_DIRECTORY>(address);
    ASSERT_TRUE(table);
    EXPECT_EQ(table->NumberOfFunctions, 1u);
    ASSERT_EQ(table->NumberOfNames, 1u);
    EXPECT_EQ(image.TextAt(*image.Read<DWORD>(table->AddressOfNames)), "ZorvaneProcess");
    EXPECT_EQ(image.TextAt(table->Name), "Zorvane.dll");
}

TEST(ZorvaneFile, NeedsLibrariesOfTheSystemAndThePlatformLibraryOnly) {
    std::vector<std::string> names = Image().ImportedLibraries();
    for (std::string& name : names) {
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        });
    }
    EXPECT_THAT(names, UnorderedElementsAre("advapi32.dll", "kernel32.dll", "msvcrt.dll",
                                            "ole32.dll", "oleaut32.dll", "shell32.dll",
                                            "shlwapi.dll", "user32.dll", "platform.dll"));
}

TEST(ZorvaneFile, TakesOneNameFromThePlatformLibrary) {
    const CPeImage image = Image();
    std::vector<std::string> names;
    for (const zorvane::PeImport& import : image.Imports()) {
        if (import.library == "Platform.dll") {
            names.push_back(import.function);
        }
    }
    EXPECT_THAT(names, ElementsAre("?GetPlatform@@YAAEAVIPlatform@@XZ"));
}

TEST(ZorvaneFile, IsA64BitLibrary) {
    const CPeImage image = Image();
    EXPECT_EQ(image.Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(image.Headers().OptionalHeader.Magic, IMAGE_NT_OPTIONAL_HDR64_MAGIC);
    EXPECT_TRUE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_DLL);
    EXPECT_TRUE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_LARGE_ADDRESS_AWARE);
}

TEST(ZorvaneFile, IsHardened) {
    const CPeImage image = Image();
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
    const CPeImage image = Image();
    for (const IMAGE_SECTION_HEADER& section : image.Sections()) {
        constexpr DWORD kBoth = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
        EXPECT_NE(section.Characteristics & kBoth, kBoth) << section.Name;
    }
}

TEST(ZorvaneFile, HasNoThreadCallbacks) {
    EXPECT_EQ(Image().Directory(IMAGE_DIRECTORY_ENTRY_TLS).VirtualAddress, 0u);
}

TEST(ZorvaneFile, CarriesNoTimeOfItsBuild) {
    const CPeImage image = Image();
    EXPECT_EQ(image.Headers().FileHeader.TimeDateStamp, 0u);
}

TEST(ZorvaneFile, IsSmallAndKeepsItsSymbolsInAFileBesideIt) {
#ifdef _GLIBCXX_ASSERTIONS  // the preset "checked"
    GTEST_SKIP() << "the checks are larger";
#endif
    EXPECT_LT(std::filesystem::file_size(Path()), kSizeLimit);
    EXPECT_TRUE(std::filesystem::exists(Path() + L".debug"));
    const CPeImage image = Image();
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
