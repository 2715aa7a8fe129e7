#include "monitor/options/commandline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/commands/watch.h"
#include "monitor/outcome.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

struct Watched {
    WorkerSourceOptions source;
    RunLimits limits;
    ViewOptions view;
};

// What the watch command makes of the words.
Watched Parsed(const Words& words) {
    const Commands commands = MakeCommands();
    const auto result = ParseCommandLine(commands, words);
    if (const auto* end = std::get_if<ParseEnd>(&result)) {
        ADD_FAILURE() << end->text;
        return {};
    }
    const auto& chosen = std::get<Chosen>(result);
    const auto* watch = dynamic_cast<const CWatchCommand*>(chosen.command);
    if (!watch) {
        ADD_FAILURE() << "another command";
        return {};
    }
    return {watch->WorkerPart({L"C:\\default host.exe", chosen.passedOn}), watch->RunPart(),
            watch->DisplayPart()};
}

ParseEnd Refused(const Words& words) {
    const Commands commands = MakeCommands();
    const auto result = ParseCommandLine(commands, words);
    if (!std::holds_alternative<ParseEnd>(result)) {
        ADD_FAILURE() << "accepted: " << testing::PrintToString(words);
        return {};
    }
    return std::get<ParseEnd>(result);
}

// The first line of a refusal.
std::string Sentence(const Words& words) {
    const ParseEnd end = Refused(words);
    EXPECT_EQ(end.exitCode, kExitUsage);
    return end.text.substr(0, end.text.find('\n'));
}

TEST(CommandLineTest, HasWarningsWhereverReadingsArePassedOn) {
    for (const Words& words : {Words{"watch"}, {"record", "x"}, {"replay", "x"}, {"serve"}}) {
        Words withWarning = words;
        withWarning.insert(withWarning.end(), {"--warn", "moon"});
        EXPECT_THAT(Sentence(withWarning), HasSubstr("--warn knows ")) << words[0];
    }
}

TEST(CommandLineTest, HasDefaultsForEverything) {
    const Watched options = Parsed({});
    EXPECT_EQ(options.source.worker.host, L"C:\\default host.exe");
    EXPECT_EQ(options.source.worker.libraryPath, L"");
    EXPECT_EQ(options.source.worker.entry, L"zorvanemon");
    EXPECT_EQ(options.source.worker.nvml, L"");
    EXPECT_TRUE(options.source.worker.words.empty());
    EXPECT_TRUE(options.source.worker.environment.empty());
    EXPECT_TRUE(options.source.restart);
    EXPECT_FALSE(options.source.pausesOnBattery);
    EXPECT_FALSE(options.source.maxAge);
    EXPECT_EQ(options.source.stale.staleAfter, std::chrono::seconds(5));
    EXPECT_EQ(options.source.stale.restartAfter, std::chrono::seconds(30));
    EXPECT_EQ(options.view.format, "table");
    EXPECT_FALSE(options.limits.count);
    EXPECT_FALSE(options.limits.duration);
}

TEST(CommandLineTest, TakesEveryOption) {
    const Watched options = Parsed({"--host",
                                    "a b.exe",
                                    "--library=x.dll",
                                    "--entry",
                                    "\xC3\x84",
                                    "--nvml",
                                    "System",
                                    "--format",
                                    "json",
                                    "--count",
                                    "3",
                                    "--duration",
                                    "1.5",
                                    "--env",
                                    "A=1",
                                    "--env",
                                    "B=x=y",
                                    "--no-restart",
                                    "--stale-after",
                                    "60",
                                    "skip_delete",
                                    "--",
                                    "/word"});
    EXPECT_EQ(options.source.worker.host, L"a b.exe");
    EXPECT_EQ(options.source.worker.libraryPath, L"x.dll");
    EXPECT_EQ(options.source.worker.nvml, L"system");
    EXPECT_EQ(options.source.worker.entry, L"\x00C4");
    EXPECT_EQ(options.view.format, "json");
    EXPECT_EQ(options.limits.count, 3u);
    EXPECT_EQ(options.limits.duration, std::chrono::milliseconds(1500));
    ASSERT_EQ(options.source.worker.environment.size(), 2u);
    EXPECT_EQ(options.source.worker.environment[1].name, L"B");
    EXPECT_EQ(options.source.worker.environment[1].value, L"x=y");
    EXPECT_FALSE(options.source.restart);
    EXPECT_EQ(options.source.stale.staleAfter, std::chrono::seconds(60));
    EXPECT_EQ(options.source.stale.restartAfter, std::chrono::seconds(60));
    EXPECT_EQ(options.source.worker.words, (std::vector<std::wstring>{L"skip_delete", L"/word"}));
}

TEST(CommandLineTest, TakesWhatKeepsAWorkerInALongRun) {
    EXPECT_TRUE(Parsed({"--on-battery", "Pause"}).source.pausesOnBattery);
    EXPECT_FALSE(Parsed({"--on-battery=run"}).source.pausesOnBattery);
    EXPECT_EQ(Parsed({"--max-age", "24"}).source.maxAge, std::chrono::hours(24));
    EXPECT_EQ(Parsed({"--max-age", "0.5"}).source.maxAge, std::chrono::minutes(30));
    EXPECT_EQ(Sentence({"--on-battery", "paus"}),
              "zorvanemon: --on-battery takes run or pause, not \"paus\". Did you mean pause?");
    for (const char* wrong : {"0", "-1", "nan", "1e9", "x"}) {
        EXPECT_EQ(Sentence({"--max-age", wrong}),
                  "zorvanemon: --max-age takes a number of hours above 0, up to 87600, not \"" +
                      std::string(wrong) + "\".");
    }
}

TEST(CommandLineTest, TakesTheCommandThatWatchesForGranted) {
    EXPECT_EQ(Parsed({"watch", "--count", "3"}).limits.count, 3u);
    EXPECT_EQ(Parsed({"WATCH", "--count", "3"}).limits.count, 3u);
}

TEST(CommandLineTest, TakesTheLastOfAnOptionThatIsGivenTwice) {
    EXPECT_EQ(Parsed({"--count", "3", "--count", "4"}).limits.count, 4u);
}

TEST(CommandLineTest, TakesValuesAndKnownWordsInAnyLetterCase) {
    EXPECT_EQ(Parsed({"--format", "JSON"}).view.format, "json");
    EXPECT_EQ(Parsed({"Skip_Delete"}).source.worker.words,
              std::vector<std::wstring>{L"Skip_Delete"});
}

TEST(CommandLineTest, DoesNotTakeAWordBehindAVariableForAnotherVariable) {
    const Watched options = Parsed({"--env", "A=1", "skip_delete"});
    EXPECT_EQ(options.source.worker.environment.size(), 1u);
    EXPECT_EQ(options.source.worker.words, std::vector<std::wstring>{L"skip_delete"});
}

TEST(CommandLineTest, PassesAnyWordsBehindTwoDashes) {
    EXPECT_EQ(Parsed({"--", "--count", "-x", "--", "replay", "/?"}).source.worker.words,
              (std::vector<std::wstring>{L"--count", L"-x", L"--", L"replay", L"/?"}));
}

TEST(CommandLineTest, StartsNoWorkerForAWordThatItDoesNotKnow) {
    EXPECT_EQ(Sentence({"skip_delte"}),
              "zorvanemon: \"skip_delte\" is no command and no known word for the worker "
              "(skip_delete); unknown words go behind --. Did you mean skip_delete?");
    EXPECT_THAT(Sentence({"recrod", "file"}), HasSubstr("Did you mean record?"));
    EXPECT_THAT(Sentence({"/x"}), HasSubstr("\"/x\" is no command"));
    EXPECT_EQ(Sentence({"--count", "3", "replay"}),
              "zorvanemon: \"replay\" is a command; a command comes first.");
}

TEST(CommandLineTest, RefusesWordsThatWouldUndoTheOptions) {
    for (const char* word :
         {"--wnd=5", "--WND", "--Entry=x", "--library=y", "--nvml=fixed", "--parent=1:2"}) {
        EXPECT_THAT(Sentence({"--", word}), HasSubstr(word));
    }
}

TEST(CommandLineTest, NamesWhatIsWrongWithAValue) {
    for (const char* count : {"0", "-1", "1.5", "x", ""}) {
        EXPECT_THAT(Sentence({"--count", count}), HasSubstr("--count")) << count;
    }
    EXPECT_EQ(Sentence({"--count", "x"}),
              "zorvanemon: --count takes a whole number of rounds from 1, not \"x\".");
    for (const char* seconds : {"0", "-1", "x", "nan", "1e10"}) {
        EXPECT_THAT(Sentence({"--duration", seconds}), HasSubstr("--duration")) << seconds;
        EXPECT_THAT(Sentence({"--stale-after", seconds}), HasSubstr("--stale-after")) << seconds;
    }
    for (const char* variable : {"A", "=x", ""}) {
        EXPECT_THAT(Sentence({"--env", variable}), HasSubstr("--env")) << variable;
    }
    EXPECT_EQ(
        Sentence({"--format", "jsno"}),
        "zorvanemon: --format takes table, json, csv or prometheus, not \"jsno\". Did you mean "
        "json?");
    EXPECT_EQ(Sentence({"--nvml", "fxied"}),
              "zorvanemon: --nvml takes auto, system or fixed, not \"fxied\". Did you mean fixed?");
    EXPECT_EQ(Sentence({"--host"}), "zorvanemon: --host needs a value.");
}

TEST(CommandLineTest, RefusesAValueForAnOptionThatTakesNone) {
    EXPECT_EQ(Sentence({"--no-restart=5"}), "zorvanemon: --no-restart takes no value.");
    EXPECT_EQ(Sentence({"record", "f", "--overwrite=no"}),
              "zorvanemon: --overwrite takes no value.");
    EXPECT_EQ(Sentence({"--help=x"}), "zorvanemon: --help takes no value.");
}

TEST(CommandLineTest, TakesWhatIsToBeWrittenAndWhere) {
    const ViewOptions view =
        Parsed({"--format", "csv", "--out", "\xC3\x84.csv", "--rotate-mib", "2", "--keep", "3",
                "--separator", "Semicolon", "--fields", "time,GPU_Name", "--interval", "2.5"})
            .view;
    EXPECT_EQ(view.out, L"\x00C4.csv");
    EXPECT_EQ(view.rotateAt, 2u << 20);
    EXPECT_EQ(view.keep, 3u);
    EXPECT_EQ(view.separator, ';');
    EXPECT_EQ(view.fields, (Words{"time", "gpu_name"}));
    EXPECT_EQ(view.interval, std::chrono::milliseconds(2500));
    EXPECT_EQ(Parsed({"--format", "csv", "--separator", "\t"}).view.separator, '\t');
    EXPECT_EQ(Parsed({}).view.keep, 5u);
}

TEST(CommandLineTest, NamesWhatIsWrongWithAnOutput) {
    EXPECT_THAT(Sentence({"--format", "csv", "--fields", "time,gpu_nam"}),
                testing::AllOf(HasSubstr("--fields knows no \"gpu_nam\". Did you mean gpu_name?"),
                               HasSubstr("There are: time, host, entry, ")));
    EXPECT_THAT(Sentence({"--format", "csv", "--fields", "time,,host"}), HasSubstr("no \"\"."));
    EXPECT_THAT(Sentence({"--format", "csv", "--fields", ""}), HasSubstr("--fields"));
    EXPECT_THAT(Sentence({"--format", "csv", "--separator", "x"}), HasSubstr("--separator takes"));
    EXPECT_THAT(Sentence({"--gpu", "x"}), HasSubstr("--gpu takes a PCI bus id such as 01:00.0"));
    EXPECT_THAT(Sentence({"--interval", "0"}), HasSubstr("--interval takes"));
    EXPECT_THAT(Sentence({"--out", ""}), HasSubstr("--out takes"));
    for (const char* size : {"0", "x", "1048577"}) {
        EXPECT_THAT(Sentence({"--out", "f", "--rotate-mib", size}),
                    HasSubstr("--rotate-mib takes a whole number from 1 to 1048576"));
    }
}

TEST(CommandLineTest, RefusesOptionsThatOtherOnesMakeMeaningless) {
    EXPECT_EQ(Sentence({"--fields", "time"}), "zorvanemon: --fields is for --format csv.");
    EXPECT_EQ(Sentence({"--format", "json", "--separator", "tab"}),
              "zorvanemon: --separator is for --format csv.");
    EXPECT_EQ(Sentence({"--rotate-mib", "1"}),
              "zorvanemon: --rotate-mib is for the file of --out.");
    EXPECT_THAT(Sentence({"--format", "prometheus", "--out", "f", "--rotate-mib", "1"}),
                HasSubstr("--rotate-mib is for files that grow"));
    EXPECT_EQ(Sentence({"--keep", "2"}), "zorvanemon: --keep requires --rotate-mib.");
}

TEST(CommandLineTest, NamesThePartsOfACommandThatHasSome) {
    EXPECT_EQ(Sentence({"service"}), "zorvanemon: service needs install, remove or status.");
    EXPECT_EQ(Sentence({"service", "instal"}),
              "zorvanemon: service takes install, remove or status, not \"instal\". Did you mean "
              "install?");
}

TEST(CommandLineTest, NamesAnOptionThatThereIsNot) {
    EXPECT_EQ(Sentence({"--cuont", "3"}),
              "zorvanemon: watch has no option --cuont. Did you mean --count?");
    EXPECT_EQ(Sentence({"--unknown=3"}), "zorvanemon: watch has no option --unknown.");
    EXPECT_EQ(Sentence({"replay", "f", "--host", "x"}), "zorvanemon: replay has no option --host.");
}

TEST(CommandLineTest, SaysWhatACommandNeedsAndWhatItDoesNotTake) {
    EXPECT_EQ(Sentence({"replay"}), "zorvanemon: replay needs FILE.");
    EXPECT_EQ(Sentence({"record"}), "zorvanemon: record needs FILE.");
    EXPECT_EQ(Sentence({"replay", "a", "b"}), "zorvanemon: \"b\" is one word too many for replay.");
    EXPECT_EQ(Sentence({"replay", "a", "--", "b"}),
              "zorvanemon: replay starts no worker that words could go to.");
    EXPECT_THAT(Sentence({"replay", "a", "--speed", "0"}), HasSubstr("--speed takes a number"));
    EXPECT_THAT(Sentence({"replay", "a", "--speed", "2", "--at-once"}), HasSubstr("--at-once"));
    EXPECT_THAT(Sentence({"record", "f", "x"}), HasSubstr("\"x\" is no command"));
}

TEST(CommandLineTest, PointsToTheHelpOfTheCommand) {
    EXPECT_THAT(Refused({"replay"}).text,
                testing::EndsWith("\nRun zorvanemon replay --help for more.\n"));
}

TEST(CommandLineTest, HelpsWithOptionsCommandsAndExitCodes) {
    for (const Words& words : {Words{"--help"}, Words{"-h"}, Words{"-?"}, Words{"/?"},
                               Words{"help"}, Words{"watch", "-h"}, Words{"--count", "3", "/?"}}) {
        const ParseEnd end = Refused(words);
        EXPECT_EQ(end.exitCode, kExitDone);
        for (const char* text :
             {"--host", "--library", "--entry", "--format", "--count", "--duration", "--env",
              "--no-restart", "--stale-after", "--nvml", "skip_delete", "Exit codes", "\n  8  ",
              "record", "replay", "reset"}) {
            EXPECT_THAT(end.text, HasSubstr(text));
        }
    }
    for (const Words& words : {Words{"replay", "--help"}, Words{"help", "replay"}}) {
        EXPECT_THAT(Refused(words).text, HasSubstr("--at-once"));
        EXPECT_THAT(Refused(words).text, HasSubstr("zorvanemon replay today.jsonl"));
    }
}

TEST(CommandLineTest, TellsItsVersion) {
    for (const Words& words : {Words{"--version"}, Words{"-V"}, Words{"replay", "-V"}}) {
        const ParseEnd end = Refused(words);
        EXPECT_EQ(end.exitCode, kExitDone);
        EXPECT_EQ(end.text, "zorvanemon " ZORVANE_VERSION "\n");
    }
}

TEST(CommandLineTest, RefusesWhatServeAndListCannotUse) {
    const struct {
        Words words;
        const char* sentence;
    } rows[] = {
        {{"serve", "--listen", "9836"},
         "zorvanemon: --listen takes an address and a port, such as 127.0.0.1:9836 or [::1]:9836, "
         "not \"9836\"."},
        {{"serve", "--allow-host", "gpu7:9836"},
         "zorvanemon: --allow-host takes a name without a port, not \"gpu7:9836\"."},
        {{"serve", "--allow-host", ""},
         "zorvanemon: --allow-host takes a name without a port, not \"\"."},
        {{"serve", "--history", "0"},
         "zorvanemon: --history takes a number of seconds above 0, not \"0\"."},
        {{"list", "--wait", "soon"},
         "zorvanemon: --wait takes a number of seconds above 0, not \"soon\"."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Sentence(row.words), row.sentence);
    }
}

}  // namespace
}  // namespace zorvane
