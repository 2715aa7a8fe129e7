#include "client/c/options.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include "base/modulepath.h"
#include "base/text.h"

namespace zorvane {
namespace {

constexpr uint32_t kKnownFlags = kZorvaneNoRestart | kZorvaneKeepDriver;

// Of version 1.0.
constexpr uint32_t kFirstSize = offsetof(ZorvaneOptions, maxAgeSeconds);

// Members that a later version may have added; more than that is no size of a structure.
constexpr uint32_t kLargestSize = 4096;

constexpr uint32_t kLongestQueue = 1u << 20;

// Skips the members that this version does not know, provided that they ask for nothing.
bool IsZeroBehind(const ZorvaneOptions& given) {
    const auto* bytes = reinterpret_cast<const char*>(&given);
    return std::all_of(bytes + sizeof(given), bytes + given.size, [](char c) { return c == 0; });
}

std::string_view Text(const char* text, uint32_t length) {
    if (!text) {
        return {};
    }
    return length > 0 ? std::string_view(text, length) : std::string_view(text);
}

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (!line.empty()) {
            lines.push_back(line);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

void Set(std::chrono::milliseconds& time, uint32_t given) {
    if (given > 0) {
        time = std::chrono::milliseconds(given);
    }
}

void SetTimes(const ZorvaneOptions& given, KeeperOptions& keeper) {
    Set(keeper.stale.staleAfter, given.staleAfterMs);
    Set(keeper.stale.restartAfter, given.restartAfterMs);
    keeper.stale.restartAfter = std::max(keeper.stale.restartAfter, keeper.stale.staleAfter);
    Set(keeper.stop.afterAsking, given.afterAskingMs);
    Set(keeper.stop.afterTakingWindow, given.afterWindowMs);
    if (given.maxAgeSeconds > 0) {
        keeper.maxAge = std::chrono::seconds(given.maxAgeSeconds);
    }
}

std::optional<OptionFault> SetVariables(std::string_view lines, WorkerCommand& worker) {
    for (const std::string_view line : Lines(lines)) {
        const size_t equals = line.find('=');
        if (equals == 0 || equals == std::string_view::npos) {
            return OptionFault{"variables", "not NAME=VALUE: " + std::string(line)};
        }
        worker.environment.push_back(
            {ToWide(line.substr(0, equals)), ToWide(line.substr(equals + 1))});
    }
    return std::nullopt;
}

std::optional<OptionFault> SetWorker(const ZorvaneOptions& given, WorkerCommand& worker) {
    const std::string_view host = Text(given.host, given.hostLength);
    const std::string_view entry = Text(given.entry, given.entryLength);
    worker.host = host.empty() ? ModuleFolder(ThisModule()) + L"zorvanehost.exe" : ToWide(host);
    worker.libraryPath = ToWide(Text(given.library, given.libraryLength));
    worker.entry = entry.empty() ? L"zorvane" : ToWide(entry);
    for (const std::string_view word : Lines(Text(given.words, given.wordsLength))) {
        worker.words.emplace_back(ToWide(word));
    }
    if (given.flags & kZorvaneKeepDriver) {
        worker.words.emplace_back(L"skip_delete");
    }
    return SetVariables(Text(given.variables, given.variablesLength), worker);
}

// Whether it is the size of this version, of an earlier one or of a later one.
bool IsKnownSize(uint32_t size) {
    return size == kFirstSize || (size >= sizeof(ZorvaneOptions) && size <= kLargestSize);
}

std::optional<OptionFault> ReadWhole(const ZorvaneOptions& given, ClientOptions& options) {
    if (given.flags & ~kKnownFlags) {
        return OptionFault{"flags", "unknown flags in " + std::to_string(given.flags)};
    }
    if (given.queueLength > kLongestQueue) {
        return OptionFault{"queueLength", std::to_string(given.queueLength) + ", at most " +
                                              std::to_string(kLongestQueue)};
    }
    if (given.reserved != 0) {
        return OptionFault{"reserved", std::to_string(given.reserved) + ", expected 0"};
    }
    options.keeper.restart = (given.flags & kZorvaneNoRestart) == 0;
    options.queueLength = given.queueLength > 0 ? given.queueLength : options.queueLength;
    options.callback = given.callback;
    options.context = given.context;
    SetTimes(given, options.keeper);
    return SetWorker(given, options.keeper.worker);
}

}  // namespace

std::optional<OptionFault> ReadOptions(const ZorvaneOptions& given, ClientOptions& options) {
    if (!IsKnownSize(given.size)) {
        return OptionFault{"size", std::to_string(given.size) + " bytes, expected " +
                                       std::to_string(sizeof(given))};
    }
    if (given.size > sizeof(given) && !IsZeroBehind(given)) {
        return OptionFault{"size", "members are set that this version does not know"};
    }
    // What the program's version does not have is 0; behind its end there is memory of its own.
    ZorvaneOptions whole{};
    std::memcpy(&whole, &given, std::min<size_t>(given.size, sizeof(whole)));
    return ReadWhole(whole, options);
}

}  // namespace zorvane
