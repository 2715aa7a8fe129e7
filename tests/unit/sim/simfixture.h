/** What the tests of the simulated machine share. */
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/handle.h"
#include "tests/support/tempfolder.h"

/** The exit code of a program that a crash ends. */
inline constexpr auto kAccessViolation = static_cast<int>(EXCEPTION_ACCESS_VIOLATION);

/** The folder into which the build puts the simulated machine. */
std::filesystem::path SimFolder();

/** The simulated Nvml.dll of one variant; "" is the current one. */
std::filesystem::path NvmlPath(const std::string& variant = "");

/** A library that is loaded for the life of the object, so that each test meets a fresh one. */
class CLoadedLibrary {
  public:
    explicit CLoadedLibrary(const std::filesystem::path& path)
        : m_module(LoadLibraryW(path.c_str())) {
        EXPECT_TRUE(m_module) << path << ": error " << GetLastError();
    }
    /** For replacing what the library imports. */
    HMODULE Module() const { return m_module.get(); }

    bool Has(const char* name) const { return GetProcAddress(m_module.get(), name) != nullptr; }

    /** The export of that name as a `Function`; null when there is none. */
    template <class Function>
    Function* Get(const char* name) const {
        return reinterpret_cast<Function*>(
            reinterpret_cast<void*>(GetProcAddress(m_module.get(), name)));
    }

  private:
    zorvane::CUniqueModule m_module;
};

/** A test with a scenario and a call log of its own, both named in the environment. */
class CSimTest : public testing::Test {
  protected:
    CSimTest();
    ~CSimTest() override;

    /** To be called before a library of the simulated machine makes its first call. */
    void SetScenario(const std::string& json) const;

    /** The calls logged so far, a line each. */
    std::vector<std::string> Calls() const;

    std::filesystem::path Folder() const { return m_folder.Path(); }
    std::filesystem::path ScenarioFile() const { return Folder() / L"test.json"; }
    std::filesystem::path CallLogFile() const { return Folder() / L"calls.log"; }

  private:
    CTempFolder m_folder;
};
