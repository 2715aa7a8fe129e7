#include "monitor/doctor/masking.h"

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

std::string Replace(std::string text, const std::string& name, const char* with, bool anyCase) {
    const std::string lowerName = LowerAscii(name);
    size_t from = 0;
    while (!name.empty()) {
        const size_t begin = LowerAscii(text).find(lowerName, from);
        if (begin == std::string::npos) {
            break;
        }
        const size_t end = begin + name.size();
        const bool isSame =
            anyCase || IsInPath(text, begin) || text.compare(begin, name.size(), name) == 0;
        if (isSame && IsWord(text, begin, end)) {
            text.replace(begin, name.size(), with);
            from = begin + std::string(with).size();
        } else {
            from = begin + 1;
        }
    }
    return text;
}

}  // namespace

std::string CMasking::Apply(const std::string& text) const {
    return Replace(Replace(text, m_computer, "[computer]", true), m_user, "[user]", false);
}

}  // namespace zorvane
