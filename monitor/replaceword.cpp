#include "monitor/replaceword.h"

#include "monitor/options/values.h"

namespace zorvane {
namespace {

// Letters of other scripts are bytes from 0x80 on.
bool IsWordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
           (c >= 'a' && c <= 'z') || c == '_';
}

bool IsWord(const std::string& text, size_t begin, size_t end) {
    return (begin == 0 || !IsWordByte(text[begin - 1])) &&
           (end == text.size() || !IsWordByte(text[end]));
}

bool IsInPath(const std::string& text, size_t begin) {
    return begin > 0 && (text[begin - 1] == '\\' || text[begin - 1] == '/');
}

}  // namespace

std::string ReplaceWord(std::string text, const std::string& word, const std::string& with,
                        WordCase wordCase) {
    const std::string lowerWord = LowerAscii(word);
    size_t from = 0;
    while (!word.empty()) {
        const size_t begin = LowerAscii(text).find(lowerWord, from);
        if (begin == std::string::npos) {
            break;
        }
        const size_t end = begin + word.size();
        const bool isSame = wordCase == WordCase::kAny || IsInPath(text, begin) ||
                            text.compare(begin, word.size(), word) == 0;
        if (isSame && IsWord(text, begin, end)) {
            text.replace(begin, word.size(), with);
            from = begin + with.size();
        } else {
            from = begin + 1;
        }
    }
    return text;
}

}  // namespace zorvane
