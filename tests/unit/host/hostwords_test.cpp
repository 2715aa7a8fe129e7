#include "host/hostwords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/hostexit.h"

namespace {

HostWords Read(const std::wstring& words, std::wstring& error) {
    return ReadHostWords((L"host.exe --wnd=1 --entry=e " + words).c_str(), error);
}

HostWords Read(const std::wstring& words) {
    std::wstring error;
    const HostWords read = Read(words, error);
    EXPECT_EQ(error, L"");
    return read;
}

}  // namespace

TEST(HostWords, AreNoneOnAWorkersPlainCommandLine) {
    const HostWords words = Read(L"skip_delete");
    EXPECT_FALSE(words.help);
    EXPECT_FALSE(words.libraryPath);
    EXPECT_FALSE(words.parent);
}

TEST(HostWords, AreFoundInAnyLetterCase) {
    const HostWords words = Read(L"\"--LIBRARY=C:\\a b\\Zorvane.dll\" --Parent=12:34");
    EXPECT_EQ(words.libraryPath, L"C:\\a b\\Zorvane.dll");
    ASSERT_TRUE(words.parent);
    EXPECT_EQ(words.parent->id, 12u);
    EXPECT_EQ(words.parent->creationTime, 34u);
}

TEST(HostWords, TellALibraryWithoutANameFromNone) {
    EXPECT_EQ(Read(L"--library").libraryPath, L"");
}

TEST(HostWords, AskForHelpInEveryUsualWay) {
    for (const wchar_t* word : {L"--help", L"-h", L"-?", L"/?"}) {
        EXPECT_TRUE(Read(word).help) << word;
    }
}

TEST(HostWords, ChooseAnNvml) {
    EXPECT_EQ(Read(L"").nvml, NvmlChoice::kAuto);
    EXPECT_EQ(Read(L"--nvml=auto").nvml, NvmlChoice::kAuto);
    EXPECT_EQ(Read(L"--NVML=System").nvml, NvmlChoice::kSystem);
    EXPECT_EQ(Read(L"--nvml=fixed").nvml, NvmlChoice::kFixed);
    for (const wchar_t* value : {L"", L"=", L"=sys", L"=C:\\nvml.dll"}) {
        std::wstring error;
        Read(std::wstring(L"--nvml") + value, error);
        EXPECT_TRUE(error.starts_with(L"--nvml takes auto, system or fixed, and got ")) << error;
    }
}

TEST(HostWords, TakeNoValueForHelp) {
    for (const wchar_t* word : {L"--help", L"-h", L"-?", L"/?"}) {
        std::wstring error;
        Read(std::wstring(word) + L"=5", error);
        EXPECT_EQ(error, std::wstring(word) + L" takes no value, and got \"5\"");
    }
}

TEST(HostWords, NameTheParentThatMakesNoSense) {
    for (const wchar_t* word : {L"--parent", L"--parent=", L"--parent=12", L"--parent=x:1"}) {
        std::wstring error;
        EXPECT_FALSE(Read(word, error).parent);
        EXPECT_NE(error.find(L"--parent wants ID:TIME"), std::wstring::npos) << error;
    }
}

TEST(HostHelp, NamesEveryWordAndEveryExitCode) {
    const std::string help = kHostHelp;
    for (const char* word :
         {"--wnd=", "--entry=", "--library=", "--parent=", "--nvml=", "skip_delete", "--help"}) {
        EXPECT_THAT(help, testing::HasSubstr(word));
    }
    for (const HostExit exit :
         {HostExit::kOrderlyEnd, HostExit::kLibraryMissing, HostExit::kDependencyMissing,
          HostExit::kExportMissing, HostExit::kLibraryUnusable, HostExit::kBadWord,
          HostExit::kEndedByForce}) {
        EXPECT_THAT(help,
                    testing::HasSubstr("\n  " + std::to_string(static_cast<int>(exit)) + "  "));
    }
}
