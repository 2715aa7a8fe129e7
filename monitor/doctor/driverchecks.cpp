// AMD's kernel driver: its file, its service, and what Windows lets in.
#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "base/text.h"
#include "client/reasons/reason.h"
#include "monitor/doctor/checkgroups.h"
#include "src/amdsdk/driverservice.h"

namespace zorvane {
namespace {

constexpr char kDriverGroup[] = "AMD's driver";
constexpr char kTakeAmds[] =
    "Replace AMDRyzenMasterDriver.sys with the one from AMD's installation, which is signed.";
constexpr char kNewerDriver[] =
    "If the driver does not start, use a newer AMDRyzenMasterDriver.sys: old ones are refused.";

// Nothing of the driver matters where the temperature is not read or AMD's library is not there.
std::string NotNeeded(const MachineFacts& facts) {
    const std::string reason = NoCpuTemperature(facts);
    const bool isOther = facts.platform.kind != PlatformKind::kVendor;
    return !reason.empty() ? reason : isOther ? "AMD's Platform.dll is not here." : "";
}

bool Runs(const ServiceFacts& service) {
    return service.error == 0 && service.installed && service.state == SERVICE_RUNNING;
}

Finding DecideDriverFile(const MachineFacts& facts) {
    const FileFacts& file = facts.driver.file;
    if (const std::string reason = NotNeeded(facts); !reason.empty()) {
        return Skip(reason);
    }
    if (file.exists && file.isImage) {
        return Pass(fmt::format("{}, {}", file.path, VersionOf(file)));
    }
    const std::string seen = fmt::format("{} is {}.", file.path,
                                         file.exists ? "damaged, or no 64-bit driver" : "missing");
    if (Runs(facts.driver.service)) {
        return Warn(seen + " The driver runs already, so it is not needed now.", kTakeAmds);
    }
    return Fail(Blocks::kCpu, seen,
                file.exists ? kTakeAmds : "Put AMDRyzenMasterDriver.sys beside the host program.");
}

std::string CodeWords(uint32_t code) { return fmt::format("0x{:08X}", code); }

Finding DecideSignature(const MachineFacts& facts) {
    const DriverFacts& driver = facts.driver;
    if (const std::string reason = NotNeeded(facts); !reason.empty()) {
        return Skip(reason);
    }
    if (!driver.file.exists) {
        return Skip("There is no driver file.");
    }
    const SignatureState state = driver.signature.state;
    if (state == SignatureState::kValid) {
        return Pass("Signed, and Windows trusts the signature.");
    }
    if (state == SignatureState::kUnknown) {
        return Skip("Windows does not tell (" + CodeWords(driver.signature.code) + ").");
    }
    const std::string seen = state == SignatureState::kUnsigned
                                 ? "The file is not signed."
                                 : fmt::format("The signature is not valid, or not trusted ({}).",
                                               CodeWords(driver.signature.code));
    if (Runs(driver.service)) {
        return Warn(seen + " The driver runs all the same.", kTakeAmds);
    }
    return driver.testSigning ? Warn(seen + " Windows is in its test mode.", kTakeAmds)
                              : Fail(Blocks::kCpu, seen + " Windows does not load it.", kTakeAmds);
}

std::string StateWords(uint32_t state) {
    for (const CodeMeaning& meaning : CodeMeanings()) {
        if (meaning.kind == CodeKind::kServiceState && meaning.code == state) {
            return meaning.text;
        }
    }
    return fmt::format("in state {}", state);
}

std::string Held(const ServiceFacts& service) {
    return service.holders.empty() ? ""
                                   : " May be held by: " + ListProcesses(service.holders) + ".";
}

Finding DecideMarked(const ServiceFacts& service) {
    const std::string seen = "The service is marked for deletion";
    if (service.state == SERVICE_RUNNING) {
        return Warn(seen + " and runs until the last program closes it; it can be used so long." +
                        Held(service),
                    "");
    }
    return Fail(Blocks::kCpu,
                seen + ", so it can be neither started nor installed anew." + Held(service),
                "Close Services, Device Manager and other programs that hold the service, or "
                "restart the PC.");
}

Finding DecideInstalled(const ServiceFacts& service) {
    if (service.markedForDelete) {
        return DecideMarked(service);
    }
    const std::string seen =
        fmt::format("Installed and {}{}{}.",
                    service.state == SERVICE_RUNNING ? "running" : StateWords(service.state),
                    service.imagePath.empty() ? "" : ", from ", service.imagePath);
    if (service.state == SERVICE_RUNNING) {
        return Pass(seen);
    }
    if (service.state == SERVICE_START_PENDING || service.state == SERVICE_STOP_PENDING) {
        return Warn(seen + " A driver that stays so hangs." + Held(service), "Restart the PC.");
    }
    return Pass(seen + " A worker deletes it and installs it anew.");
}

Finding DecideService(const MachineFacts& facts) {
    const ServiceFacts& service = facts.driver.service;
    if (const std::string reason = NotNeeded(facts); !reason.empty()) {
        return Skip(reason);
    }
    if (service.error != 0) {
        return Skip(fmt::format("Windows does not tell (error {}).", service.error));
    }
    if (!service.installed) {
        return Pass(
            "Not installed: every worker installs it at its start and deletes it at its "
            "end.");
    }
    return DecideInstalled(service);
}

Finding DecideIntegrity(const MachineFacts& facts) {
    const DriverFacts& driver = facts.driver;
    if (const std::string reason = NotNeeded(facts); !reason.empty()) {
        return Skip(reason);
    }
    if (!driver.memoryIntegrity) {
        return Skip("Windows does not tell.");
    }
    if (!*driver.memoryIntegrity) {
        return Pass("Off.");
    }
    return Runs(driver.service) ? Pass("On; the driver runs all the same.")
                                : Warn("On: Windows refuses some old drivers.", kNewerDriver);
}

Finding DecideBlocklist(const MachineFacts& facts) {
    const DriverFacts& driver = facts.driver;
    if (const std::string reason = NotNeeded(facts); !reason.empty()) {
        return Skip(reason);
    }
    if (!driver.blocklist) {
        return Pass(
            "Neither switched on nor off: on where memory integrity is, and on recent "
            "versions of Windows 11.");
    }
    if (!*driver.blocklist) {
        return Pass("Off.");
    }
    return Runs(driver.service) ? Pass("On; the driver runs all the same.")
                                : Warn("On: Windows refuses drivers on that list.", kNewerDriver);
}

constexpr Check kDriverChecks[] = {
    {"driver.file", kDriverGroup, "File", &DecideDriverFile},
    {"driver.signature", kDriverGroup, "Signature", &DecideSignature},
    {"driver.service", kDriverGroup, "Service", &DecideService},
    {"driver.integrity", kDriverGroup, "Memory integrity", &DecideIntegrity},
    {"driver.blocklist", kDriverGroup, "Blocklist", &DecideBlocklist},
};

}  // namespace

std::span<const Check> DriverChecks() { return kDriverChecks; }

}  // namespace zorvane
