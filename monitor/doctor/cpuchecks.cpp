// What the temperature of an AMD processor needs, in the order in which the library asks for it.
#include <fmt/format.h>
#include <windows.h>

#include "monitor/doctor/checkgroups.h"

namespace zorvane {
namespace {

constexpr char kCpuGroup[] = "AMD CPU temperature";
constexpr char kAmd[] = "AuthenticAMD";

std::string Name(const ProcessorFacts& processor) {
    return processor.name.empty() ? processor.vendor : processor.name;
}

Finding DecideProcessor(const MachineFacts& facts) {
    const ProcessorFacts& processor = facts.cpu.processor;
    if (processor.vendor != kAmd) {
        return Fail(Blocks::kCpu, fmt::format("{} is not one of AMD's.", Name(processor)));
    }
    const std::string seen = fmt::format("{} (package type {}, CPUID {:06X})", Name(processor),
                                         processor.packageType, processor.signature);
    switch (processor.support) {
        case ProcessorSupport::kNo:
            return Fail(Blocks::kCpu, seen + " is not known to the library.");
        case ProcessorSupport::kVbsMustBeOff:
            return Pass(seen + "; of a generation that is read with VBS off only.");
        case ProcessorSupport::kYes:
            break;
    }
    return Pass(seen + ".");
}

Finding DecideWindows(const MachineFacts& facts) {
    const WindowsFacts& windows = facts.windows;
    const std::string seen =
        fmt::format("{}{}version {}.{}.{}", windows.edition, windows.edition.empty() ? "" : ", ",
                    windows.major, windows.minor, windows.build);
    if (windows.supported) {
        return Pass(seen + ".");
    }
    if (windows.isServer) {
        return Fail(Blocks::kCpu,
                    seen + ": the temperature is not read on a server edition of Windows.");
    }
    return Fail(Blocks::kCpu, seen + ": the temperature is read on 64-bit Windows 10 and 11 only.");
}

Finding DecideProduct(const MachineFacts& facts) {
    const CpuFacts& cpu = facts.cpu;
    const std::string name =
        cpu.product.value_or("").empty() ? "The firmware gives no product name" : *cpu.product;
    return cpu.productSkipped
               ? Fail(Blocks::kCpu, name + ": AMD's library is never started on this product.")
               : Pass(name + ".");
}

Finding DecideVbs(const MachineFacts& facts) {
    const std::optional<uint32_t>& vbs = facts.cpu.vbs;
    if (const std::string reason = NoCpuTemperature(facts); !reason.empty()) {
        return Skip(reason);
    }
    const std::string seen =
        !vbs        ? "Windows does not tell whether it is on, which the library takes for off."
        : *vbs == 0 ? "Off."
        : *vbs == 1 ? "Switched on, and not running."
                    : "Running.";
    if (facts.cpu.vbsIsLate) {
        return Warn("Windows Management Instrumentation does not answer; a worker waits for it.",
                    "Ask again; if nothing changes, restart the PC.");
    }
    if (facts.cpu.processor.support == ProcessorSupport::kYes) {
        return Pass(seen + " It does not matter to this processor.");
    }
    return !vbs || *vbs == 0
               ? Pass(seen)
               : Fail(Blocks::kCpu,
                      seen + " This generation of processors is read with it off only.",
                      "If you can do without its protection, turn off memory integrity (Windows "
                      "Security, Device security, Core isolation) and restart the PC.");
}

std::string Integrity(const std::optional<uint32_t>& level) {
    if (!level) {
        return "unknown";
    }
    if (*level >= SECURITY_MANDATORY_SYSTEM_RID) {
        return "system";
    }
    if (*level >= SECURITY_MANDATORY_HIGH_RID) {
        return "high";
    }
    return *level >= SECURITY_MANDATORY_MEDIUM_RID ? "medium" : "low";
}

Finding DecideRights(const MachineFacts& facts) {
    const RightsFacts& rights = facts.rights;
    const std::string seen = fmt::format(
        "This process {}, and its integrity is {}; a worker that it starts is the same.",
        rights.administrator ? "has administrator rights" : "has no administrator rights",
        Integrity(rights.integrity));
    if (rights.administrator) {
        return Pass(seen);
    }
    if (const std::string reason = NoCpuTemperature(facts); !reason.empty()) {
        return Skip(seen + " " + reason);
    }
    return Fail(Blocks::kCpu, seen + " The CPU temperature needs them.",
                "Start zorvanemon as administrator.");
}

constexpr Check kCpuChecks[] = {
    {"cpu.processor", kCpuGroup, "Processor", &DecideProcessor},
    {"cpu.windows", kCpuGroup, "Windows", &DecideWindows},
    {"cpu.product", kCpuGroup, "Product", &DecideProduct},
    {"cpu.vbs", kCpuGroup, "Virtualization-Based Security", &DecideVbs},
    {"cpu.rights", kCpuGroup, "Rights", &DecideRights},
};

}  // namespace

std::span<const Check> CpuChecks() { return kCpuChecks; }

std::string NoCpuTemperature(const MachineFacts& facts) {
    if (facts.cpu.processor.support == ProcessorSupport::kNo ||
        facts.cpu.processor.vendor != kAmd) {
        return "The library does not read this processor's temperature.";
    }
    if (!facts.windows.supported) {
        return "The CPU temperature is not read on this Windows.";
    }
    return facts.cpu.productSkipped ? "The CPU temperature is not read on this product." : "";
}

}  // namespace zorvane
