// The lines between the asking process and the one that waits for it: JSON, one a call.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "monitor/doctor/gather.h"
#include "monitor/doctor/probe.h"

namespace zorvane {
namespace {

using Json = nlohmann::json;

constexpr size_t kMostCallsOfAGpu = 32;
constexpr size_t kLongestText = 128;

// A text from a vendor, by way of another process.
std::string Text(const Json& line, const char* key) {
    const auto found = line.find(key);
    if (found == line.end() || !found->is_string()) {
        return {};
    }
    return OneLine(ToWide(found->get<std::string>().substr(0, kLongestText)));
}

int64_t Number(const Json& line, const char* key) {
    const auto found = line.find(key);
    return found == line.end() || !found->is_number_integer() ? 0 : found->get<int64_t>();
}

ProbedGpu* FindGpu(ProbeFacts& probe, uint32_t index) {
    const auto found = std::find_if(probe.gpus.begin(), probe.gpus.end(),
                                    [&](const ProbedGpu& gpu) { return gpu.index == index; });
    if (found != probe.gpus.end()) {
        return &*found;
    }
    if (probe.gpus.size() >= kMostProbedGpus) {
        return nullptr;
    }
    probe.gpus.push_back({index, {}, {}, {}});
    return &probe.gpus.back();
}

void AddToGpu(ProbedGpu& gpu, const std::string& function, int32_t code, const Json& line) {
    if (gpu.answers.size() < kMostCallsOfAGpu) {
        gpu.answers.push_back({function, code});
    }
    if (function == "nvmlDeviceGetName") {
        gpu.name = Text(line, "text");
    }
    if (function == "nvmlDeviceGetSerial") {
        gpu.serial = Text(line, "text");
    }
}

void AddCall(const Json& line, ProbeFacts& probe) {
    if (const std::string begun = Text(line, "begin"); !begun.empty()) {
        probe.lastCall = begun;
        return;
    }
    const std::string function = Text(line, "end");
    const auto code = static_cast<int32_t>(Number(line, "code"));
    if (function == "LoadLibrary" && code != 0) {
        probe.outcome = ProbeFacts::Outcome::kNotLoaded;
        probe.error = static_cast<uint32_t>(code);
    } else if (function == "nvmlInit") {
        probe.init = code;
    } else if (function == "nvmlDeviceGetCount") {
        probe.countCode = code;
        probe.count = static_cast<uint32_t>(Number(line, "count"));
    } else if (line.contains("gpu")) {
        if (ProbedGpu* gpu = FindGpu(probe, static_cast<uint32_t>(Number(line, "gpu")))) {
            AddToGpu(*gpu, function, code, line);
        }
    }
}

}  // namespace

ProbeFacts ReadProbeLines(std::string_view output) {
    ProbeFacts probe;
    probe.outcome = ProbeFacts::Outcome::kAnswered;
    for (size_t end = output.find('\n'); end != std::string_view::npos; end = output.find('\n')) {
        const Json line = Json::parse(output.substr(0, end), nullptr, false);
        output.remove_prefix(end + 1);
        // Vendors' libraries may print something, too.
        if (line.is_object()) {
            AddCall(line, probe);
        }
    }
    return probe;
}

}  // namespace zorvane
