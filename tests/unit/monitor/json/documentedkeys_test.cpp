// The table of JSON lines in docs/zorvanemon.md against the lines themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "monitor/json/jsonline.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using Keys = std::set<std::string>;

// What stands between backquotes.
std::vector<std::string> Quoted(const std::string& text) {
    std::vector<std::string> names;
    std::istringstream stream(text);
    bool isQuoted = false;
    for (std::string part; std::getline(stream, part, '`'); isQuoted = !isQuoted) {
        if (isQuoted) {
            names.push_back(part);
        }
    }
    return names;
}

// The keys by type, as the first two columns of the table name them.
std::map<std::string, Keys> DocumentedKeys() {
    std::istringstream page(
        ReadFileBytes(std::filesystem::path(ZORVANE_SOURCE_DIR "/docs/zorvanemon.md").wstring()));
    std::map<std::string, Keys> documented;
    bool isInTable = false;
    for (std::string line; std::getline(page, line);) {
        isInTable = line.starts_with("| `type` |") || (isInTable && line.starts_with("|"));
        const std::vector<std::string> names = Quoted(line.substr(0, line.rfind(" | ")));
        if (isInTable && !names.empty() && names[0] != "type") {
            documented[names[0]] = Keys(names.begin() + 1, names.end());
        }
    }
    return documented;
}

TEST(DocumentedKeysTest, AreThoseOfTheLines) {
    const EventBody bodies[] = {
        StartEvent(),     WorkerStartEvent(),
        HelloEvent(),     GpuStatic(),
        GpuReading(),     CpuTemperature(),
        CpuUnreadEvent(), ErrorEvent(),
        MissingEvent(),   StaleEvent(),
        FreshEvent(),     GpuLostEvent(),
        GpuBackEvent(),   WarningEvent{"gpu.temp", GpuId(), 1, 2, true},
        NoticeEvent(),    ExitEvent(),
    };
    static_assert(std::size(bodies) == std::variant_size_v<EventBody>);
    std::map<std::string, Keys> written;
    for (const EventBody& body : bodies) {
        const auto line = nlohmann::json::parse(JsonLine(EventAt(0, body), StartEvent()));
        Keys keys;
        for (const auto& [key, value] : line.items()) {
            keys.insert(key);
        }
        // What every line has, documented above the table.
        for (const char* key : {"type", "time", "schema", "host", "entry"}) {
            EXPECT_EQ(keys.erase(key), 1u) << line;
        }
        written[line.at("type")] = keys;
    }
    EXPECT_EQ(DocumentedKeys(), written);
}

}  // namespace
}  // namespace zorvane
