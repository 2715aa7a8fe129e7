#include "monitor/commands/reset.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "base/cpuswitch.h"
#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/outcome.h"
#include "monitor/output.h"

namespace zorvane {
namespace {

constexpr wchar_t kOn[] = L"1";

// What it takes to write to the file.
const char* Remedy(const CallError& error) {
    switch (error.code) {
        case ERROR_ACCESS_DENIED:
            return ". Try again as administrator, and see that the file is not marked read-only";
        case ERROR_SHARING_VIOLATION:
            return ". Another program has the file open; end it and try again";
        default:
            return "";
    }
}

int PrintResult(const std::string& sentence) {
    return WriteAnswer(GetStdHandle(STD_OUTPUT_HANDLE), sentence + "\n") ? kExitDone : kExitOutput;
}

int Fail(const std::string& sentence) {
    WriteNote(sentence);
    return kExitOutput;
}

}  // namespace

void CResetCommand::Declare(CLI::App& app) {
    AddValue(app, "--host", m_host,
             "The host program beside which the settings are (default: zorvanehost.exe beside "
             "zorvanemon)",
             "PATH");
    app.footer("Example:\n  zorvanemon reset");
}

int CResetCommand::Run(const CommandContext& context) {
    const std::wstring host = m_host.empty() ? context.defaultHost : ToWide(m_host);
    std::error_code ignored;
    const std::wstring folder = FolderOf(std::filesystem::absolute(host, ignored).native());
    if (!std::filesystem::is_directory(folder, ignored)) {
        return Fail(fmt::format("there is no folder {}; --host takes the path of a host program",
                                ToUtf8(folder)));
    }
    const CCpuSwitch theSwitch(folder);
    const std::string path = ToUtf8(theSwitch.Path());
    if (theSwitch.IsOn()) {
        return PrintResult(
            fmt::format("The CPU temperature is switched on already; nothing was changed in "
                        "{}.",
                        path));
    }
    const auto error = theSwitch.Set(kOn);
    if (error) {
        return Fail(
            fmt::format("{} cannot be written: {}{}", path, Describe(*error), Remedy(*error)));
    }
    return PrintResult(
        fmt::format("The CPU temperature is switched on again in {}; the next start of a "
                    "worker will try it.",
                    path));
}

}  // namespace zorvane
