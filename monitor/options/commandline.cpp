#include "monitor/options/commandline.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <sstream>

#include "monitor/options/values.h"
#include "monitor/outcome.h"

namespace zorvane {
namespace {

using Words = std::vector<std::string>;

constexpr char kProgramDescription[] =
    "Starts a hardware-information worker and shows what it reports: NVIDIA GPUs and the AMD CPU "
    "temperature, once a second.";

constexpr char kProgramFooter[] =
    R"(Examples:
  zorvanemon --format csv --out today.csv --rotate-mib 10
  zorvanemon --format prometheus --out C:\textfile\zorvane.prom

Words for the worker:
  skip_delete   keeps the AMD driver service installed after the run
  -- WORDS      any others are passed on unchanged behind two dashes

Ctrl+C ends the worker in order; each further Ctrl+C presses harder: first the window that the
worker reports to is taken away, then the process is ended by force.

Exit codes:
  0  done as asked: the rounds or the time are over, Ctrl+C, or nobody reads the output any more
  1  the output, or the settings that reset changes, could not be written
  2  the command line is wrong
  3  the worker could not be started, or its host reported a failure
  4  no reading was received; from doctor: none can be
  5  the worker had to be ended by force
  6  after readings the worker ended by itself, or crashed under --no-restart, too early
  7  the time was over before all rounds of --count had come, or when readings had stopped
  8  the recording cannot be read, or not to its end
  9  the address to serve at is not to be had, or its port is in use
 10  the service could not be installed or removed, or does not run (service status))";

// Words that the worker knows.
const Words kWorkerWords = {"skip_delete"};

struct SplitWords {
    Words own;
    Words passedOn;
};

SplitWords SplitAtDashes(const Words& words) {
    const auto dashes = std::find(words.begin(), words.end(), "--");
    SplitWords split{{words.begin(), dashes}, {}};
    if (dashes != words.end()) {
        split.passedOn.assign(std::next(dashes), words.end());
    }
    return split;
}

ICommand* Find(const Commands& commands, const std::string& name) {
    const auto found = std::find_if(commands.begin(), commands.end(), [&](const auto& command) {
        return command->Name() == LowerAscii(name);
    });
    return found == commands.end() ? nullptr : found->get();
}

Words Names(const Commands& commands) {
    Words names;
    for (const auto& command : commands) {
        names.push_back(command->Name());
    }
    return names;
}

// The words with the command in front, and with one way to ask for help.
Words Normalise(const Commands& commands, Words words) {
    for (std::string& word : words) {
        if (word == "/?" || word == "-?") {
            word = "--help";
        }
    }
    if (!words.empty() && LowerAscii(words.front()) == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    if (words.empty() || !Find(commands, words.front())) {
        words.insert(words.begin(), commands.front()->Name());
    }
    words.front() = LowerAscii(words.front());
    return words;
}

std::string CheckWorkerWord(const Commands& commands, const std::string& word) {
    const std::string lower = LowerAscii(word);
    if (std::find(kWorkerWords.begin(), kWorkerWords.end(), lower) != kWorkerWords.end()) {
        return "";
    }
    if (Find(commands, word)) {
        return fmt::format("\"{}\" is a command; a command comes first", word);
    }
    Words known = Names(commands);
    known.insert(known.end(), kWorkerWords.begin(), kWorkerWords.end());
    return fmt::format(
        "\"{}\" is no command and no known word for the worker ({}); unknown words go behind --.{}",
        word, Listed(kWorkerWords), DidYouMean(word, known));
}

// The worker takes the last of equal keys, so these words would undo what the options say.
std::string CheckPassedWord(const std::string& word) {
    const std::string key = LowerAscii(word.substr(0, word.find('=')));
    const bool isReserved = key == "--wnd" || key == "--entry" || key == "--library" ||
                            key == "--nvml" || key == "--parent";
    return isReserved ? fmt::format("{} is set by zorvanemon itself and cannot be passed on", word)
                      : "";
}

std::string ListOfCommands(const Commands& commands) {
    std::string text = "Commands, each with a --help of its own:\n";
    for (const auto& command : commands) {
        text += fmt::format("  {:<12}  {}\n", command->Name(), command->Description());
    }
    return text;
}

void Declare(CLI::App& app, const Commands& commands) {
    app.require_subcommand(1);
    for (const auto& command : commands) {
        const bool isDefault = command == commands.front();
        CLI::App* part = app.add_subcommand(
            command->Name(), isDefault ? kProgramDescription : command->Description() + ".");
        part->allow_windows_style_options(false);
        part->set_help_flag("-h,--help", "Show this help (also -? and /?)");
        part->set_version_flag("-V,--version", "zorvanemon " ZORVANE_VERSION, "Show the version");
        command->Declare(*part);
        for (CLI::Option* option : part->get_options()) {
            option->disable_flag_override();
        }
        if (isDefault) {
            part->footer(ListOfCommands(commands) + "\n" + kProgramFooter);
        }
        if (CLI::Option* words = part->get_option_no_throw("WORDS")) {
            words->check(
                [&commands](const std::string& word) { return CheckWorkerWord(commands, word); });
        }
    }
}

// CLI11's complaint, behind the option's name without its dashes.
constexpr char kFlagWithValue[] = " was given a disallowed flag override";

// What CLI11 puts before the text of a check: the option's name.
std::string WithoutName(const std::string& text) {
    const size_t colon = text.find(": ");
    return colon == std::string::npos ? text : text.substr(colon + 2);
}

Words OptionNames(const CLI::App& part) {
    Words names;
    for (const CLI::Option* option : part.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back(name);
        }
    }
    return names;
}

std::string UnknownSentence(const CLI::App& part) {
    const Words unknown = part.remaining();
    const std::string word = unknown.empty() ? "" : unknown.front();
    if (!word.starts_with('-')) {
        return fmt::format("\"{}\" is one word too many for {}", word, part.get_name());
    }
    const std::string name = word.substr(0, word.find('='));
    // The dashes would count as letters that are right.
    const auto nearest =
        Nearest(name.substr(std::min(name.find_first_not_of('-'), name.size())), OptionNames(part));
    return fmt::format("{} has no option {}.{}", part.get_name(), name,
                       nearest ? " Did you mean --" + *nearest + "?" : "");
}

// The parts that a command is divided into, but those that are not for people.
Words PartNames(const CLI::App& command) {
    Words names;
    for (const CLI::App* part : command.get_subcommands([](const CLI::App*) { return true; })) {
        if (!part->get_group().empty()) {
            names.push_back(part->get_name());
        }
    }
    return names;
}

std::string MissingPartSentence(const CLI::App& command, const Words& parts) {
    const Words unknown = command.remaining();
    return unknown.empty()
               ? fmt::format("{} needs {}", command.get_name(), Listed(parts))
               : fmt::format("{} takes {}, not \"{}\".{}", command.get_name(), Listed(parts),
                             unknown.front(), DidYouMean(unknown.front(), parts));
}

std::string MistakeSentence(const CLI::ParseError& error, const CLI::App& part) {
    std::string text = error.what();
    const Words parts = PartNames(part);
    if (!parts.empty() && part.get_subcommands().empty()) {
        return MissingPartSentence(part, parts);
    }
    // CLI11 takes the value of an option that does not exist for a word.
    const Words unknown = part.remaining();
    const bool hasUnknownOption = !unknown.empty() && unknown.front().starts_with('-');
    if (hasUnknownOption || dynamic_cast<const CLI::ExtrasError*>(&error)) {
        return UnknownSentence(part);
    }
    if (dynamic_cast<const CLI::ValidationError*>(&error)) {
        return WithoutName(text);
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
        const size_t flag = text.find(kFlagWithValue);
        return flag == std::string::npos ? text.substr(0, text.find(':')) + " needs a value"
                                         : "--" + text.substr(0, flag) + " takes no value";
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error)) {
        return fmt::format("{} needs {}", part.get_name(), text.substr(0, text.find(' ')));
    }
    return text;
}

ParseEnd Wrong(std::string sentence, const std::string& command) {
    if (!sentence.ends_with('.') && !sentence.ends_with('?')) {
        sentence += '.';
    }
    return {kExitUsage,
            fmt::format("zorvanemon: {}\nRun zorvanemon {} --help for more.\n", sentence, command)};
}

}  // namespace

std::variant<Chosen, ParseEnd> ParseCommandLine(const Commands& commands, const Words& words) {
    const SplitWords split = SplitAtDashes(words);
    const Words own = Normalise(commands, split.own);
    ICommand* command = Find(commands, own.front());

    CLI::App app(kProgramDescription, "zorvanemon");
    Declare(app, commands);
    const CLI::App* part = app.get_subcommand(command->Name());
    try {
        app.parse(Words(own.rbegin(), own.rend()));
    } catch (const CLI::Success& success) {
        std::ostringstream text;
        app.exit(success, text, text);
        return ParseEnd{kExitDone, text.str()};
    } catch (const CLI::ParseError& error) {
        return Wrong(MistakeSentence(error, *part), command->Name());
    }
    if (!split.passedOn.empty() && !command->TakesWords()) {
        return Wrong(fmt::format("{} starts no worker that words could go to", command->Name()),
                     command->Name());
    }
    for (const std::string& word : split.passedOn) {
        if (std::string sentence = CheckPassedWord(word); !sentence.empty()) {
            return Wrong(std::move(sentence), command->Name());
        }
    }
    return Chosen{command, split.passedOn};
}

}  // namespace zorvane
