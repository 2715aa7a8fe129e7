#include "monitor/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <sstream>

#include "base/text.h"
#include "monitor/outcome.h"

namespace zorvane {
namespace {

constexpr char kDescription[] =
    "Starts a hardware-information worker and shows what it reports: NVIDIA GPUs and the AMD CPU "
    "temperature, once a second.";

constexpr char kFooter[] =
    R"(Words are passed on to the worker unchanged; put -- before words that begin with a dash.
  skip_delete   keeps the AMD driver service installed after the run

Ctrl+C ends the worker in order; each further Ctrl+C presses harder: first the window that the
worker reports to is taken away, then the process is ended by force.

Exit codes:
  0  done as asked: the rounds or the time are over, Ctrl+C, or nobody reads the output any more
  1  the output could not be written
  2  the command line is wrong
  3  the worker could not be started, or its host reported a failure
  4  no reading was received
  5  the worker had to be ended by force
  6  after readings the worker ended by itself, or crashed under --no-restart, too early)";

// About 30 years: more does not fit the timers.
constexpr double kLongestSeconds = 1e9;

std::string LowerAscii(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

// The worker takes the last of equal keys, so these words would undo what the options say.
std::string CheckWord(const std::string& word) {
    const std::string key = LowerAscii(word.substr(0, word.find('=')));
    const bool isReserved = key == "--wnd" || key == "--entry" || key == "--library";
    return isReserved ? "the word " + word + " is zorvanemon's own to pass on" : "";
}

std::string CheckVariable(const std::string& text) {
    const size_t equals = text.find('=');
    const bool isChange = equals != std::string::npos && equals > 0;
    return isChange ? "" : "expected NAME=VALUE, found " + text;
}

std::string CheckSeconds(const std::string& text) {
    double seconds = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, seconds);
    const bool isInRange = seconds > 0 && seconds <= kLongestSeconds;
    return isNumber && isInRange ? "" : "expected a number of seconds above 0, found " + text;
}

std::string CheckCount(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() <= 18 &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    const bool isPositive = text.find_first_not_of('0') != std::string::npos;
    return isNumber && isPositive ? "" : "expected a whole number of rounds from 1, found " + text;
}

// What the command line fills, in its own types.
struct Raw {
    std::string host;
    std::string libraryPath;
    std::string entry = "zorvanemon";
    std::string format = "table";
    uint64_t count = 0;
    double seconds = 0;
    std::vector<std::string> variables;
    bool noRestart = false;
    std::vector<std::string> words;
};

void Declare(CLI::App& app, Raw& raw) {
    app.allow_windows_style_options(false);
    app.set_help_flag("--help", "Show this help");
    app.set_version_flag("--version", "zorvanemon " ZORVANE_VERSION, "Show the version");
    app.add_option("--host", raw.host,
                   "The host program (default: zorvanehost.exe beside zorvanemon)")
        ->type_name("PATH")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--library", raw.libraryPath, "The library (default: the one beside the host)")
        ->type_name("PATH")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--entry", raw.entry, "The worker's name, shown at most 31 characters long")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--format", raw.format, "A table, or one JSON object a line")
        ->type_name("table|json")
        ->check(CLI::IsMember({"table", "json"}).description(""))
        ->capture_default_str();
    app.add_option("--count", raw.count, "End after N complete rounds of readings")
        ->type_name("N")
        ->check(CheckCount);
    app.add_option("--duration", raw.seconds, "End after this many seconds")
        ->type_name("SECONDS")
        ->check(CheckSeconds);
    app.add_option("--env", raw.variables, "Set a variable for the worker only; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->check(CheckVariable);
    app.add_flag("--no-restart", raw.noRestart, "Do not start a worker again that crashed");
    app.add_option("WORDS", raw.words, "Further words of the worker's command line")
        ->type_name("")
        ->check(CheckWord);
    app.footer(kFooter);
}

Options Convert(const CLI::App& app, const Raw& raw, const std::wstring& defaultHost) {
    Options options;
    options.worker.host = raw.host.empty() ? defaultHost : ToWide(raw.host);
    options.worker.libraryPath = ToWide(raw.libraryPath);
    options.worker.entry = ToWide(raw.entry);
    for (const std::string& word : raw.words) {
        options.worker.words.push_back(ToWide(word));
    }
    for (const std::string& text : raw.variables) {
        const size_t equals = text.find('=');
        options.worker.environment.push_back(
            {ToWide(text.substr(0, equals)), ToWide(text.substr(equals + 1))});
    }
    options.format = raw.format == "json" ? Format::kJson : Format::kTable;
    if (app.count("--count") > 0) {
        options.count = raw.count;
    }
    if (app.count("--duration") > 0) {
        const double milliseconds = std::ceil(raw.seconds * 1000);
        options.duration = std::chrono::milliseconds(static_cast<int64_t>(milliseconds));
    }
    options.restart = !raw.noRestart;
    return options;
}

}  // namespace

std::variant<Options, ParseEnd> ParseOptions(std::vector<std::string> words,
                                             const std::wstring& defaultHost) {
    CLI::App app(kDescription, "zorvanemon");
    Raw raw;
    Declare(app, raw);
    try {
        std::reverse(words.begin(), words.end());
        app.parse(std::move(words));
    } catch (const CLI::Success& success) {
        std::ostringstream text;
        app.exit(success, text, text);
        return ParseEnd{kExitDone, text.str()};
    } catch (const CLI::ParseError& error) {
        return ParseEnd{kExitUsage, std::string("zorvanemon: ") + error.what() +
                                        "\nRun zorvanemon --help for more.\n"};
    }
    return Convert(app, raw, defaultHost);
}

}  // namespace zorvane
