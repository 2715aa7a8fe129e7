#include "monitor/report/secretwords.h"

#include "monitor/options/values.h"

namespace zorvane {
namespace {

// Bytes of UTF-8 beyond ASCII belong to words.
bool IsWordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    constexpr unsigned char kBeyondAscii = 0x80;
    return byte >= kBeyondAscii || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsWhole(const std::string& text, size_t begin, size_t length) {
    const size_t end = begin + length;
    return (begin == 0 || !IsWordByte(text[begin - 1])) &&
           (end == text.size() || !IsWordByte(text[end]));
}

std::string Without(const std::string& text, const std::string& word) {
    const std::string lower = LowerAscii(text);
    std::string result;
    size_t taken = 0;
    for (size_t at = lower.find(word); at != std::string::npos;
         at = lower.find(word, at + word.size())) {
        if (IsWhole(text, at, word.size())) {
            result += text.substr(taken, at - taken) + kMasked;
            taken = at + word.size();
        }
    }
    return result + text.substr(taken);
}

}  // namespace

void CSecretWords::Hide(const std::string& word) {
    if (!word.empty()) {
        m_words.insert(LowerAscii(word));
    }
}

std::string CSecretWords::Masked(const std::string& text) const {
    std::string result = text;
    for (const std::string& word : m_words) {
        result = Without(result, word);
    }
    return result;
}

}  // namespace zorvane
