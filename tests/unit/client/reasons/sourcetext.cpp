#include "tests/unit/client/reasons/sourcetext.h"

#include <cctype>
#include <map>
#include <stdexcept>

#include "tests/support/tempfolder.h"

namespace {

enum class TokenKind { kName, kText, kWideText, kOther };

struct Token {
    TokenKind kind;
    std::string text;
};

bool IsNamePart(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) || character == '_';
}

// The position behind a comment or a blank at `at`, else `at`.
size_t SkipBlank(const std::string& text, size_t at) {
    if (text.compare(at, 2, "//") == 0) {
        return std::min(text.find('\n', at), text.size());
    }
    if (text.compare(at, 2, "/*") == 0) {
        return std::min(text.find("*/", at), text.size() - 2) + 2;
    }
    return std::isspace(static_cast<unsigned char>(text[at])) ? at + 1 : at;
}

char Escaped(char character) {
    static const std::map<char, char> kEscapes = {
        {'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'0', '\0'}, {'"', '"'}, {'\'', '\''}, {'\\', '\\'}};
    const auto found = kEscapes.find(character);
    if (found == kEscapes.end()) {
        throw std::runtime_error(std::string("an escape not known here: \\") + character);
    }
    return found->second;
}

// Reads a literal whose opening quote is at `at`; leaves `at` behind its end.
std::string TakeQuoted(const std::string& text, size_t& at) {
    const char quote = text[at++];
    std::string value;
    for (; text.at(at) != quote; ++at) {
        value += text[at] == '\\' ? Escaped(text.at(++at)) : text[at];
    }
    ++at;
    return value;
}

Token TakeToken(const std::string& text, size_t& at) {
    if (text.compare(at, 2, "L\"") == 0) {
        ++at;
        return {TokenKind::kWideText, TakeQuoted(text, at)};
    }
    // The digits' quote of 1'000 stands inside a name part and never gets here.
    if (text[at] == '"' || text[at] == '\'') {
        return {TokenKind::kText, TakeQuoted(text, at)};
    }
    const size_t begin = at++;
    if (!IsNamePart(text[begin])) {
        return {TokenKind::kOther, text.substr(begin, 1)};
    }
    while (at < text.size() &&
           (IsNamePart(text[at]) ||
            (text[at] == '\'' && std::isdigit(static_cast<unsigned char>(text[begin]))))) {
        ++at;
    }
    return {TokenKind::kName, text.substr(begin, at - begin)};
}

// Adjacent literals are one, as for the compiler.
std::vector<Token> Tokens(const std::string& text) {
    std::vector<Token> tokens;
    for (size_t at = 0; at < text.size();) {
        if (const size_t next = SkipBlank(text, at); next != at) {
            at = next;
            continue;
        }
        Token token = TakeToken(text, at);
        if (token.kind == TokenKind::kWideText && !tokens.empty() &&
            tokens.back().kind == TokenKind::kWideText) {
            tokens.back().text += token.text;
        } else {
            tokens.push_back(std::move(token));
        }
    }
    return tokens;
}

std::string BaseName(const std::string& path) {
    const size_t begin = path.rfind('\\') + 1;
    return path.substr(begin, path.rfind('.') - begin);
}

bool IsSource(const std::filesystem::path& path) {
    return path.extension() == ".cpp" || path.extension() == ".h";
}

template <typename Action>
void ForEachSource(const std::filesystem::path& folder, Action action) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && IsSource(entry.path())) {
            action(entry.path().filename().string(), ReadFileBytes(entry.path().wstring()));
        }
    }
}

}  // namespace

std::vector<LogSite> LogSitesOf(const std::string& file, const std::string& text) {
    const std::vector<Token> tokens = Tokens(text);
    std::vector<LogSite> sites;
    std::string source;
    for (size_t at = 0; at + 2 < tokens.size(); ++at) {
        // constexpr char kLogSource[] = "folder\\name.cpp";
        if (tokens[at].text == "kLogSource" && tokens[at + 1].text == "[") {
            source = BaseName(tokens.at(at + 4).text);
        }
        const bool isDefinition = at > 0 && tokens[at - 1].text == "define";
        if (tokens[at].kind == TokenKind::kName && tokens[at].text == "LOG_INFO" && !isDefinition) {
            const Token& format = tokens[at + 2];
            sites.push_back({file, source, format.kind == TokenKind::kWideText ? format.text : ""});
        }
    }
    return sites;
}

std::vector<LogSite> LogSitesBelow(const std::filesystem::path& folder) {
    std::vector<LogSite> sites;
    ForEachSource(folder, [&](const std::string& file, const std::string& text) {
        const std::vector<LogSite> found = LogSitesOf(file, text);
        sites.insert(sites.end(), found.begin(), found.end());
    });
    return sites;
}

std::vector<std::string> WideLiteralsBelow(const std::filesystem::path& folder) {
    std::vector<std::string> literals;
    ForEachSource(folder, [&](const std::string&, const std::string& text) {
        for (const Token& token : Tokens(text)) {
            if (token.kind == TokenKind::kWideText) {
                literals.push_back(token.text);
            }
        }
    });
    return literals;
}
