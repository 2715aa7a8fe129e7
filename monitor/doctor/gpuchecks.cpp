// NVIDIA's cards and NVIDIA's library.
#include <fmt/format.h>

#include <algorithm>

#include "monitor/doctor/checkgroups.h"
#include "monitor/doctor/probewords.h"

namespace zorvane {
namespace {

constexpr char kGpuGroup[] = "NVIDIA GPUs";
constexpr char kInstallDriver[] = "Install NVIDIA's driver and restart the PC.";
constexpr char kReinstallDriver[] = "Install NVIDIA's driver again and restart the PC.";
// CM_PROB_DISABLED.
constexpr uint32_t kDisabledProblem = 22;

using Adapters = std::vector<AdapterFacts>;

Adapters NvidiaAdapters(const MachineFacts& facts) {
    Adapters adapters = facts.gpu.adapters.value_or(Adapters());
    std::erase_if(adapters, [](const AdapterFacts& adapter) { return !adapter.isNvidia; });
    return adapters;
}

bool HasNvml(const MachineFacts& facts) {
    return facts.gpu.fixedNvml.exists || facts.gpu.systemNvml.exists;
}

// Windows' own display driver: the card shows a picture and nothing else.
bool HasBasicDriver(const AdapterFacts& adapter) {
    return adapter.service.empty() || adapter.service.starts_with("Basic");
}

std::string Describe(const AdapterFacts& adapter) {
    if (adapter.problem != 0) {
        return fmt::format("{} (does not work, code {} in Device Manager)", adapter.name,
                           adapter.problem);
    }
    const bool isBare = adapter.isNvidia && HasBasicDriver(adapter);
    return adapter.name + (isBare ? " (without NVIDIA's driver)" : "");
}

std::string List(const Adapters& adapters) {
    std::string list;
    for (const AdapterFacts& adapter : adapters) {
        list += (list.empty() ? "" : ", ") + Describe(adapter);
    }
    return list.empty() ? "none" : list;
}

bool Works(const AdapterFacts& adapter) { return adapter.problem == 0 && !HasBasicDriver(adapter); }

const char* Remedy(const AdapterFacts& broken) {
    if (broken.problem == kDisabledProblem) {
        return "Enable the card in Device Manager.";
    }
    return HasBasicDriver(broken) ? kInstallDriver : kReinstallDriver;
}

Finding DecideAdapters(const MachineFacts& facts) {
    if (!facts.gpu.adapters) {
        return Skip("Windows gives no list of its display adapters.");
    }
    const Adapters nvidia = NvidiaAdapters(facts);
    if (nvidia.empty()) {
        const std::string seen =
            fmt::format("Windows lists no NVIDIA card, only: {}.", List(*facts.gpu.adapters));
        return HasNvml(facts) ? Warn(seen + " NVML is installed all the same.",
                                     "If a card is fitted, look for it in Device Manager.")
                              : Fail(Blocks::kGpu, seen);
    }
    const auto broken = std::find_if_not(nvidia.begin(), nvidia.end(), &Works);
    if (broken == nvidia.end()) {
        return Pass(List(nvidia) + ".");
    }
    return std::any_of(nvidia.begin(), nvidia.end(), &Works)
               ? Warn(List(nvidia) + ".", Remedy(*broken))
               : Fail(Blocks::kGpu, List(nvidia) + ".", Remedy(*broken));
}

Finding DecideMissingFixed(const MachineFacts& facts) {
    const GpuFacts& gpu = facts.gpu;
    if (!gpu.systemNvml.isImage) {
        return Fail(
            Blocks::kGpu,
            fmt::format("The file that the library loads is missing: {}", gpu.fixedNvml.path),
            kInstallDriver);
    }
    if (!gpu.hostLends) {
        return Fail(Blocks::kGpu,
                    fmt::format("The file that the library loads is missing: {}. This host program "
                                "does not lend it the one of the system folder.",
                                gpu.fixedNvml.path),
                    "Use zorvanehost.exe, or copy nvml.dll from the system folder there, and again "
                    "after every update of the driver.");
    }
    return Pass(
        fmt::format("{} is missing, as with all of today's drivers; zorvanehost lends the "
                    "library the system folder's own (--nvml=auto).",
                    gpu.fixedNvml.path));
}

Finding DecideFixed(const MachineFacts& facts) {
    const FileFacts& fixed = facts.gpu.fixedNvml;
    const FileFacts& system = facts.gpu.systemNvml;
    if (!MayHaveNvidia(facts)) {
        return Skip("There is no NVIDIA card.");
    }
    if (!fixed.exists) {
        return DecideMissingFixed(facts);
    }
    if (!fixed.isImage) {
        return Fail(Blocks::kGpu,
                    fmt::format("{} is damaged, or not a 64-bit library.", fixed.path),
                    kReinstallDriver);
    }
    const std::string seen = fmt::format("{}, {}; this is the one that the library loads.",
                                         fixed.path, VersionOf(fixed));
    if (system.isImage && system.version != fixed.version) {
        return Warn(seen +
                        " The system folder's has another version, so it may be a copy from an "
                        "older driver, which NVML refuses.",
                    "If the GPUs are not read, delete that file or renew it from the system "
                    "folder.");
    }
    return Pass(seen);
}

Finding DecideSystem(const MachineFacts& facts) {
    const FileFacts& system = facts.gpu.systemNvml;
    if (!MayHaveNvidia(facts)) {
        return Skip("There is no NVIDIA card.");
    }
    if (!system.exists) {
        return facts.gpu.fixedNvml.isImage
                   ? Pass("Not in the system folder; the library does not need it there.")
                   : Warn(fmt::format("{} is missing.", system.path), kInstallDriver);
    }
    if (!system.isImage) {
        return Warn(fmt::format("{} is damaged, or not a 64-bit library.", system.path),
                    kReinstallDriver);
    }
    return Pass(fmt::format("{}, {}; {}.", system.path, VersionOf(system),
                            facts.gpu.fixedNvml.exists
                                ? "the library loads the other one"
                                : "the library gets it from the host program"));
}

Finding DecideProbe(const MachineFacts& facts) {
    if (facts.probe) {
        return DecideProbeFacts(*facts.probe);
    }
    return Skip(HasNvml(facts) ? "Not asked; --probe starts NVML in a process of its own."
                               : "There is no NVML to ask.");
}

constexpr Check kGpuChecks[] = {
    {"gpu.adapters", kGpuGroup, "Cards", &DecideAdapters},
    {"nvml.fixed", kGpuGroup, "NVML at its fixed path", &DecideFixed},
    {"nvml.system", kGpuGroup, "NVML in the system folder", &DecideSystem},
    {"nvml.probe", kGpuGroup, "NVML's own answers", &DecideProbe},
};

}  // namespace

std::span<const Check> GpuChecks() { return kGpuChecks; }

bool MayHaveNvidia(const MachineFacts& facts) {
    return !facts.gpu.adapters || !NvidiaAdapters(facts).empty() || HasNvml(facts);
}

}  // namespace zorvane
