// The shipped client DLL's file: what it needs, and how it is protected.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <stdexcept>

#include "base/peimage.h"
#include "tests/support/buildfolder.h"

namespace {

constexpr size_t kSizeLimit = 300'000;

std::wstring Path() { return BuildFolder(L"bin") + L"\\zorvaneclient.dll"; }

zorvane::CPeImage Image() {
    zorvane::CPeImage image = zorvane::CPeImage::OfFile(Path());
    if (!image.IsValid()) {
        throw std::runtime_error("there is no zorvaneclient.dll");
    }
    return image;
}

}  // namespace

TEST(KitFile, NeedsLibrariesOfTheSystemOnly) {
#ifdef _GLIBCXX_ASSERTIONS  // the preset "checked"
    GTEST_SKIP() << "guards of the stack need a random number";
#endif
    std::vector<std::string> names = Image().ImportedLibraries();
    for (std::string& name : names) {
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        });
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("kernel32.dll", "msvcrt.dll", "shell32.dll",
                                                     "user32.dll"));
}

TEST(KitFile, IsHardened) {
    const zorvane::CPeImage image = Image();
    constexpr WORD kWanted = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE |
                             IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA |
                             IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    EXPECT_EQ(image.Headers().OptionalHeader.DllCharacteristics & kWanted, kWanted);
    EXPECT_FALSE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_GT(image.Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 8u);
    for (const IMAGE_SECTION_HEADER& section : image.Sections()) {
        constexpr DWORD kBoth = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
        EXPECT_NE(section.Characteristics & kBoth, kBoth) << section.Name;
    }
}

TEST(KitFile, LeavesThreadsOfItsProcessAlone) {
    EXPECT_EQ(Image().Directory(IMAGE_DIRECTORY_ENTRY_TLS).VirtualAddress, 0u);
}

TEST(KitFile, IsSmallCarriesNoTimeAndKeepsItsSymbolsBesideIt) {
#ifdef _GLIBCXX_ASSERTIONS  // the preset "checked"
    GTEST_SKIP() << "the checks are larger";
#endif
    const zorvane::CPeImage image = Image();
    EXPECT_LT(std::filesystem::file_size(Path()), kSizeLimit);
    EXPECT_EQ(image.Headers().FileHeader.TimeDateStamp, 0u);
    EXPECT_EQ(image.Headers().FileHeader.NumberOfSymbols, 0u);
    EXPECT_TRUE(std::filesystem::exists(Path() + L".debug"));
}
