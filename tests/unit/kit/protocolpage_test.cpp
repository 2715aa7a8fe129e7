// docs/protocol.md against what it describes: the tables of the payloads, the codes, the times.
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "client/restart.h"
#include "client/staleness.h"
#include "client/workersession.h"
#include "host/stubwatch.h"
#include "src/process/msgloopprocess.h"
#include "zorvane/wire.h"

namespace {

using Row = std::vector<std::string>;

// The cells of a line "| a | b |", without the blanks around them.
Row Cells(const std::string& line) {
    Row cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
        const size_t first = cell.find_first_not_of(" \r");
        const size_t last = cell.find_last_not_of(" \r");
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
    }
    return cells;
}

// The rows of the first table below a heading, without its two lines of headings.
std::vector<Row> TableBelow(const std::string& heading) {
    std::ifstream page(ZORVANE_SOURCE_DIR "/docs/protocol.md");
    std::vector<Row> rows;
    bool isBelow = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("#")) {
            isBelow = line.starts_with(heading);
        } else if (isBelow && line.starts_with("|")) {
            rows.push_back(Cells(line));
        } else if (!rows.empty()) {
            break;
        }
    }
    if (rows.size() >= 2) {
        rows.erase(rows.begin(), rows.begin() + 2);
    }
    return rows;
}

template <typename T>
struct WireType;
template <>
struct WireType<uint32_t> {
    static std::string Name() { return "uint32"; }
};
template <>
struct WireType<uint64_t> {
    static std::string Name() { return "uint64"; }
};
template <>
struct WireType<wchar_t> {
    static std::string Name() { return "utf16"; }
};
template <>
struct WireType<char> {
    static std::string Name() { return "char"; }
};
template <typename T, size_t kCount>
struct WireType<T[kCount]> {
    static std::string Name() { return WireType<T>::Name() + "[" + std::to_string(kCount) + "]"; }
};

#define FIELD(structure, field)                                                               \
    Row {                                                                                     \
        std::to_string(offsetof(structure, field)), std::to_string(sizeof(structure::field)), \
            "`" #field "`", WireType<decltype(structure::field)>::Name()                      \
    }

// The first four columns of each row: offset, size, field, type.
std::vector<Row> Layouts(std::vector<Row> rows) {
    for (Row& row : rows) {
        row.resize(4);
    }
    return rows;
}

}  // namespace

TEST(ProtocolPage, HasTheHelloAsItIs) {
    EXPECT_EQ(Layouts(TableBelow("### The hello")),
              (std::vector<Row>{FIELD(HelloPayload, entry), FIELD(HelloPayload, hostWnd)}));
}

TEST(ProtocolPage, HasTheRecordAsItIs) {
    const std::vector<Row> actual = {
        FIELD(NvmlGpuRecord, entry),
        FIELD(NvmlGpuRecord, reserved0),
        FIELD(NvmlGpuRecord, kind),
        FIELD(NvmlGpuRecord, gpuIndex),
        FIELD(NvmlGpuRecord, gpuCount),
        FIELD(NvmlGpuRecord, memoryUtilizationPercent),
        FIELD(NvmlGpuRecord, gpuUtilizationPercent),
        FIELD(NvmlGpuRecord, totalMemoryKiB),
        FIELD(NvmlGpuRecord, temperatureCelsius),
        FIELD(NvmlGpuRecord, fanSpeedPercent),
        FIELD(NvmlGpuRecord, name),
        FIELD(NvmlGpuRecord, serial),
        FIELD(NvmlGpuRecord, vbiosVersion),
        FIELD(NvmlGpuRecord, driverVersion),
        FIELD(NvmlGpuRecord, maxClockMHz),
        FIELD(NvmlGpuRecord, clockMHz),
        FIELD(NvmlGpuRecord, pciDomain),
        FIELD(NvmlGpuRecord, pciBus),
        FIELD(NvmlGpuRecord, pciDevice),
        FIELD(NvmlGpuRecord, pciDeviceId),
        FIELD(NvmlGpuRecord, reserved1),
        FIELD(NvmlGpuRecord, pciBusId),
        FIELD(NvmlGpuRecord, reserved2),
    };
    EXPECT_EQ(Layouts(TableBelow("### A GPU's record")), actual);
    size_t end = 0;
    for (const Row& row : actual) {
        EXPECT_EQ(std::stoul(row[0]), end) << "a field is missing before " << row[2];
        end += std::stoul(row[1]);
    }
    EXPECT_EQ(end, sizeof(NvmlGpuRecord));
}

TEST(ProtocolPage, HasTheCodesAndSizes) {
    const std::vector<Row> rows = TableBelow("## Messages");
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0][0], std::to_string(kCopyDataHello) + " `kCopyDataHello`");
    EXPECT_TRUE(rows[0][2].starts_with(std::to_string(sizeof(HelloPayload)) + " bytes"));
    EXPECT_EQ(rows[1][0], std::to_string(kCopyDataTaskData) + " `kCopyDataTaskData`");
    EXPECT_TRUE(rows[1][2].starts_with(std::to_string(sizeof(NvmlGpuRecord)) + " bytes"));
    for (size_t row : {2u, 3u}) {
        EXPECT_EQ(rows[row][0], std::to_string(kCopyDataStop) + " `kCopyDataStop`");
    }
}

TEST(ProtocolPage, HasTheTimesOfTheCode) {
    std::map<std::string, long long> stated;
    for (const Row& row : TableBelow("### Times")) {
        stated[row[0]] = std::stoll(row[1]);
    }
    const zorvane::StopTimes stop;
    const zorvane::StaleTimes stale;
    EXPECT_EQ(stated["from one look for the stub window to the next"],
              CMsgLoopProcess::kStubCheckPeriodMs);
    EXPECT_EQ(stated["a stub waits after the stop message, then takes its window away"],
              stop.afterAsking.count());
    EXPECT_EQ(stated["a stub waits after that, then ends the process by force"],
              stop.afterTakingWindow.count());
    EXPECT_EQ(stated["the host ends a worker after its stub's process has gone"], kStubGraceMs);
    EXPECT_EQ(stated["readings count as gone after so long a silence"], stale.staleAfter.count());
    EXPECT_EQ(stated["a worker is given up after so long a silence, before its hello too"],
              stale.restartAfter.count());
    EXPECT_EQ(stated["pause before the first start after a crash; it doubles each time"],
              zorvane::RestartPause(1).count());
    EXPECT_EQ(stated["the longest such pause"], zorvane::kLongestRestartPause.count());
}
