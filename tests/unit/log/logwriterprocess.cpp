#include "tests/unit/log/logwriterprocess.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <utility>

#include "base/commandline.h"
#include "base/modulepath.h"

namespace {

constexpr std::chrono::seconds kAnswerTimeout{60};
constexpr DWORD kExitTimeoutMs = 60'000;

struct Pipe {
    zorvane::CUniqueHandle read;
    zorvane::CUniqueHandle write;
};

// `own` names the end that stays here: another child that held it would keep the pipe open.
Pipe MakePipe(zorvane::CUniqueHandle Pipe::*own) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &inherited, 0)) {
        throw std::runtime_error("cannot make a pipe to the log writer");
    }
    Pipe pipe{zorvane::CUniqueHandle(read), zorvane::CUniqueHandle(write)};
    SetHandleInformation((pipe.*own).get(), HANDLE_FLAG_INHERIT, 0);
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
    Pipe input = MakePipe(&Pipe::write);
    Pipe output = MakePipe(&Pipe::read);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.read.get();
    startup.hStdOutput = output.write.get();
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::wstring commandLine =
        zorvane::QuoteWord(zorvane::ModuleFolder(nullptr) + L"logwriter.exe") + L" " +
        zorvane::QuoteWord(path);
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &process)) {
        throw std::runtime_error("the log writer does not start");
    }
    const zorvane::CUniqueHandle thread(process.hThread);
    m_process.reset(process.hProcess);
    m_input = std::move(input.write);
    m_output = std::move(output.read);
    // The writer's death must end a read here.
    output.write.reset();
    Finish();
}

CLogWriterProcess::~CLogWriterProcess() {
    if (m_process) {
        TerminateProcess(m_process.get(), 1);
        WaitForSingleObject(m_process.get(), kExitTimeoutMs);
    }
}

void CLogWriterProcess::Do(const std::string& command) {
    Begin(command);
    Finish();
}

void CLogWriterProcess::Begin(const std::string& command) {
    const std::string line = command + "\n";
    DWORD written = 0;
    if (!WriteFile(m_input.get(), line.data(), static_cast<DWORD>(line.size()), &written,
                   nullptr)) {
        throw std::runtime_error("the log writer does not listen");
    }
}

void CLogWriterProcess::Finish() {
    std::future<std::string> answer = std::async(std::launch::async, ReadLine, m_output.get());
    if (answer.wait_for(kAnswerTimeout) != std::future_status::ready) {
        // Ends the read, too.
        TerminateProcess(m_process.get(), 1);
        throw std::runtime_error("the log writer did not answer in time");
    }
    if (const std::string text = answer.get(); text != "done") {
        throw std::runtime_error("the log writer failed: \"" + text + "\"");
    }
}

void CLogWriterProcess::End() {
    m_input.reset();
    WaitForExit();
}

void CLogWriterProcess::Kill() {
    TerminateProcess(m_process.get(), 1);
    WaitForExit();
}

void CLogWriterProcess::WaitForExit() {
    if (WaitForSingleObject(m_process.get(), kExitTimeoutMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the log writer did not end in time");
    }
    m_process.reset();
}
