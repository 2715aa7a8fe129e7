// zorvanehost.exe as its users run it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "host/hostwords.h"
#include "host/workerlibrary.h"
#include "tests/support/childprocess.h"
#include "tests/unit/host/libraryfolder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr DWORD Code(HostExit exit) { return static_cast<DWORD>(exit); }

// A program's UTF-16 output.
std::wstring WideOutput(const CChildProcess& process) {
    const std::string bytes = process.Output();
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

// Runs the host, which must fail with `exit`; returns its one line on standard error.
std::string FailureOf(const CLibraryFolder& folder, const std::wstring& words, HostExit exit) {
    const CChildProcess host(folder.PathOf(L"zorvanehost.exe"), words);
    EXPECT_EQ(host.Wait(), Code(exit));
    EXPECT_THAT(host.Output(), IsEmpty());
    const std::string errors = host.Errors();
    EXPECT_THAT(errors, StartsWith("zorvanehost: "));
    EXPECT_TRUE(errors.ends_with("\r\n")) << errors;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    return errors;
}

class Host : public testing::Test {
  protected:
    Host() { m_folder.Copy(L"bin", L"zorvanehost.exe"); }

    CLibraryFolder m_folder;
};

}  // namespace

TEST_F(Host, HandsItsWholeCommandLineToTheLibraryBesideIt) {
    m_folder.CopyAs(L"tests", L"recordingworker.dll", L"Zorvane.dll");
    const std::wstring program = m_folder.PathOf(L"zorvanehost.exe");
    const std::wstring words = L"--wnd=12  --entry=\"a b\" 100%s \x00E4\x4E2D";
    const CChildProcess host(program, words);
    EXPECT_EQ(host.Wait(), Code(HostExit::kOrderlyEnd));
    EXPECT_THAT(host.Errors(), IsEmpty());
    EXPECT_EQ(WideOutput(host), L"\"" + program + L"\" " + words);
}

TEST_F(Host, LoadsTheLibraryThatIsNamed) {
    m_folder.WriteText(L"Zorvane.dll");
    const std::wstring library = m_folder.CopyAs(L"tests", L"recordingworker.dll", L"other.dll");
    const CChildProcess host(m_folder.PathOf(L"zorvanehost.exe"),
                             L"\"--library=" + library + L"\" --entry=x");
    EXPECT_EQ(host.Wait(), Code(HostExit::kOrderlyEnd));
    EXPECT_TRUE(WideOutput(host).ends_with(L"--entry=x"));
}

TEST_F(Host, LetsNobodyBeAskedAboutACrashOfTheLibrary) {
    m_folder.CopyAs(L"tests", L"recordingworker.dll", L"Zorvane.dll");
    const CChildProcess host(m_folder.PathOf(L"zorvanehost.exe"), L"--error-mode");
    EXPECT_EQ(host.Wait(), Code(HostExit::kOrderlyEnd));
    constexpr UINT kExpected =
        SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;
    EXPECT_THAT(WideOutput(host), EndsWith(L" --error-mode=" + std::to_wstring(kExpected)));
}

TEST_F(Host, EndsThoughALibraryHangsWhenTheProcessDoes) {
    m_folder.CopyAs(L"tests", L"recordingworker.dll", L"Zorvane.dll");
    const CChildProcess host(m_folder.PathOf(L"zorvanehost.exe"), L"--hang-at-exit");
    EXPECT_EQ(host.Wait(), Code(HostExit::kOrderlyEnd));
}

TEST_F(Host, FailsWhenThereIsNoLibraryBesideIt) {
    EXPECT_THAT(FailureOf(m_folder, L"--entry=x", HostExit::kLibraryMissing),
                HasSubstr("\\Zorvane.dll not found: "));
}

TEST_F(Host, FailsWhenTheNamedLibraryIsMissing) {
    m_folder.CopyAs(L"tests", L"recordingworker.dll", L"Zorvane.dll");
    EXPECT_THAT(FailureOf(m_folder, L"--library=C:\\nowhere\\w.dll", HostExit::kLibraryMissing),
                HasSubstr("C:\\nowhere\\w.dll not found: "));
}

TEST_F(Host, FailsWhenTheNameOfTheLibraryIsEmpty) {
    m_folder.CopyAs(L"tests", L"recordingworker.dll", L"Zorvane.dll");
    for (const wchar_t* words : {L"--library", L"--library="}) {
        SCOPED_TRACE(testing::PrintToString(words));
        EXPECT_THAT(FailureOf(m_folder, words, HostExit::kLibraryMissing),
                    HasSubstr("--library wants a path"));
    }
}

TEST_F(Host, NamesTheLibraryThatTheLibraryNeeds) {
    m_folder.Copy(L"bin", L"Zorvane.dll");
    EXPECT_THAT(FailureOf(m_folder, L"", HostExit::kDependencyMissing),
                HasSubstr("\\Zorvane.dll needs Platform.dll, which cannot be loaded: "));
}

TEST_F(Host, FailsWhenTheLibraryHasNoSuchExport) {
    m_folder.CopyAs(L"bin\\platform-standin", L"Platform.dll", L"Zorvane.dll");
    EXPECT_THAT(FailureOf(m_folder, L"", HostExit::kExportMissing),
                HasSubstr("has no export ZorvaneProcess: "));
}

TEST_F(Host, FailsWhenTheFileIsNoLibrary) {
    m_folder.WriteText(L"Zorvane.dll");
    EXPECT_THAT(FailureOf(m_folder, L"", HostExit::kLibraryUnusable),
                HasSubstr("\\Zorvane.dll cannot be loaded: "));
}

TEST_F(Host, WritesItsLineAsUtf8) {
    EXPECT_THAT(FailureOf(m_folder, L"--library=C:\\\x00E4\x4E2D.dll", HostExit::kLibraryMissing),
                HasSubstr("C:\\\xC3\xA4\xE4\xB8\xAD.dll not found: "));
}

TEST_F(Host, RunsAsUnpackedAndSaysOnceThatItUsesTheStandIn) {
    m_folder.Copy(L"bin", L"Zorvane.dll");
    std::filesystem::create_directory(m_folder.PathOf(L"platform-standin"));
    m_folder.CopyAs(L"bin\\platform-standin", L"Platform.dll", L"platform-standin\\Platform.dll");
    WriteFileBytes(m_folder.PathOf(L"Qorvella.set"), "[cpu_kernel]\r\nsdk_flag=0\r\n");
    const CChildProcess host(m_folder.PathOf(L"zorvanehost.exe"), L"--wnd=0 --nvml=fixed");
    EXPECT_EQ(host.Wait(), Code(HostExit::kOrderlyEnd));
    EXPECT_EQ(host.Errors(),
              "zorvanehost: no CPU temperature in this run: the stand-in is used in place of AMD's "
              "Platform.dll\r\n");
}

TEST_F(Host, RefusesAParentThatMakesNoSense) {
    m_folder.CopyAs(L"tests", L"recordingworker.dll", L"Zorvane.dll");
    EXPECT_THAT(FailureOf(m_folder, L"--parent=12", HostExit::kBadWord),
                HasSubstr("--parent wants ID:TIME"));
}

TEST_F(Host, RefusesAValueForHelp) {
    EXPECT_THAT(FailureOf(m_folder, L"--help=5", HostExit::kBadWord),
                HasSubstr("--help takes no value, and got \"5\""));
}

TEST_F(Host, PrintsItsWordsAndExitCodes) {
    const CChildProcess host(m_folder.PathOf(L"zorvanehost.exe"), L"--help");
    EXPECT_EQ(host.Wait(), 0u);
    EXPECT_EQ(host.Output(), kHostHelp);
}

TEST_F(Host, EndsAWorkerByForceThatHangsWithoutItsStub) {
    m_folder.CopyAs(L"tests", L"hangingworker.dll", L"Zorvane.dll");
    const CChildProcess stub(BuildFolder(L"tests") + L"\\fakeworker.exe", L"blind");
    const CChildProcess host(m_folder.PathOf(L"zorvanehost.exe"), stub.ParentWord());
    // A process of the stub's id that was created at another time is not the stub.
    const CChildProcess orphan(m_folder.PathOf(L"zorvanehost.exe"), stub.ParentWord() + L"0");
    const CChildProcess keptHost(m_folder.PathOf(L"zorvanehost.exe"),
                                 L"--parent=" + zorvane::IdentityText(zorvane::OwnIdentity()));
    stub.Kill();
    for (const CChildProcess* process : {&host, &orphan}) {
        EXPECT_EQ(process->Wait(), Code(HostExit::kEndedByForce));
        EXPECT_THAT(process->Errors(), HasSubstr("has not ended for 15 seconds: ended by force"));
    }
    EXPECT_EQ(keptHost.Wait(0), std::nullopt);
}
