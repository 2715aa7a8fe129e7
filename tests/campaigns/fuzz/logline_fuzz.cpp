// The worker's log, and what its lines mean.
#include <string>

#include "client/reasons/findreason.h"
#include "client/reasons/logline.h"
#include "tests/campaigns/fuzz/require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of just this size: a byte read behind it is seen.
    const std::string log(reinterpret_cast<const char*>(data), size);
    const std::vector<zorvane::LogLine> lines = zorvane::ParseLog(log);
    for (const zorvane::LogLine& line : lines) {
        Require(line.message.size() < log.size(), "a message is part of its line");
        Require(line.source.empty() || line.siteLine.has_value(), "a source has a line number");
        if (const auto explained = zorvane::ExplainLine(line.source, line.message)) {
            Require(!explained->id.empty() && !explained->text.empty(), "a meaning has words");
        }
    }
    if (!lines.empty()) {
        const auto run = zorvane::LatestRun(lines, lines.front().processId);
        Require(!run.empty() && run.size() <= lines.size(), "a run is part of the log");
    }
    zorvane::ParseLogLine(log);
    return 0;
}
