#include "src/process/commandlineargs.h"

#include <windows.h>

#include <shellapi.h>
#include <wchar.h>
#include <wctype.h>

#include <algorithm>
#include <memory>

namespace {

std::wstring Trim(const std::wstring& text) {
    const auto isSpace = [](wchar_t character) { return iswspace(character) != 0; };
    const auto first = std::find_if_not(text.begin(), text.end(), isSpace);
    const auto last = std::find_if_not(text.rbegin(), text.rend(), isSpace).base();
    return first < last ? std::wstring(first, last) : std::wstring();
}

std::wstring ToUpper(std::wstring text) {
    _wcsupr_s(text.data(), text.size() + 1);
    return text;
}

struct LocalFreeDeleter {
    void operator()(void* memory) const { LocalFree(memory); }
};

}  // namespace

CommandLineWord::CommandLineWord(const std::wstring& word) {
    const size_t equals = word.find(L'=');
    key = Trim(word.substr(0, equals));
    if (equals == std::wstring::npos) {
        return;
    }
    value = Trim(word.substr(equals + 1));
    if (value.starts_with(L'"')) {
        value.erase(0, 1);
    }
    if (value.ends_with(L'"')) {
        value.pop_back();
    }
}

void CommandLineArgs::SetCommandLine(const wchar_t* commandLine) { m_commandLine = commandLine; }

bool CommandLineArgs::Parse() {
    m_arguments.clear();
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalFreeDeleter> words(
        CommandLineToArgvW(m_commandLine.c_str(), &count));
    if (!words) {
        return false;
    }
    for (int index = 0; index < count; ++index) {
        const CommandLineWord word(words.get()[index]);
        SetValue(word.key, word.value);
    }
    return true;
}

bool CommandLineArgs::SetValue(const std::wstring& key, const std::wstring& value) {
    m_arguments[ToUpper(key)] = value;
    return true;
}

bool CommandLineArgs::GetValue(const std::wstring& key, std::wstring& value) const {
    const auto found = m_arguments.find(ToUpper(key));
    if (found == m_arguments.end()) {
        return false;
    }
    value = found->second;
    return true;
}
