#include "base/environment.h"

#include <windows.h>

#include <map>
#include <memory>
#include <string_view>

namespace zorvane {
namespace {

struct CLessIgnoringCase {
    bool operator()(const std::wstring& left, const std::wstring& right) const {
        return CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                    static_cast<int>(right.size()), TRUE) == CSTR_LESS_THAN;
    }
};

struct CStringsFreer {
    void operator()(wchar_t* block) const { FreeEnvironmentStringsW(block); }
};

}  // namespace

std::wstring EnvironmentVariable(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    const DWORD length =
        GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
    // Another thread may have set a longer value in between.
    value.resize(length < value.size() ? length : 0);
    return value;
}

std::vector<wchar_t> ChangeEnvironment(const wchar_t* block,
                                       const std::vector<EnvironmentChange>& changes) {
    std::map<std::wstring, std::wstring, CLessIgnoringCase> variables;
    for (std::wstring_view text(block); !text.empty(); text = text.data() + text.size() + 1) {
        // Windows keeps each drive's current folder in a variable with a name like "=C:".
        const size_t equals = text.find(L'=', 1);
        if (equals == std::wstring_view::npos) {
            continue;
        }
        variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    for (const auto& [name, value] : changes) {
        variables[name] = value;
    }

    std::vector<wchar_t> result;
    for (const auto& [name, value] : variables) {
        result.insert(result.end(), name.begin(), name.end());
        result.push_back(L'=');
        result.insert(result.end(), value.begin(), value.end());
        result.push_back(L'\0');
    }
    if (result.empty()) {
        result.push_back(L'\0');
    }
    result.push_back(L'\0');
    return result;
}

std::vector<wchar_t> ChangedOwnEnvironment(const std::vector<EnvironmentChange>& changes) {
    const std::unique_ptr<wchar_t, CStringsFreer> block(GetEnvironmentStringsW());
    return ChangeEnvironment(block ? block.get() : L"", changes);
}

}  // namespace zorvane
