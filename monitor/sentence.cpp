#include "monitor/sentence.h"

#include <fmt/format.h>

namespace zorvane {
namespace {

using Sentence = std::optional<std::string>;

std::string NameOf(const GpuId& gpu) {
    return gpu.busId ? fmt::format("GPU {} ({})", gpu.index, *gpu.busId)
                     : fmt::format("GPU {}", gpu.index);
}

std::string NameOfMissing(const std::string& what) {
    if (what == "gpu") {
        return "NVIDIA GPU";
    }
    return what == "cpu" ? "CPU temperature" : what;
}

struct CSentenceMaker {
    Sentence operator()(const ErrorEvent& event) const {
        const std::string more =
            event.leftOut > 0 ? fmt::format(" (and {} more of this kind before)", event.leftOut)
                              : "";
        return "payload: " + event.error.text + more;
    }

    Sentence operator()(const MissingEvent& event) const {
        const std::string what = "no " + NameOfMissing(event.what) + ": " + event.text;
        return event.remedy.empty() ? what : what + " " + event.remedy;
    }

    Sentence operator()(const StaleEvent& event) const {
        return fmt::format("no complete round of readings since {}", LocalClock(event.since));
    }

    Sentence operator()(const FreshEvent& event) const {
        return fmt::format("readings come again, after none since {}", LocalClock(event.since));
    }

    Sentence operator()(const GpuLostEvent& event) const {
        return NameOf(event.gpu) +
               " gives no reading any more: it is lost or needs a reset; restart the computer, and "
               "if it happens again look at the GPU's power and temperature";
    }

    Sentence operator()(const GpuBackEvent& event) const {
        return NameOf(event.gpu) + " gives readings again";
    }

    Sentence operator()(const WarningEvent& event) const {
        return fmt::format("{}{} is {}, {} the threshold of {}",
                           event.gpu ? NameOf(*event.gpu) + ": " : "", event.what, event.value,
                           event.over ? "over" : "no longer over", event.limit);
    }

    Sentence operator()(const NoticeEvent& event) const { return event.text; }

    // An orderly end that was asked for needs no words.
    Sentence operator()(const ExitEvent& event) const {
        const std::string what = "the worker " + DescribeExit(event.exit);
        if (event.restartIn) {
            return fmt::format("{}; starting it again in {} s", what,
                               event.restartIn->count() / 1000);
        }
        return event.exit.kind == ExitKind::kOrderly ? std::nullopt : Sentence(what);
    }

    template <typename T>
    Sentence operator()(const T&) const {
        return std::nullopt;
    }
};

}  // namespace

std::optional<std::string> SentenceOf(const EventBody& event) {
    return std::visit(CSentenceMaker(), event);
}

}  // namespace zorvane
