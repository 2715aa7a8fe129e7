/** zorvanemon.exe as a process, for tests of its commands. */
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "base/modulepath.h"
#include "monitor/outcome.h"
#include "tests/support/childprocess.h"
#include "tests/unit/client/fakeworker.h"

namespace zorvane {

/** Runs zorvanemon.exe with a worker that behaves as told. */
class MonitorProcessTest : public testing::Test {
  protected:
    static constexpr DWORD kTimeoutMs = 60000;
    // A machine that is busy with other tests must not be taken for a silent worker.
    static std::wstring Patience(const std::wstring& options) {
        return options.find(L"--stale-after") == std::wstring::npos ? L" --stale-after 600" : L"";
    }

    // Starts zorvanemon with words only.
    void StartPlain(const std::wstring& words) {
        m_monitor = std::make_unique<CChildProcess>(
            ModuleFolder(nullptr) + L"..\\bin\\zorvanemon.exe", words);
    }

    // Starts a command with options, and the fake worker with a script.
    void Start(const std::wstring& options, const std::wstring& script) {
        StartPlain(options + Patience(options) + L" --host \"" + ModuleFolder(nullptr) +
                   L"fakeworker.exe" + L"\" -- " + script);
    }

    std::optional<DWORD> Run(const std::wstring& options, const std::wstring& script) {
        Start(options, script);
        return m_monitor->Wait(kTimeoutMs);
    }

    // False when that takes too long, or zorvanemon ends before.
    bool WaitUntil(const std::function<bool()>& done) const {
        const ULONGLONG end = GetTickCount64() + kTimeoutMs;
        while (GetTickCount64() < end) {
            if (done()) {
                return true;
            }
            if (m_monitor->Wait(20)) {
                return false;
            }
        }
        return false;
    }

    // Waits until so many workers have said hello.
    bool WaitForWorkers(ptrdiff_t count) const {
        return WaitUntil([this, count] {
            const std::vector<std::string> types = Types();
            return std::count(types.begin(), types.end(), "hello") >= count;
        });
    }

    // The lines that are about what the worker does, behind those about where they come from.
    std::vector<nlohmann::json> Lines() const {
        std::vector<nlohmann::json> lines = AllLines();
        std::erase_if(lines, [](const nlohmann::json& line) {
            return line.at("type") == "start" || line.at("type") == "worker_start";
        });
        return lines;
    }

    std::vector<nlohmann::json> AllLines() const {
        std::vector<nlohmann::json> lines;
        std::istringstream text(m_monitor->Output());
        for (std::string line; std::getline(text, line);) {
            // The last line may just be on its way.
            if (!text.eof()) {
                lines.push_back(nlohmann::json::parse(line));
            }
        }
        return lines;
    }

    std::vector<std::string> Types() const {
        std::vector<std::string> types;
        for (const nlohmann::json& line : Lines()) {
            types.push_back(line.at("type"));
        }
        return types;
    }

    std::unique_ptr<CChildProcess> m_monitor;
};

}  // namespace zorvane
