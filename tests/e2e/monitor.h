/** zorvanemon on a simulated machine. */
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"

/** Starts zorvanemon with these words, which may begin with a command, and the machine's host. */
inline std::unique_ptr<CChildProcess> StartMonitor(const CSimulatedMachine& machine,
                                                   const std::wstring& words) {
    return std::make_unique<CChildProcess>(BuildFolder(L"bin") + L"\\zorvanemon.exe",
                                           words + L" --host \"" + machine.Host() + L"\"",
                                           machine.Environment());
}

/** The JSON lines so far; the last one may just be on its way. */
inline std::vector<nlohmann::json> JsonLines(const CChildProcess& monitor) {
    std::vector<nlohmann::json> lines;
    std::istringstream text(monitor.Output());
    for (std::string line; std::getline(text, line);) {
        if (!text.eof()) {
            lines.push_back(nlohmann::json::parse(line));
        }
    }
    return lines;
}
