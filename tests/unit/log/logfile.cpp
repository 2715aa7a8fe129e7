#include "logfile.h"

#include <regex>

#include "support/tempfolder.h"

// MinGW looks this function up at run time, for the sake of older runtime libraries.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is the toolchain's.
extern "C" void* __imp__localtime64_s;

std::vector<std::string> LogTexts(const std::wstring& path) {
    static const std::regex s_stamp(
        R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d \[ *\d+\]\[ *\d+\]\[\w*\])");
    const std::string bytes = ReadFileBytes(path);
    std::vector<std::string> texts;
    for (size_t start = 0; start < bytes.size();) {
        const size_t end = bytes.find("\r\n", start);
        const std::string line = bytes.substr(start, end - start);
        std::smatch stamp;
        const bool whole =
            end != std::string::npos &&
            std::regex_search(line, stamp, s_stamp, std::regex_constants::match_continuous) &&
            !std::regex_search(stamp.suffix().str(), s_stamp);
        texts.push_back(whole ? stamp.suffix().str() : "torn: " + line);
        start = end == std::string::npos ? bytes.size() : end + 2;
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
