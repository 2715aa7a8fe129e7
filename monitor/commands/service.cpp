#include "monitor/commands/service.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <utility>
#include <variant>

#include "base/commandline.h"
#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/options/commandline.h"
#include "monitor/options/values.h"
#include "monitor/outcome.h"
#include "monitor/output.h"
#include "monitor/service/eventlog.h"
#include "monitor/service/servicecontrol.h"
#include "monitor/service/servicerun.h"

namespace zorvane {
namespace {

using Words = std::vector<std::string>;

struct Account {
    const char* name;
    const wchar_t* windowsName;
};

// Accounts without a password, which therefore need not be stored.
constexpr Account kAccounts[] = {
    {"LocalSystem", L"LocalSystem"},
    {"LocalService", L"NT AUTHORITY\\LocalService"},
    {"NetworkService", L"NT AUTHORITY\\NetworkService"},
};

const Account* FindAccount(const std::string& name) {
    for (const Account& account : kAccounts) {
        if (LowerAscii(account.name) == LowerAscii(name)) {
            return &account;
        }
    }
    return nullptr;
}

std::string CheckAccount(const std::string& text) {
    Words names;
    for (const Account& account : kAccounts) {
        names.emplace_back(account.name);
    }
    return FindAccount(text) ? ""
                             : fmt::format("--account takes {}, not \"{}\"", Listed(names), text);
}

std::string CheckName(const std::string& text) {
    constexpr size_t kLongest = 256;
    const std::wstring name = ToWide(text);
    const bool isName = !name.empty() && name.size() <= kLongest &&
                        name.find_first_of(L"/\\") == std::wstring::npos;
    return isName ? "" : fmt::format("--name takes a name without slashes, not \"{}\"", text);
}

int Refuse(const std::string& why) {
    WriteNote("service: " + why);
    return kExitUsage;
}

int Fail(const CallError& error) {
    WriteNote(error.code == ERROR_ACCESS_DENIED
                  ? "service: this needs administrator rights: " + Describe(error)
                  : "service: " + Describe(error));
    return kExitService;
}

// The exit code: kExitOutput if nobody is told.
int Say(const std::string& text) {
    return WriteAnswer(GetStdHandle(STD_OUTPUT_HANDLE), text + "\n") ? kExitDone : kExitOutput;
}

// The command that the service is to run, or why it cannot be.
std::variant<ICommand*, std::string> FindUnattended(const Commands& commands, const Words& words,
                                                    Words& passedOn) {
    if (words.empty()) {
        return "install needs the command that is to run, such as: watch --format csv --out FILE";
    }
    const auto parsed = ParseCommandLine(commands, words);
    if (const auto* end = std::get_if<ParseEnd>(&parsed)) {
        return end->text;
    }
    const auto& chosen = std::get<Chosen>(parsed);
    passedOn = chosen.passedOn;
    if (std::string obstacle = chosen.command->ObstacleAsService(); !obstacle.empty()) {
        return obstacle;
    }
    return chosen.command;
}

std::wstring ServiceCommandLine(const std::string& name, const Words& words) {
    std::wstring line =
        L"\"" + ModulePath(nullptr) + L"\" service run --name " + QuoteWord(ToWide(name));
    for (const std::string& word : words) {
        line += L" " + QuoteWord(ToWide(word));
    }
    return line;
}

std::string LastEnd(const ServiceState& state) {
    if (state.exitCode == ERROR_SERVICE_NEVER_STARTED) {
        return "it has not run since Windows was started";
    }
    if (state.exitCode == ERROR_SERVICE_SPECIFIC_ERROR) {
        return fmt::format("it ended with exit code {}", state.ownExitCode);
    }
    return state.exitCode == ERROR_SUCCESS ? "it ended in order"
                                           : ToUtf8(L"it ended: " + DescribeCode(state.exitCode));
}

}  // namespace

void CServiceCommand::Declare(CLI::App& app) {
    app.require_subcommand(1);
    CLI::App* install = app.add_subcommand("install", "Make the service, or change it");
    CLI::App* remove =
        app.add_subcommand("remove", "Stop the service and take it out of Windows' list");
    CLI::App* status = app.add_subcommand("status", "Say whether it runs, as whom, and what");
    CLI::App* run = app.add_subcommand("run", "What Windows starts; not for people")->group("");
    const std::pair<CLI::App*, Action> parts[] = {{install, &CServiceCommand::Install},
                                                  {remove, &CServiceCommand::Remove},
                                                  {status, &CServiceCommand::Status},
                                                  {run, &CServiceCommand::RunUnattended}};
    for (const auto& [part, action] : parts) {
        // The parser is gone when the command runs.
        part->callback([this, part = part, action = action] {
            m_action = action;
            m_words = part->remaining();
        });
        part->allow_windows_style_options(false);
        part->set_help_flag("-h,--help", "Show this help (also -? and /?)");
        AddValue(*part, "--name", m_name, "The service's name (zorvanemon)", "NAME")
            ->check(CheckName);
    }
    AddValue(*install, "--account", m_account,
             "LocalSystem, which the CPU temperature needs; LocalService; NetworkService",
             "ACCOUNT")
        ->check(CheckAccount);
    install->add_flag("--start", m_start, "Start it now, not only with Windows");
    install->footer(
        "Behind its own options stands what the service is to run, as on any command line of\n"
        "zorvanemon, with full paths. Examples:\n"
        "  zorvanemon service install --start watch --format csv --out C:\\Readings\\gpu.csv "
        "--rotate-mib 10 --keep 5\n"
        "  zorvanemon service install --start watch --format prometheus --out "
        "C:\\Readings\\zorvane.prom");
    // What follows the first word that is not install's own belongs to the command that will run.
    install->prefix_command();
    run->prefix_command();
}

int CServiceCommand::Run(const CommandContext& context) { return (this->*m_action)(context); }

std::vector<std::string> CServiceCommand::RunWords(const CommandContext& context) const {
    Words words = m_words;
    if (!context.passedOn.empty()) {
        words.emplace_back("--");
        words.insert(words.end(), context.passedOn.begin(), context.passedOn.end());
    }
    return words;
}

int CServiceCommand::Install(const CommandContext& context) const {
    const Words words = RunWords(context);
    const Commands commands = MakeCommands();
    Words passedOn;
    const auto found = FindUnattended(commands, words, passedOn);
    if (const auto* why = std::get_if<std::string>(&found)) {
        return Refuse(*why);
    }
    ServiceChange change = ServiceChange::kCreated;
    const std::wstring name = ToWide(m_name);
    const Account& account = *FindAccount(m_account);
    if (const auto error = InstallService(
            {name, ServiceCommandLine(m_name, words), account.windowsName}, change)) {
        return Fail(*error);
    }
    if (const auto error = AddEventSource(name)) {
        return Fail(*error);
    }
    const int told =
        Say(fmt::format("The service \"{}\" was {}; it runs as {} and starts with Windows.", m_name,
                        change == ServiceChange::kCreated ? "made" : "changed", account.name));
    if (!m_start) {
        return told;
    }
    if (const auto error = StartInstalledService(name)) {
        return Fail(*error);
    }
    return Say("It runs.");
}

int CServiceCommand::Remove(const CommandContext&) const {
    const std::wstring name = ToWide(m_name);
    bool existed = false;
    if (const auto error = RemoveService(name, existed)) {
        return Fail(*error);
    }
    if (const auto error = RemoveEventSource(name)) {
        return Fail(*error);
    }
    return Say(existed ? fmt::format("The service \"{}\" was stopped and removed.", m_name)
                       : fmt::format("There is no service \"{}\".", m_name));
}

int CServiceCommand::Status(const CommandContext&) const {
    std::optional<ServiceState> state;
    if (const auto error = QueryService(ToWide(m_name), state)) {
        return Fail(*error);
    }
    if (!state) {
        Say(fmt::format("There is no service \"{}\".", m_name));
        return kExitService;
    }
    const bool isRunning = state->state == SERVICE_RUNNING;
    const std::string detail =
        isRunning ? fmt::format("process {}", state->processId) : LastEnd(*state);
    const int told = Say(fmt::format("The service \"{}\" is {} ({}).\n  account  {}\n  runs     {}",
                                     m_name, StateWord(state->state), detail,
                                     ToUtf8(state->account), ToUtf8(state->commandLine)));
    return isRunning ? told : kExitService;
}

int CServiceCommand::RunUnattended(const CommandContext& context) const {
    const Commands commands = MakeCommands();
    CommandContext unattended = context;
    const auto found = FindUnattended(commands, RunWords(context), unattended.passedOn);
    if (const auto* why = std::get_if<std::string>(&found)) {
        return Refuse(*why);
    }
    CEventLogView eventLog(ToWide(m_name));
    unattended.companions.push_back(&eventLog);
    ICommand* command = std::get<ICommand*>(found);
    int exitCode = kExitDone;
    const auto error = RunAsService(ToWide(m_name), [&] {
        exitCode = command->Run(unattended);
        eventLog.Write({EventLogId::kStopped,
                        static_cast<WORD>(exitCode == kExitDone ? EVENTLOG_INFORMATION_TYPE
                                                                : EVENTLOG_ERROR_TYPE),
                        fmt::format("zorvanemon has ended with exit code {}.", exitCode)});
        return exitCode;
    });
    return error ? Fail(*error) : exitCode;
}

}  // namespace zorvane
