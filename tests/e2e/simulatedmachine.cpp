#include "tests/e2e/simulatedmachine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/support/logfile.h"

namespace {

void Copy(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::filesystem::copy_file(from, to / from.filename());
}

std::wstring ProgramFiles(const std::wstring& nvml) {
    const std::filesystem::path sim = BuildFolder(L"sim");
    if (nvml == L"none") {
        return (sim / L"no such folder").wstring();
    }
    return nvml.empty() ? (sim / L"ProgramFiles").wstring() : (sim / L"variants" / nvml).wstring();
}

std::wstring FolderIn(const std::wstring& folder, const MachineParts& parts) {
    std::wstring path = folder;
    if (!parts.folder.empty() || parts.folderLength > 0) {
        path += L"\\" + parts.folder;
    }
    path.resize(std::max(path.size(), parts.folderLength), L'x');
    return path;
}

}  // namespace

CSimulatedMachine::CSimulatedMachine(const MachineParts& parts)
    : m_path(FolderIn(m_folder.Path(), parts)),
      m_host(PathOf(parts.simulatedProcessor ? L"zorvanesimhost.exe" : L"zorvanehost.exe")),
      m_programFiles(ProgramFiles(parts.nvml)) {
    const std::filesystem::path folder = m_path;
    const std::filesystem::path sim = BuildFolder(L"sim");
    const std::filesystem::path bin = BuildFolder(L"bin");
    std::filesystem::create_directories(folder / L"Log");
    Copy(bin / L"Zorvane.dll", folder);
    Copy((parts.simulatedProcessor ? sim : bin) / std::filesystem::path(m_host).filename(), folder);
    const std::filesystem::path standIn = bin / L"platform-standin" / L"Platform.dll";
    if (parts.unpacked) {
        std::filesystem::create_directory(folder / L"platform-standin");
        Copy(standIn, folder / L"platform-standin");
    } else {
        Copy(parts.standIn ? standIn : sim / L"Platform.dll", folder);
    }
    Copy(sim / L"AMDRyzenMasterDriver.sys", folder);
    WriteFileBytes(PathOf(L"scenario.json"), parts.scenario);
    if (!parts.settings.empty()) {
        WriteFileBytes(SettingsPath(), parts.settings);
    }
}

std::unique_ptr<CChildProcess> CSimulatedMachine::StartWorker(const std::wstring& words) const {
    return std::make_unique<CChildProcess>(m_host, words, Environment());
}

std::vector<zorvane::EnvironmentChange> CSimulatedMachine::Environment() const {
    return {{L"ProgramW6432", m_programFiles},
            {L"ZORVANE_SIM_SCENARIO", PathOf(L"scenario.json")},
            {L"ZORVANE_SIM_CALL_LOG", PathOf(L"calls.log")}};
}

std::vector<std::string> CSimulatedMachine::LogMessages() const {
    return SiteMessages(SplitLines(ReadFileBytes(LogPath())));
}

std::vector<std::string> CSimulatedMachine::MessagesFromStop() const {
    std::vector<std::string> messages = LogMessages();
    const auto stop =
        std::find(messages.begin(), messages.end(), "[msgloopprocess] OnCopyData StopLoop");
    messages.erase(messages.begin(), stop);
    EXPECT_EQ(std::erase(messages, "[msgloopprocess] CMsgLoopProcess OnClose."), 1u);
    return messages;
}

std::vector<std::string> CSimulatedMachine::LogLines() const {
    std::vector<std::string> lines = SplitLines(ReadFileBytes(LogPath()));
    for (std::string& line : lines) {
        line.erase(0, line.find("[E]"));
    }
    return lines;
}

bool CSimulatedMachine::WaitForCall(const std::string& text) const {
    // A file of another process raises no event that Wine passes on.
    constexpr DWORD kPolls = 600;
    constexpr DWORD kPollMs = 50;
    for (DWORD poll = 0; poll < kPolls; ++poll) {
        if (ReadFileBytes(PathOf(L"calls.log")).find(text) != std::string::npos) {
            return true;
        }
        Sleep(kPollMs);
    }
    return false;
}

std::vector<std::string> CSimulatedMachine::Calls() const {
    std::vector<std::string> calls;
    std::istringstream text(ReadFileBytes(PathOf(L"calls.log")));
    for (std::string line; std::getline(text, line);) {
        calls.push_back(line);
    }
    return calls;
}
