#include <gmock/gmock.h>

#include <cstring>

#include "base/environment.h"
#include "tests/unit/sim/simfixture.h"
#include "tests/unit/sim/simservice.h"
#include "zorvane/wire.h"

namespace {

constexpr DWORD kPatienceMs = 60000;

// A running zorvanesimhost; ended with the object when it has not ended by itself.
class CSimHost {
  public:
    CSimHost(const std::filesystem::path& program, const std::wstring& arguments,
             const std::filesystem::path& errorFile) {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        m_errors = CreateFileW(errorFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        std::wstring line = L"\"" + program.native() + L"\" " + arguments;
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdError = m_errors;
        EXPECT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   nullptr, &startup, &m_process))
            << GetLastError();
    }
    ~CSimHost() {
        if (WaitForSingleObject(m_process.hProcess, 0) == WAIT_TIMEOUT) {
            TerminateProcess(m_process.hProcess, 1);
            WaitForSingleObject(m_process.hProcess, INFINITE);
        }
        CloseHandle(m_process.hThread);
        CloseHandle(m_process.hProcess);
        CloseHandle(m_errors);
    }
    CSimHost(const CSimHost&) = delete;
    CSimHost& operator=(const CSimHost&) = delete;

    HANDLE Process() const { return m_process.hProcess; }

    DWORD ExitCode() const {
        DWORD code = STILL_ACTIVE;
        EXPECT_EQ(WaitForSingleObject(m_process.hProcess, kPatienceMs), WAIT_OBJECT_0);
        GetExitCodeProcess(m_process.hProcess, &code);
        return code;
    }

  private:
    HANDLE m_errors;
    PROCESS_INFORMATION m_process{};
};

// A window that keeps what a worker sends to it.
class CStubWindow {
  public:
    CStubWindow() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &OnMessage;
        windowClass.lpszClassName = L"ZorvaneSimHostTest";
        RegisterClassW(&windowClass);
        m_window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                   nullptr, nullptr, nullptr);
        SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~CStubWindow() { DestroyWindow(m_window); }
    CStubWindow(const CStubWindow&) = delete;
    CStubWindow& operator=(const CStubWindow&) = delete;

    std::wstring Argument() const {
        return L"--wnd=" + std::to_wstring(reinterpret_cast<uintptr_t>(m_window));
    }

    // Takes messages until `count` texts have come, `process` has ended or patience has.
    void WaitForTexts(size_t count, HANDLE process) {
        const ULONGLONG end = GetTickCount64() + kPatienceMs;
        while (m_texts.size() < count && GetTickCount64() < end &&
               MsgWaitForMultipleObjects(1, &process, FALSE, 1000, QS_ALLINPUT) != WAIT_OBJECT_0) {
            Pump();
        }
    }

    // Tells the worker to stop and takes its messages until it has.
    void StopWorker(HANDLE process) {
        COPYDATASTRUCT stop{};
        stop.dwData = kCopyDataStop;
        SendMessageW(m_worker, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&stop));
        while (MsgWaitForMultipleObjects(1, &process, FALSE, kPatienceMs, QS_ALLINPUT) ==
               WAIT_OBJECT_0 + 1) {
            Pump();
        }
    }

    const std::vector<std::string>& Texts() const { return m_texts; }
    const std::vector<NvmlGpuRecord>& Records() const { return m_records; }

  private:
    static void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
    }

    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* self = reinterpret_cast<CStubWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message != WM_COPYDATA || !self) {
            return DefWindowProcW(window, message, wParam, lParam);
        }
        self->OnCopyData(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        return TRUE;
    }

    void OnCopyData(const COPYDATASTRUCT& data) {
        const std::string bytes(static_cast<const char*>(data.lpData), data.cbData);
        if (data.dwData == kCopyDataHello && bytes.size() == sizeof(HelloPayload)) {
            HelloPayload hello;
            std::memcpy(&hello, bytes.data(), sizeof(hello));
            m_worker = reinterpret_cast<HWND>(static_cast<uintptr_t>(hello.hostWnd));
        }
        if (data.dwData == kCopyDataTaskData && bytes.size() == sizeof(NvmlGpuRecord)) {
            std::memcpy(&m_records.emplace_back(), bytes.data(), sizeof(NvmlGpuRecord));
        }
        if (data.dwData == kCopyDataStop) {
            m_texts.emplace_back(bytes.c_str());
        }
    }

    HWND m_window;
    HWND m_worker = nullptr;
    std::vector<std::string> m_texts;
    std::vector<NvmlGpuRecord> m_records;
};

// The machine is a copy in the test's own folder, laid out as the build does: the worker leaves
// settings beside its host, which would outlast the test.
class CSimHostTest : public CSimTest {
  protected:
    CSimHostTest() {
        std::filesystem::create_directory(MachineFolder());
        for (const char* name :
             {"zorvanesimhost.exe", "Platform.dll", "AMDRyzenMasterDriver.sys"}) {
            std::filesystem::copy_file(SimFolder() / name, MachineFolder() / name);
        }
        std::filesystem::create_directory(Library().parent_path());
        std::filesystem::copy_file(SimFolder().parent_path() / "bin" / "Zorvane.dll", Library());
        SetEnvironmentVariableW(L"ProgramW6432", (SimFolder() / "ProgramFiles").c_str());
    }
    ~CSimHostTest() override { SetEnvironmentVariableW(L"ProgramW6432", m_programFiles.c_str()); }

    std::filesystem::path MachineFolder() const { return Folder() / "sim"; }
    std::filesystem::path Program() const { return MachineFolder() / "zorvanesimhost.exe"; }
    std::filesystem::path Library() const { return Folder() / "bin" / "Zorvane.dll"; }
    std::filesystem::path ErrorFile() const { return Folder() / "errors.txt"; }

  private:
    std::wstring m_programFiles = zorvane::EnvironmentVariable(L"ProgramW6432");
};

TEST_F(CSimHostTest, WholeMachineReportsGpusAndCpuTemperatureFromTheUnmodifiedLibrary) {
    if (!IsWine()) {
        GTEST_SKIP() << "no test installs a driver on real Windows";
    }
    RemoveDriverService();
    std::filesystem::copy_file(SimFolder() / "scenarios" / "old-ryzen.json", ScenarioFile());
    CStubWindow stub;
    const CSimHost host(Program(), stub.Argument() + L" --entry=sim", ErrorFile());
    stub.WaitForTexts(2, host.Process());
    stub.StopWorker(host.Process());
    EXPECT_EQ(host.ExitCode(), 0u) << ReadFileBytes(ErrorFile());

    ASSERT_GE(stub.Texts().size(), 2u);
    EXPECT_EQ(stub.Texts()[0], "{\"CpuTemp\":45}");
    EXPECT_EQ(stub.Texts()[1], "{\"CpuTemp\":46}");
    ASSERT_GE(stub.Records().size(), 2u);
    EXPECT_EQ(stub.Records()[0].kind, static_cast<uint32_t>(kGpuRecordStatic));
    EXPECT_STREQ(stub.Records()[0].name, L"NVIDIA GeForce GTX 1660");
    EXPECT_EQ(stub.Records()[1].fanSpeedPercent, 38u);
    EXPECT_FALSE(std::filesystem::exists(MachineFolder() / "Qorvella.set"));
    EXPECT_EQ(DriverServiceState(), 0u);
}

TEST_F(CSimHostTest, BadScenarioIsOneLineAndExitCodeSix) {
    SetScenario(R"({"cpu": {"signature": "Zen"}})");
    const CSimHost host(Program(), L"--wnd=0", ErrorFile());
    EXPECT_EQ(host.ExitCode(), 6u);
    EXPECT_THAT(
        ReadFileBytes(ErrorFile()),
        testing::MatchesRegex("zorvanesimhost: scenario .*test.json: /cpu/signature: .*\r\n"));
}

TEST_F(CSimHostTest, LibraryOfAnotherBuildIsRefusedWithExitCodeSeven) {
    SetScenario(R"({"cpu": {}})");
    std::string bytes = ReadFileBytes(Library());
    IMAGE_DOS_HEADER dos;
    std::memcpy(&dos, bytes.data(), sizeof(dos));
    ++bytes[static_cast<size_t>(dos.e_lfanew) +
            offsetof(IMAGE_NT_HEADERS64, OptionalHeader.CheckSum)];
    const std::filesystem::path changed = Folder() / "Changed.dll";
    WriteFileBytes(changed, bytes);

    const CSimHost host(Program(), L"--wnd=0 --library=\"" + changed.native() + L"\"", ErrorFile());
    EXPECT_EQ(host.ExitCode(), 7u);
    EXPECT_THAT(ReadFileBytes(ErrorFile()),
                testing::HasSubstr("this is not the library that this program was built for"));
}

}  // namespace
