#include "tests/campaigns/commandlines.h"

#include <windows.h>

#include <shellapi.h>

#include <map>
#include <random>

#include "base/text.h"
#include "src/process/commandlineargs.h"

namespace {

using WordList = std::vector<std::wstring>;

WordList Split(const std::wstring& line) {
    int count = 0;
    LPWSTR* words = CommandLineToArgvW(line.c_str(), &count);
    WordList split(words, words + count);
    LocalFree(words);
    return split;
}

// The white space of the C locale, character by character.
bool IsBlank(wchar_t character) {
    return character == L' ' || (character >= L'\t' && character <= L'\r');
}

std::wstring Trimmed(std::wstring text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.erase(0, 1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.pop_back();
    }
    return text;
}

std::wstring Upper(std::wstring text) {
    for (wchar_t& character : text) {
        if (character >= L'a' && character <= L'z') {
            character = static_cast<wchar_t>(character - (L'a' - L'A'));
        }
    }
    return text;
}

// Keys in upper case, with the value of their last word.
std::map<std::wstring, std::wstring> Model(const WordList& words) {
    std::map<std::wstring, std::wstring> values;
    for (const std::wstring& word : words) {
        std::wstring key;
        size_t at = 0;
        while (at < word.size() && word[at] != L'=') {
            key += word[at++];
        }
        std::wstring value = at < word.size() ? Trimmed(word.substr(at + 1)) : L"";
        if (!value.empty() && value[0] == L'"') {
            value = value.substr(1);
        }
        if (!value.empty() && value[value.size() - 1] == L'"') {
            value.pop_back();
        }
        values[Upper(Trimmed(key))] = value;
    }
    return values;
}

// Mostly what means something to the rules.
std::wstring RandomLine(std::mt19937& random) {
    static constexpr const wchar_t* kPieces[] = {
        L"--wnd", L"--WND", L"--Entry", L"--entry", L"=",      L"=",      L"=",    L" ", L" ",
        L" ",     L"\t",    L"\"",      L"\"",      L"\\",     L"\\",     L"\\\"", L"a", L"Zq",
        L"1",     L"-7",    L"\v",      L"\r",      L"\x00E9", L"\xD83D", L"'",    L"/"};
    std::wstring line;
    for (size_t pieces = random() % 24; pieces > 0; --pieces) {
        line += kPieces[random() % std::size(kPieces)];
    }
    return line;
}

// Empty when the parser has just what the model has.
std::wstring Difference(const CommandLineArgs& args,
                        const std::map<std::wstring, std::wstring>& model) {
    for (const auto& [key, expected] : model) {
        std::wstring value = L"untouched";
        if (!args.GetValue(key, value) || value != expected) {
            return std::wstring(key)
                .append(L" is ")
                .append(value)
                .append(L" in place of ")
                .append(expected);
        }
    }
    for (const wchar_t* key : {L"--wnd", L"--ENTRY", L"", L"a", L"absent"}) {
        std::wstring value = L"untouched";
        const bool found = args.GetValue(key, value);
        if (found != model.contains(Upper(key)) || (!found && value != L"untouched")) {
            return std::wstring(key) + L" was found or lost";
        }
    }
    return {};
}

}  // namespace

LineFigures RunCommandLines(size_t lines, unsigned seed, const Reporter& report) {
    LineFigures figures;
    std::mt19937 random(seed);
    for (; figures.lines < lines; ++figures.lines) {
        const std::wstring line = RandomLine(random);
        const WordList words = Split(line);
        figures.words += words.size();
        CommandLineArgs args;
        args.SetCommandLine(line.c_str());
        const std::wstring difference =
            args.Parse() ? Difference(args, Model(words)) : L"it was not parsed";
        if (!difference.empty() && figures.findings++ < 20) {
            report("[" + zorvane::ToUtf8(line) + "]: " + zorvane::ToUtf8(difference));
        }
    }
    return figures;
}

std::string Summary(const LineFigures& figures) {
    return std::to_string(figures.lines) + " lines of " + std::to_string(figures.words) +
           " words; " + std::to_string(figures.findings) + " findings";
}
