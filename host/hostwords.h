/** The words of the command line that are meant for the host. */
#pragma once

#include <optional>
#include <string>

#include "base/processidentity.h"
#include "host/nvmlchoice.h"

/** The library is given the whole command line and ignores these. */
struct HostWords {
    /** --help, -h, -? or /?. */
    bool help = false;
    /** --library=PATH; not set when the word is missing, empty when its path is. */
    std::optional<std::wstring> libraryPath;
    /** --parent=ID:TIME: the stub's process. */
    std::optional<zorvane::ProcessIdentity> parent;
    /** --nvml=WHICH. */
    NvmlChoice nvml = NvmlChoice::kAuto;
};

/** Parses them. On failure `error` is one line that names the malformed word. */
HostWords ReadHostWords(const wchar_t* commandLine, std::wstring& error);

/** What --help prints: every word and every exit code. */
extern const char kHostHelp[];
