#include "tests/unit/log/loglines.h"

#include <regex>

#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"

// MinGW looks this function up at run time, for the sake of older runtime libraries.
extern "C" void* __imp__localtime64_s;

std::vector<std::string> LogTexts(const std::wstring& path) {
    static const std::regex kStamp(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d \[ *\d+\]\[ *\d+\]\[\w*\])");
    const std::string bytes = ReadFileBytes(path);
    std::vector<std::string> texts;
    for (const std::string& line : SplitLines(bytes)) {
        std::smatch stamp;
        const bool whole =
            std::regex_search(line, stamp, kStamp, std::regex_constants::match_continuous) &&
            !std::regex_search(stamp.suffix().str(), kStamp);
        texts.push_back(whole ? stamp.suffix().str() : "torn: " + line);
    }
    if (!bytes.empty() && !bytes.ends_with("\r\n")) {
        texts.push_back("torn: " + bytes.substr(bytes.rfind('\n') + 1));
    }
    return texts;
}

std::wstring LogMutexName(const std::wstring& path) {
    std::wstring name;
    for (const wchar_t character : path) {
        if (character != L':' && character != L'\\') {
            name += character;
        }
    }
    return name;
}

void** LocalTimeEntry() { return &__imp__localtime64_s; }
