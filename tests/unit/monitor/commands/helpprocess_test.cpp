// zorvanemon --help where its text has nowhere to go.
#include <gtest/gtest.h>
#include <windows.h>

#include <stdexcept>

#include "base/handle.h"
#include "base/modulepath.h"
#include "monitor/outcome.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

class HelpProcessTest : public testing::Test {
  protected:
    // The exit code with this handle, which can be inherited, for both outputs.
    static DWORD Run(const std::wstring& words, HANDLE output) {
        constexpr DWORD kTimeoutMs = 60000;
        const std::wstring program = ModuleFolder(nullptr) + L"..\\bin\\zorvanemon.exe";
        std::wstring line = L"zorvanemon " + words;
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = output;
        startup.hStdError = output;
        PROCESS_INFORMATION started{};
        if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                            nullptr, &startup, &started)) {
            throw std::runtime_error("zorvanemon does not start");
        }
        const CUniqueHandle thread(started.hThread);
        const CUniqueHandle process(started.hProcess);
        DWORD code = STILL_ACTIVE;
        WaitForSingleObject(process.get(), kTimeoutMs);
        GetExitCodeProcess(process.get(), &code);
        return code;
    }

    SECURITY_ATTRIBUTES m_inherited{sizeof(m_inherited), nullptr, TRUE};
};

TEST_F(HelpProcessTest, HasAnExitCodeOfItsOwnWhereItCannotBeWritten) {
    const CTempFolder folder;
    const CUniqueHandle readOnly =
        OwnFile(CreateFileW(folder.PathOf(L"file").c_str(), GENERIC_READ, FILE_SHARE_READ,
                            &m_inherited, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_EQ(Run(L"--help", readOnly.get()), DWORD{kExitOutput});
    EXPECT_EQ(Run(L"--version", readOnly.get()), DWORD{kExitOutput});
    EXPECT_EQ(Run(L"--no-such-option", readOnly.get()), DWORD{kExitUsage});
}

TEST_F(HelpProcessTest, IsDoneWhenItsReaderHasGone) {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    ASSERT_TRUE(CreatePipe(&read, &write, &m_inherited, 0));
    const CUniqueHandle owner(write);
    CloseHandle(read);
    EXPECT_EQ(Run(L"--help", write), DWORD{kExitDone});
}

}  // namespace
}  // namespace zorvane
