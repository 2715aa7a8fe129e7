#include "host/hostwords.h"

#include "src/process/commandlineargs.h"

const char kHostHelp[] =
    R"(zorvanehost runs Zorvane.dll for a stub: it hands its command line to the library and ends
when the worker has ended.

  --wnd=N          the stub window's handle, in decimal
  --entry=NAME     the worker's name, which comes back in every message
  --library=PATH   another library than the Zorvane.dll beside this program
  --parent=ID:TIME the stub's process: its id and its creation time (GetProcessTimes, as one
                   number), both in decimal. When that process has gone the worker is asked to end,
                   and ended by force when it has not done so within 15 seconds.
  --nvml=WHICH     NVIDIA's library: auto (the default) takes the one in the NVSMI folder, or, where
                   there is none, the system folder's; system takes the system folder's; fixed looks
                   into the NVSMI folder only
  skip_delete      anywhere in the line: leave AMD's driver service installed at the end
  --help           this text

Exit codes:
  0  the worker ended in order
  2  the library is missing
  3  a library that it needs is missing or broken
  4  the library lacks the export ZorvaneProcess
  5  Windows refuses the library's file
  8  a word for the host has a wrong value
  9  ended by force: the stub had gone and the worker did not end
A code of 0xC0000000 or above is that of a crash.
)";

HostWords ReadHostWords(const wchar_t* commandLine, std::wstring& error) {
    CommandLineArgs args;
    args.SetCommandLine(commandLine);
    args.Parse();

    HostWords words;
    std::wstring value;
    for (const wchar_t* word : {L"--help", L"-h", L"-?", L"/?"}) {
        if (!args.GetValue(word, value)) {
            continue;
        }
        words.help = true;
        if (!value.empty()) {
            error = std::wstring(word) + L" takes no value, and got \"" + value + L"\"";
        }
    }
    if (args.GetValue(L"--library", value)) {
        words.libraryPath = value;
    }
    if (args.GetValue(L"--nvml", value)) {
        const auto choice = ParseNvmlChoice(value);
        words.nvml = choice.value_or(words.nvml);
        if (!choice) {
            error = L"--nvml takes auto, system or fixed, and got \"" + value + L"\"";
        }
    }
    if (args.GetValue(L"--parent", value)) {
        words.parent = zorvane::ParseIdentity(value);
        if (!words.parent) {
            error =
                L"--parent wants ID:TIME, a process's id and creation time in decimal, and got \"" +
                value + L"\"";
        }
    }
    return words;
}
