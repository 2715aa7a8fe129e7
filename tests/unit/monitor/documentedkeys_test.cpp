// The tables of docs/zorvanemon.md against the keys, columns and metrics themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "monitor/json/jsonline.h"
#include "monitor/metrics/metrics.h"
#include "monitor/views/csvcolumns.h"
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

// The names in a table whose first column has this heading: by the first name of each line, those
// in all of its columns but the last.
std::map<std::string, Keys> Documented(const std::string& heading) {
    std::istringstream page(
        ReadFileBytes(std::filesystem::path(ZORVANE_SOURCE_DIR "/docs/zorvanemon.md").wstring()));
    std::map<std::string, Keys> documented;
    bool isInTable = false;
    for (std::string line; std::getline(page, line);) {
        isInTable = line.starts_with("| " + heading + " |") || (isInTable && line.starts_with("|"));
        const std::vector<std::string> names = Quoted(line.substr(0, line.rfind(" | ")));
        if (isInTable && !names.empty() && "`" + names[0] + "`" != heading) {
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
        PausedEvent(),    ResumedEvent(),
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
    EXPECT_EQ(Documented("`type`"), written);
}

TEST(DocumentedKeysTest, AreTheColumnsOfACsv) {
    const std::vector<const CsvColumn*> columns = CsvColumns(CsvFieldNames());
    std::map<std::string, Keys> written;
    for (const CsvColumn* column : columns) {
        // What is there without --fields says so.
        written[column->name] = column->isUsual ? Keys{"*"} : Keys{};
    }
    EXPECT_EQ(Documented("column"), written);
}

TEST(DocumentedKeysTest, AreTheMetricsAndTheirLabels) {
    CMachineModel model;
    model.Apply(EventAt(0, StartEvent()));
    ExitEvent crash;
    crash.exit.kind = ExitKind::kCrash;
    model.Apply(EventAt(0, crash));
    model.Apply(EventAt(0, WorkerStartEvent()));
    model.Apply(EventAt(0, MissingEvent()));
    model.Apply(EventAt(0, FullStatic()));
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(0, CpuTemperature()));
    std::map<std::string, Keys> written;
    for (const MetricFamily& family : MetricsOf(model)) {
        ASSERT_FALSE(family.samples.empty()) << family.name;
        Keys& labels = written[family.name];
        for (const auto& [name, value] : family.samples[0].labels) {
            labels.insert(name);
        }
        // What every sample has, documented above the table.
        EXPECT_EQ(labels.erase("worker"), 1u) << family.name;
    }
    EXPECT_EQ(Documented("metric"), written);
}

}  // namespace
}  // namespace zorvane
