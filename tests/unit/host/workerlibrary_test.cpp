#include "host/workerlibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include "host/standin.h"
#include "tests/support/importpatch.h"
#include "tests/unit/host/libraryfolder.h"

namespace {

class WorkerLibrary : public testing::Test {
  protected:
    HostExit Load(const std::wstring& path) { return m_library.Load(path, m_error); }

    bool ErrorHas(const std::wstring& part) const {
        return m_error.find(part) != std::wstring::npos;
    }

    // Puts the stand-in where a program in `program` finds it; its path.
    std::wstring PutStandInBelow(const CLibraryFolder& program) {
        std::filesystem::create_directory(program.PathOf(L"platform-standin"));
        const std::wstring standIn = program.CopyAs(L"bin\\platform-standin", L"Platform.dll",
                                                    L"platform-standin\\Platform.dll");
        m_programPath = program.PathOf(L"host.exe");
        return standIn;
    }

    CLibraryFolder m_folder;
    CLibraryFolder m_program;
    CWorkerLibrary m_library;
    std::wstring m_error;

  private:
    // Where this program claims to be; empty: where it is.
    std::wstring m_programPath;
    PATCH_IMPORT(m_fileName, GetModuleFileNameW,
                 [this](HMODULE module, LPWSTR buffer, DWORD size) -> DWORD {
                     if (module || m_programPath.empty()) {
                         return m_fileName.Original(module, buffer, size);
                     }
                     return static_cast<DWORD>(m_programPath.copy(buffer, size));
                 });
};

}  // namespace

TEST_F(WorkerLibrary, LiesBesideTheExecutableByDefault) {
    EXPECT_EQ(CWorkerLibrary::DefaultPath(), BuildFolder(L"tests") + L"\\Zorvane.dll");
}

TEST_F(WorkerLibrary, IsLoadedAndEnteredWithTheCommandLine) {
    EXPECT_EQ(m_library.Base(), nullptr);
    const std::wstring path = m_folder.Copy(L"tests", L"recordingworker.dll");
    ASSERT_EQ(Load(path), HostExit::kOrderlyEnd) << m_error;
    EXPECT_EQ(m_error, L"");
    EXPECT_EQ(m_library.Base(), GetModuleHandleW(path.c_str()));
    wchar_t commandLine[] = L"host --entry=100%s";
    m_library.Run(commandLine);
    wchar_t recorded[64] = {};
    GetEnvironmentVariableW(L"RECORDED_COMMAND_LINE", recorded, ARRAYSIZE(recorded));
    EXPECT_STREQ(recorded, commandLine);
}

TEST_F(WorkerLibrary, CanBeNamedFromTheCurrentFolder) {
    const std::wstring path = m_folder.Copy(L"tests", L"recordingworker.dll");
    SetCurrentDirectoryW(m_folder.Path().c_str());
    ASSERT_EQ(Load(L"recordingworker.dll"), HostExit::kOrderlyEnd) << m_error;
    EXPECT_EQ(m_library.Base(), GetModuleHandleW(path.c_str()));
}

TEST_F(WorkerLibrary, FindsWhatItNeedsBesideItself) {
    m_folder.Copy(L"bin\\platform-standin", L"Platform.dll");
    EXPECT_EQ(Load(m_folder.Copy(L"bin", L"Zorvane.dll")), HostExit::kOrderlyEnd) << m_error;
    EXPECT_EQ(GetModuleHandleW(L"Platform.dll"),
              GetModuleHandleW(m_folder.PathOf(L"Platform.dll").c_str()));
}

TEST_F(WorkerLibrary, IsMissing) {
    EXPECT_EQ(Load(m_folder.PathOf(L"missing.dll")), HostExit::kLibraryMissing);
    EXPECT_TRUE(ErrorHas(L"library " + m_folder.PathOf(L"missing.dll") + L" not found: "));
    EXPECT_TRUE(ErrorHas(L"(2)")) << m_error;
    EXPECT_EQ(m_library.Base(), nullptr);
}

TEST_F(WorkerLibrary, WantsAName) {
    EXPECT_EQ(Load(L""), HostExit::kLibraryMissing);
    EXPECT_TRUE(ErrorHas(L"no name")) << m_error;
}

TEST_F(WorkerLibrary, NeedsALibraryThatIsMissing) {
    const std::wstring path = m_folder.Copy(L"bin", L"Zorvane.dll");
    EXPECT_EQ(Load(path), HostExit::kDependencyMissing);
    EXPECT_TRUE(ErrorHas(L"library " + path + L" needs Platform.dll, which cannot be loaded: "))
        << m_error;
    EXPECT_TRUE(ErrorHas(L"(126); nor is there a stand-in, ")) << m_error;
    EXPECT_EQ(m_library.Base(), nullptr);
}

TEST_F(WorkerLibrary, DoesNotTakeWhatItNeedsFromTheCurrentFolderOrThePath) {
    const CLibraryFolder elsewhere;
    elsewhere.Copy(L"bin\\platform-standin", L"Platform.dll");
    SetCurrentDirectoryW(elsewhere.Path().c_str());
    SetEnvironmentVariableW(L"PATH", elsewhere.Path().c_str());
    EXPECT_EQ(Load(m_folder.Copy(L"bin", L"Zorvane.dll")), HostExit::kDependencyMissing) << m_error;
}

TEST_F(WorkerLibrary, TakesTheStandInWhereThereIsNoPlatformLibrary) {
    const std::wstring library = m_folder.Copy(L"bin", L"Zorvane.dll");
    const std::wstring standIn = PutStandInBelow(m_program);
    EXPECT_EQ(Load(library), HostExit::kOrderlyEnd) << m_error;
    EXPECT_EQ(GetModuleHandleW(L"Platform.dll"), GetModuleHandleW(standIn.c_str()));
    EXPECT_TRUE(IsStandInLoaded());
}

TEST_F(WorkerLibrary, PrefersThePlatformLibraryBesideItselfToTheStandIn) {
    const std::wstring platform = m_folder.Copy(L"sim", L"Platform.dll");
    const std::wstring library = m_folder.Copy(L"bin", L"Zorvane.dll");
    PutStandInBelow(m_program);
    EXPECT_EQ(Load(library), HostExit::kOrderlyEnd) << m_error;
    EXPECT_EQ(GetModuleHandleW(L"Platform.dll"), GetModuleHandleW(platform.c_str()));
    EXPECT_FALSE(IsStandInLoaded());
}

TEST_F(WorkerLibrary, TellsAStandInBesideItselfFromTheVendorsLibrary) {
    m_folder.Copy(L"bin\\platform-standin", L"Platform.dll");
    EXPECT_EQ(Load(m_folder.Copy(L"bin", L"Zorvane.dll")), HostExit::kOrderlyEnd) << m_error;
    EXPECT_TRUE(IsStandInLoaded());
}

TEST_F(WorkerLibrary, DoesNotTakeTheStandInForAPlatformLibraryThatIsBroken) {
    m_folder.WriteText(L"Platform.dll");
    const std::wstring library = m_folder.Copy(L"bin", L"Zorvane.dll");
    PutStandInBelow(m_program);
    EXPECT_EQ(Load(library), HostExit::kDependencyMissing);
    EXPECT_TRUE(ErrorHas(L"; without that file the stand-in would take its place")) << m_error;
}

TEST_F(WorkerLibrary, IsLoadedWithoutTheStandInIfItDoesNotNeedOne) {
    const std::wstring library = m_folder.Copy(L"tests", L"recordingworker.dll");
    PutStandInBelow(m_program);
    EXPECT_EQ(Load(library), HostExit::kOrderlyEnd);
    EXPECT_FALSE(IsStandInLoaded());
}

TEST_F(WorkerLibrary, HintsAtTheStandInForNoOtherLibraryThatIsMissing) {
    // The library that it really needs lies beside this program.
    std::string bytes = ReadFileBytes(BuildFolder(L"tests") + L"\\importingnvml.dll");
    const std::string needed = "planted.dll";
    const size_t name = bytes.find(needed);
    ASSERT_NE(name, std::string::npos);
    const std::wstring path = m_folder.PathOf(L"worker.dll");
    WriteFileBytes(path, bytes.replace(name, needed.size(), "missing.dll"));
    EXPECT_EQ(Load(path), HostExit::kDependencyMissing);
    EXPECT_TRUE(ErrorHas(L"library " + path + L" needs missing.dll, which cannot be loaded: "))
        << m_error;
    EXPECT_TRUE(m_error.ends_with(L"(126)")) << m_error;
}

TEST_F(WorkerLibrary, NeedsALibraryThatIsBroken) {
    m_folder.WriteText(L"Platform.dll");
    EXPECT_EQ(Load(m_folder.Copy(L"bin", L"Zorvane.dll")), HostExit::kDependencyMissing);
    EXPECT_TRUE(ErrorHas(L"needs Platform.dll, which cannot be loaded: ")) << m_error;
    EXPECT_TRUE(ErrorHas(L"(193)")) << m_error;
}

TEST_F(WorkerLibrary, HasNoSuchExport) {
    const std::wstring path = m_folder.Copy(L"bin\\platform-standin", L"Platform.dll");
    EXPECT_EQ(Load(path), HostExit::kExportMissing);
    EXPECT_TRUE(ErrorHas(L"library " + path + L" has no export ZorvaneProcess: ")) << m_error;
    EXPECT_TRUE(ErrorHas(L"(127)")) << m_error;
}

TEST_F(WorkerLibrary, IsNoLibrary) {
    PutStandInBelow(m_program);
    EXPECT_EQ(Load(m_folder.WriteText(L"text.dll")), HostExit::kLibraryUnusable);
    EXPECT_FALSE(IsStandInLoaded());
    EXPECT_TRUE(ErrorHas(L"cannot be loaded: ")) << m_error;
    EXPECT_TRUE(ErrorHas(L"(193)")) << m_error;
}

TEST_F(WorkerLibrary, IsAFolder) {
    EXPECT_EQ(Load(m_folder.Path()), HostExit::kLibraryUnusable);
    EXPECT_TRUE(ErrorHas(m_folder.Path() + L" cannot be loaded: ")) << m_error;
}
