#include "monitor/doctor/probewords.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "client/exitcode.h"
#include "client/reasons/reason.h"

namespace zorvane {
namespace {

constexpr char kReinstall[] = "Install NVIDIA's driver again and restart the PC.";

const CodeMeaning* Meaning(int32_t code) {
    const auto meanings = CodeMeanings();
    const auto found =
        std::find_if(meanings.begin(), meanings.end(), [&](const CodeMeaning& meaning) {
            return meaning.kind == CodeKind::kNvml && meaning.code == code;
        });
    return found == meanings.end() ? nullptr : found;
}

std::string RemedyOf(int32_t code) {
    const CodeMeaning* meaning = Meaning(code);
    return meaning && *meaning->remedy ? meaning->remedy : kReinstall;
}

// The calls of one GPU by their codes: "all 9 calls work", or what fails.
std::string GpuWords(const ProbedGpu& gpu) {
    std::map<int32_t, std::string> failed;
    for (const ProbedGpu::Answer& answer : gpu.answers) {
        if (answer.code != 0) {
            std::string& names = failed[answer.code];
            names += (names.empty() ? "" : ", ") + answer.function;
        }
    }
    std::string words =
        fmt::format("GPU {}{}: ", gpu.index, gpu.name.empty() ? std::string() : ", " + gpu.name);
    if (failed.empty()) {
        return words + fmt::format("all {} calls work.", gpu.answers.size());
    }
    const char* separator = "";
    for (const auto& [code, names] : failed) {
        words += fmt::format("{}{} ({})", separator, NvmlCodeWords(code), names);
        separator = "; ";
    }
    return words + ".";
}

bool Answers(const ProbedGpu& gpu) {
    return std::any_of(gpu.answers.begin(), gpu.answers.end(),
                       [](const ProbedGpu::Answer& answer) { return answer.code == 0; });
}

Finding DecideGpus(const ProbeFacts& probe) {
    std::string seen =
        fmt::format("NVML starts and counts {}.",
                    probe.count == 1 ? "one GPU" : fmt::format("{} GPUs", probe.count));
    for (const ProbedGpu& gpu : probe.gpus) {
        seen += " " + GpuWords(gpu);
    }
    const auto silent = std::find_if_not(probe.gpus.begin(), probe.gpus.end(), &Answers);
    if (silent == probe.gpus.end()) {
        return Pass(seen);
    }
    const std::string remedy =
        silent->answers.empty() ? kReinstall : RemedyOf(silent->answers.front().code);
    return std::any_of(probe.gpus.begin(), probe.gpus.end(), &Answers)
               ? Warn(seen, remedy)
               : Fail(Blocks::kGpu, seen, remedy);
}

Finding DecideStart(const ProbeFacts& probe) {
    if (!probe.init || (*probe.init == 0 && !probe.countCode)) {
        return Fail(
            Blocks::kGpu,
            fmt::format("{} lacks the functions that start NVML or count the GPUs.", probe.path),
            kReinstall);
    }
    if (*probe.init != 0) {
        return Fail(Blocks::kGpu,
                    fmt::format("NVML does not start: {}.", NvmlCodeWords(*probe.init)),
                    RemedyOf(*probe.init));
    }
    if (*probe.countCode != 0) {
        return Fail(Blocks::kGpu,
                    fmt::format("NVML starts and cannot count the GPUs: {}.",
                                NvmlCodeWords(*probe.countCode)),
                    RemedyOf(*probe.countCode));
    }
    if (probe.count == 0) {
        return Fail(Blocks::kGpu, "NVML works and sees no GPU.",
                    "Check in Device Manager that the card is present, enabled and without a "
                    "warning sign.");
    }
    if (probe.gpus.empty()) {
        return Fail(Blocks::kGpu,
                    fmt::format("{} lacks the function that finds a GPU.", probe.path), kReinstall);
    }
    return DecideGpus(probe);
}

}  // namespace

std::string NvmlCodeWords(int32_t code) {
    if (code == 0) {
        return "works";
    }
    const CodeMeaning* meaning = Meaning(code);
    return fmt::format("NVML code {}{}", code,
                       meaning ? ": " + std::string(meaning->text) : std::string());
}

Finding DecideProbeFacts(const ProbeFacts& probe) {
    const std::string where = probe.lastCall.empty() ? "while loading" : "in " + probe.lastCall;
    switch (probe.outcome) {
        case ProbeFacts::Outcome::kAnswered:
            return DecideStart(probe);
        case ProbeFacts::Outcome::kNotLoaded:
            return Fail(Blocks::kGpu,
                        fmt::format("Windows cannot load {} (error {}).", probe.path, probe.error),
                        kReinstall);
        case ProbeFacts::Outcome::kTimedOut:
            return Fail(Blocks::kGpu, fmt::format("NVML hangs {}; its process was ended.", where),
                        "Restart the PC; if it happens again, install NVIDIA's driver again.");
        case ProbeFacts::Outcome::kCrashed:
            return Fail(Blocks::kGpu,
                        fmt::format("NVML crashes {} (code 0x{:08X}).", where, probe.error),
                        kReinstall);
        case ProbeFacts::Outcome::kFailed:
            break;
    }
    return Warn(
        fmt::format("NVML was not asked: its process could not be used (code {}).", probe.error));
}

}  // namespace zorvane
