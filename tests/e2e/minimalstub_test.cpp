// The stub in C of examples/, with a worker that behaves as told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/tempfolder.h"

using testing::HasSubstr;

namespace {

class MinimalStub : public testing::Test {
  protected:
    // Runs the stub with the fake worker, in a folder whose name no code page holds as a whole.
    std::optional<DWORD> Run(const std::wstring& script) {
        const std::filesystem::path folder = m_folder.PathOf(L"\x00E4 \x0436 \x4E2D");
        std::filesystem::create_directory(folder);
        const std::filesystem::path host = folder / L"fakeworker.exe";
        std::filesystem::copy_file(BuildFolder(L"tests") + L"\\fakeworker.exe", host);
        m_stub =
            std::make_unique<CChildProcess>(BuildFolder(L"examples") + L"\\minimal_stub.exe",
                                            L"\"" + host.wstring() + L"\" \"" + script + L"\"");
        return m_stub->Wait();
    }

    CTempFolder m_folder;
    std::unique_ptr<CChildProcess> m_stub;
};

}  // namespace

TEST_F(MinimalStub, PrintsTenReadingsAndEndsTheWorkerInOrder) {
    EXPECT_EQ(Run(L"hello gpu:0 cpu:{CpuTemp} gpu:0 gpu:0 gpu:0 gpu:0 gpu:0 repeat:20"), 0u)
        << m_stub->Errors();
    EXPECT_THAT(m_stub->Output(), HasSubstr("00000000:09:00.0  Fake GPU 0 "));
    const std::string text = m_stub->Output();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10);
    EXPECT_THAT(m_stub->Errors(), HasSubstr("the worker ended with 0"));
}

TEST_F(MinimalStub, SaysThatNothingCouldBeRead) {
    EXPECT_EQ(Run(L"hello exit:0"), 1u);
    EXPECT_EQ(m_stub->Output(), "");
    EXPECT_THAT(m_stub->Errors(),
                HasSubstr("nothing could be read; Log\\Qorvella_HardwareDll.log"));
}

TEST_F(MinimalStub, PrintsNamesAsUtf8) {
    EXPECT_EQ(Run(L"hello name:\x00DC\x4E2D gpu:0 repeat:20"), 0u) << m_stub->Errors();
    EXPECT_THAT(m_stub->Output(), HasSubstr("\xC3\x9C\xE4\xB8\xAD "));
}

TEST_F(MinimalStub, NamesTheErrorOfAHostThatIsMissing) {
    m_stub = std::make_unique<CChildProcess>(BuildFolder(L"examples") + L"\\minimal_stub.exe",
                                             L"Z:\\missing.exe");
    EXPECT_EQ(m_stub->Wait(), 1u);
    EXPECT_THAT(m_stub->Errors(), HasSubstr("cannot be started: error "));
}
