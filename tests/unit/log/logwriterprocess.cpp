#include "tests/unit/log/logwriterprocess.h"

#include <chrono>
#include <future>
#include <stdexcept>

#include "base/modulepath.h"

namespace {

constexpr std::chrono::seconds kAnswerTimeout{60};
constexpr DWORD kExitTimeoutMs = 60'000;

struct Pipe {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
};

// `own` names the end that stays here: another child that held it would keep the pipe open.
Pipe MakePipe(HANDLE Pipe::*own) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    Pipe pipe;
    if (!CreatePipe(&pipe.read, &pipe.write, &inherited, 0)) {
        throw std::runtime_error("cannot make a pipe to the log writer");
    }
    SetHandleInformation(pipe.*own, HANDLE_FLAG_INHERIT, 0);
    return pipe;
}

// Up to a line end; cut short when the process has ended.
std::string ReadLine(HANDLE pipe) {
    std::string line;
    char character = 0;
    DWORD read = 0;
    while (ReadFile(pipe, &character, 1, &read, nullptr) && read == 1 && character != '\n') {
        if (character != '\r') {
            line += character;
        }
    }
    return line;
}

}  // namespace

CLogWriterProcess::CLogWriterProcess(const std::wstring& path) {
    const Pipe input = MakePipe(&Pipe::write);
    const Pipe output = MakePipe(&Pipe::read);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.read;
    startup.hStdOutput = output.write;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::wstring commandLine =
        L"\"" + zorvane::ModuleFolder(nullptr) + L"logwriter.exe" + L"\" \"" + path + L"\"";
    const BOOL started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0,
                                        nullptr, nullptr, &startup, &process);
    CloseHandle(input.read);
    CloseHandle(output.write);
    m_input = input.write;
    m_output = output.read;
    if (!started) {
        throw std::runtime_error("the log writer does not start");
    }
    CloseHandle(process.hThread);
    m_process = process.hProcess;
    Finish();
}

CLogWriterProcess::~CLogWriterProcess() {
    if (m_process) {
        TerminateProcess(m_process, 1);
        WaitForSingleObject(m_process, kExitTimeoutMs);
        CloseHandle(m_process);
    }
    if (m_input) {
        CloseHandle(m_input);
    }
    CloseHandle(m_output);
}

void CLogWriterProcess::Do(const std::string& command) {
    Begin(command);
    Finish();
}

void CLogWriterProcess::Begin(const std::string& command) {
    const std::string line = command + "\n";
    DWORD written = 0;
    if (!WriteFile(m_input, line.data(), static_cast<DWORD>(line.size()), &written, nullptr)) {
        throw std::runtime_error("the log writer does not listen");
    }
}

void CLogWriterProcess::Finish() {
    std::future<std::string> answer = std::async(std::launch::async, ReadLine, m_output);
    if (answer.wait_for(kAnswerTimeout) != std::future_status::ready) {
        // Ends the read, too.
        TerminateProcess(m_process, 1);
        throw std::runtime_error("the log writer did not answer in time");
    }
    if (const std::string text = answer.get(); text != "done") {
        throw std::runtime_error("the log writer failed: \"" + text + "\"");
    }
}

void CLogWriterProcess::End() {
    CloseHandle(m_input);
    m_input = nullptr;
    WaitForExit();
}

void CLogWriterProcess::Kill() {
    TerminateProcess(m_process, 1);
    WaitForExit();
}

void CLogWriterProcess::WaitForExit() {
    if (WaitForSingleObject(m_process, kExitTimeoutMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the log writer did not end in time");
    }
    CloseHandle(m_process);
    m_process = nullptr;
}
