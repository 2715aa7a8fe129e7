// Where a worker finds the libraries that NVML needs. It may run elevated: nobody may plant one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/e2e/simulatedmachine.h"

using testing::Contains;

namespace {

namespace fs = std::filesystem;

// Runs a worker whose Nvml.dll needs planted.dll. The current folder is one of the test's own.
class LibrarySearch : public testing::TestWithParam<bool> {
  protected:
    LibrarySearch() {
        fs::create_directories(m_nvsmi);
        fs::create_directories(m_current);
        fs::copy_file(m_tests / L"importingnvml.dll", m_nvsmi / L"Nvml.dll");
    }

    void PutPlanted(const fs::path& folder) const {
        fs::copy_file(m_tests / L"planted.dll", folder / L"planted.dll");
    }

    std::vector<std::string> Run() const {
        const CSimulatedMachine machine({.simulatedProcessor = GetParam(),
                                         .standIn = true,
                                         .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
        std::vector<zorvane::EnvironmentChange> environment = machine.Environment();
        environment.push_back({L"ProgramW6432", m_folder.Path()});
        environment.push_back({L"PLANTED_TRACE", m_trace.wstring()});
        environment.push_back({L"PATH", m_current.wstring()});
        const fs::path before = fs::current_path();
        fs::current_path(m_current);
        const CChildProcess worker(machine.Host(), L"--wnd=0", environment);
        fs::current_path(before);
        EXPECT_EQ(worker.Wait(), 0u) << worker.Errors();
        return machine.LogMessages();
    }

    const CTempFolder m_folder;
    const fs::path m_tests = BuildFolder(L"tests");
    const fs::path m_nvsmi = fs::path(m_folder.Path()) / L"NVIDIA Corporation" / L"NVSMI";
    const fs::path m_current = fs::path(m_folder.Path()) / L"current";
    const fs::path m_trace = fs::path(m_folder.Path()) / L"trace";
};

}  // namespace

TEST_P(LibrarySearch, LeavesOutTheCurrentFolderAndThePath) {
    PutPlanted(m_current);
    EXPECT_THAT(
        Run(),
        Contains("[dynamicnvml] NVML DLL is not installed or not found at the default path."));
    EXPECT_FALSE(fs::exists(m_trace));
}

TEST_P(LibrarySearch, FindsWhatNvmlNeedsBesideIt) {
    PutPlanted(m_nvsmi);
    EXPECT_THAT(Run(), Contains("[dynamicnvml] nvmlInit func failed"));
    EXPECT_TRUE(fs::exists(m_trace));
}

INSTANTIATE_TEST_SUITE_P(OfBothHosts, LibrarySearch, testing::Bool());
