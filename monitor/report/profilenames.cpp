#include "monitor/report/profilenames.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

// Folders of nobody, in lower case.
constexpr std::array<std::string_view, 4> kShared = {"all users", "default", "default user",
                                                     "public"};

}  // namespace

std::vector<std::string> ProfileNamesIn(const std::string& text) {
    constexpr std::string_view kUsers = ":\\users\\";
    std::string lower = LowerAscii(text);
    std::replace(lower.begin(), lower.end(), '/', '\\');
    std::vector<std::string> names;
    for (size_t at = lower.find(kUsers); at != std::string::npos; at = lower.find(kUsers, at)) {
        at += kUsers.size();
        // A path that ends with the name is known by the end of the text only.
        const size_t end = std::min(lower.find_first_of("\\:*?\"<>|", at), lower.size());
        const bool isName = end > at && (end == lower.size() || lower[end] == '\\');
        const std::string_view name = std::string_view(lower).substr(at, end - at);
        if (isName && std::find(kShared.begin(), kShared.end(), name) == kShared.end()) {
            names.push_back(text.substr(at, end - at));
        }
    }
    return names;
}

}  // namespace zorvane
