#include <gtest/gtest.h>

#include <ostream>

#include "src/system/operatingsystem.h"
#include "tests/support/fakewindows.h"
#include "tests/support/testlog.h"

// What the process finds out about Windows once: each test has a process of its own.

namespace {

using Lines = std::vector<std::string>;

const Lines kNativeSystemInfo = {R"(GetModuleHandleW("kernel32.dll"))",
                                 "GetProcAddress(kernel32, GetNativeSystemInfo)",
                                 "GetNativeSystemInfo()"};
const Lines kLookUpWow64 = {R"(GetModuleHandleW("kernel32"))",
                            "GetProcAddress(kernel32, IsWow64Process2)"};
const Lines kLookUpVersion = {R"(LoadLibraryW("ntdll.dll"))",
                              "GetProcAddress(ntdll, RtlGetNtVersionNumbers)"};
const Lines kVersion = {"RtlGetNtVersionNumbers()", "FreeLibrary(ntdll)"};

Lines Join(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class CSystemTest : public testing::Test {
  protected:
    CTestLog m_log;
    CFakeWindows m_windows;
};

TEST_F(CSystemTest, Windows10WorkstationIsSupported) {
    EXPECT_TRUE(IsSupportedOS());
    EXPECT_EQ(m_windows.calls,
              Join({{"VerifyVersionInfoW()"}, kNativeSystemInfo, kLookUpVersion, kVersion}));
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CSystemTest, ServerIsRefusedBeforeTheArchitectureIsLookedAt) {
    m_windows.isWorkstation = false;
    EXPECT_FALSE(IsSupportedOS());
    EXPECT_EQ(m_windows.calls, Lines{"VerifyVersionInfoW()"});
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] IsSupportedOS not workstation"});
}

TEST_F(CSystemTest, ProductTypeIsAskedForEveryTime) {
    m_windows.isWorkstation = false;
    EXPECT_FALSE(IsSupportedOS());
    m_windows.isWorkstation = true;
    EXPECT_TRUE(IsSupportedOS());
    m_windows.isWorkstation = false;
    EXPECT_FALSE(IsSupportedOS());
}

TEST_F(CSystemTest, SystemThatIsNot64BitIsRefusedBeforeTheVersionIsLookedAt) {
    m_windows.architecture = PROCESSOR_ARCHITECTURE_INTEL;
    EXPECT_FALSE(IsSupportedOS());
    EXPECT_EQ(
        m_windows.calls,
        Join({{"VerifyVersionInfoW()"}, kNativeSystemInfo, kLookUpWow64, {"IsWow64Process2()"}}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] IsSupportedOS not x64"});
}

TEST_F(CSystemTest, VersionIsFoundOutOnceAndKept) {
    EXPECT_TRUE(IsSupportedOS());
    m_windows.calls.clear();
    m_windows.major = 6;
    m_windows.architecture = PROCESSOR_ARCHITECTURE_INTEL;
    EXPECT_TRUE(IsSupportedOS());
    EXPECT_EQ(m_windows.calls, Lines{"VerifyVersionInfoW()"});
}

TEST_F(CSystemTest, RefusedVersionIsKeptToo) {
    m_windows.major = 6;
    EXPECT_FALSE(IsSupportedOS());
    m_windows.calls.clear();
    m_windows.major = 10;
    EXPECT_FALSE(IsSupportedOS());
    EXPECT_EQ(m_windows.calls, Lines{"VerifyVersionInfoW()"});
    EXPECT_EQ(m_log.Messages(), Lines(2, "[utility] IsSupportedOS not win10"));
}

TEST_F(CSystemTest, MissingVersionFunctionIsNotWindows10AndTheLibraryIsFreed) {
    m_windows.hasVersionNumbers = false;
    EXPECT_FALSE(IsSupportedOS());
    EXPECT_EQ(
        m_windows.calls,
        Join(
            {{"VerifyVersionInfoW()"}, kNativeSystemInfo, kLookUpVersion, {"FreeLibrary(ntdll)"}}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] IsSupportedOS not win10"});
}

TEST_F(CSystemTest, MissingNtdllIsNotWindows10AndIsKept) {
    m_windows.hasNtdll = false;
    EXPECT_FALSE(IsSupportedOS());
    EXPECT_EQ(m_windows.calls,
              Join({{"VerifyVersionInfoW()"}, kNativeSystemInfo, {kLookUpVersion[0]}}));
    m_windows.hasNtdll = true;
    EXPECT_FALSE(IsSupportedOS());
}

struct Version {
    DWORD major;
    DWORD minor;
    bool isWindows10;
};

[[maybe_unused]] void PrintTo(const Version& version, std::ostream* stream) {
    *stream << version.major << "." << version.minor;
}

class CVersionTest : public testing::TestWithParam<Version> {};

TEST_P(CVersionTest, IsWindows10OrNot) {
    const CTestLog log;
    CFakeWindows windows;
    windows.major = GetParam().major;
    windows.minor = GetParam().minor;
    EXPECT_EQ(IsSupportedOS(), GetParam().isWindows10);
    EXPECT_EQ(log.Messages(),
              GetParam().isWindows10 ? Lines{} : Lines{"[utility] IsSupportedOS not win10"});
}

INSTANTIATE_TEST_SUITE_P(
    Versions, CVersionTest,
    testing::Values(Version{10, 0, true}, Version{6, 4, true}, Version{6, 3, false},
                    Version{6, 0, false}, Version{6, 10, false}, Version{10, 1, false},
                    Version{10, 4, false}, Version{11, 0, false}, Version{0, 0, false}),
    [](const testing::TestParamInfo<Version>& version) {
        return std::to_string(version.param.major) + "_" + std::to_string(version.param.minor);
    });

class CIsX64OSTest : public testing::Test {
  protected:
    // The answer of a system whose processor is none of the 64-bit ones by number.
    bool AskOnOtherArchitecture() {
        m_windows.architecture = PROCESSOR_ARCHITECTURE_INTEL;
        return IsX64OS();
    }

    CFakeWindows m_windows;
};

TEST_F(CIsX64OSTest, IsFoundOutOnceAndKept) {
    EXPECT_TRUE(IsX64OS());
    EXPECT_EQ(m_windows.calls, kNativeSystemInfo);
    m_windows.calls.clear();
    m_windows.architecture = PROCESSOR_ARCHITECTURE_INTEL;
    EXPECT_TRUE(IsX64OS());
    EXPECT_EQ(m_windows.calls, Lines{});
}

TEST_F(CIsX64OSTest, NegativeAnswerIsKeptToo) {
    EXPECT_FALSE(AskOnOtherArchitecture());
    m_windows.calls.clear();
    m_windows.architecture = PROCESSOR_ARCHITECTURE_AMD64;
    EXPECT_FALSE(IsX64OS());
    EXPECT_EQ(m_windows.calls, Lines{});
}

TEST_F(CIsX64OSTest, MissingNativeSystemInfoIsFalseWithoutAFurtherQuestion) {
    m_windows.hasNativeSystemInfo = false;
    m_windows.nativeMachine = IMAGE_FILE_MACHINE_ARM64;
    EXPECT_FALSE(IsX64OS());
    EXPECT_EQ(m_windows.calls, Lines(kNativeSystemInfo.begin(), kNativeSystemInfo.end() - 1));
    m_windows.hasNativeSystemInfo = true;
    EXPECT_FALSE(IsX64OS());
}

TEST_F(CIsX64OSTest, OtherArchitectureOnArm64IsTrue) {
    m_windows.nativeMachine = IMAGE_FILE_MACHINE_ARM64;
    EXPECT_TRUE(AskOnOtherArchitecture());
    EXPECT_EQ(m_windows.calls, Join({kNativeSystemInfo, kLookUpWow64, {"IsWow64Process2()"}}));
}

TEST_F(CIsX64OSTest, OtherArchitectureOnAnyOtherMachineIsFalse) {
    m_windows.nativeMachine = IMAGE_FILE_MACHINE_AMD64;
    EXPECT_FALSE(AskOnOtherArchitecture());
}

TEST_F(CIsX64OSTest, FailingIsWow64Process2IsFalseWhateverItWrote) {
    m_windows.nativeMachine = IMAGE_FILE_MACHINE_ARM64;
    m_windows.isWow64Process2Result = FALSE;
    EXPECT_FALSE(AskOnOtherArchitecture());
}

TEST_F(CIsX64OSTest, MissingIsWow64Process2IsFalse) {
    m_windows.nativeMachine = IMAGE_FILE_MACHINE_ARM64;
    m_windows.hasIsWow64Process2 = false;
    EXPECT_FALSE(AskOnOtherArchitecture());
    EXPECT_EQ(m_windows.calls, Join({kNativeSystemInfo, kLookUpWow64}));
}

class CArchitectureTest : public testing::TestWithParam<WORD> {};

TEST_P(CArchitectureTest, IsX64ForItaniumAmd64AndArm64Only) {
    CFakeWindows windows;
    windows.architecture = GetParam();
    EXPECT_EQ(IsX64OS(), GetParam() == 6 || GetParam() == 9 || GetParam() == 12);
}

// Beyond 12 also numbers whose lowest bits are those of 6, 9 and 12.
INSTANTIATE_TEST_SUITE_P(Architectures, CArchitectureTest,
                         testing::Values(WORD{0}, WORD{1}, WORD{2}, WORD{3}, WORD{4}, WORD{5},
                                         WORD{6}, WORD{7}, WORD{8}, WORD{9}, WORD{10}, WORD{11},
                                         WORD{12}, WORD{13}, WORD{14}, WORD{38}, WORD{41}, WORD{44},
                                         WORD{70}, WORD{0xFFFF}));

}  // namespace
