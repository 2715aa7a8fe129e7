// Lines of a recording. What is read is written and read again: it must stay what it is.
#include <string>

#include "monitor/json/jsonline.h"
#include "monitor/json/readjsonline.h"
#include "monitor/sentence.h"
#include "tests/campaigns/fuzz/require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of just this size: a byte read behind it is seen.
    const std::string line(reinterpret_cast<const char*>(data), size);
    const auto read = zorvane::ReadJsonLine(line);
    if (const auto* error = std::get_if<zorvane::LineError>(&read)) {
        Require(!error->text.empty(), "a line that is refused has a reason");
        Require(error->text.find('\n') == std::string::npos, "a reason is one line");
        return 0;
    }
    const auto& event = std::get<zorvane::Event>(read);
    zorvane::SentenceOf(event.body);
    const zorvane::StartEvent origin;
    const std::string written = zorvane::JsonLine(event, origin);
    Require(written.find('\n') == std::string::npos, "an event is one line");
    const auto again = zorvane::ReadJsonLine(written);
    Require(std::holds_alternative<zorvane::Event>(again), "what was written can be read");
    Require(zorvane::JsonLine(std::get<zorvane::Event>(again), origin) == written,
            "what was read is written the same");
    return 0;
}
