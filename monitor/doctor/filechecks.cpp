// The program's own files, and the library that Zorvane.dll does not load without.
#include <fmt/format.h>

#include "monitor/doctor/checkgroups.h"

namespace zorvane {
namespace {

constexpr char kUnpackStandIn[] =
    "unpack the package again: the host program loads the stand-in from the folder "
    "platform-standin beside it.";

constexpr char kFileGroup[] = "Files";
constexpr char kUnpackAgain[] =
    "Unpack the whole package into one folder again, or name the file with ";

Finding DecideFile(const FileFacts& file, const char* what, const char* option) {
    if (!file.exists) {
        return Fail(Blocks::kBoth, fmt::format("{} is missing: {}", what, file.path),
                    std::string(kUnpackAgain) + option + ".");
    }
    if (!file.isImage) {
        return Fail(Blocks::kBoth,
                    fmt::format("{} is damaged, or not for 64-bit Windows: {}", what, file.path),
                    std::string(kUnpackAgain) + option + ".");
    }
    return Pass(fmt::format("{}, {}", file.path, VersionOf(file)));
}

Finding DecideHost(const MachineFacts& facts) {
    return DecideFile(facts.host, "The host program", "--host");
}

Finding DecideLibrary(const MachineFacts& facts) {
    return DecideFile(facts.library, "The library", "--library");
}

Finding DecideVersions(const MachineFacts& facts) {
    if (!facts.host.exists || !facts.library.exists) {
        return Skip("A file is missing.");
    }
    const std::string seen =
        fmt::format("zorvanemon {}, the host {}, the library {}.", VersionOf(facts.monitor),
                    VersionOf(facts.host), VersionOf(facts.library));
    const bool same =
        facts.monitor.version == facts.host.version && facts.host.version == facts.library.version;
    return same ? Pass(seen)
                : Warn(seen,
                       "Unpack the whole package again, so that all files are of one "
                       "version.");
}

Finding DecidePlatform(const MachineFacts& facts) {
    const PlatformFacts& platform = facts.platform;
    const bool cpuIsOut = !NoCpuTemperature(facts).empty();
    switch (platform.kind) {
        case PlatformKind::kMissing:
            return Fail(Blocks::kBoth,
                        fmt::format("There is none, nor a stand-in that the host program brings, "
                                    "and the library does not load without it: {}",
                                    platform.file.path),
                        cpuIsOut ? fmt::format("For the GPUs {}", kUnpackStandIn)
                                 : fmt::format("Copy Platform.dll of AMD's monitoring library "
                                               "beside Zorvane.dll. For the GPUs alone {}",
                                               kUnpackStandIn));
        case PlatformKind::kUnusable:
            return Fail(Blocks::kBoth,
                        fmt::format("{} is damaged, not for 64-bit Windows, or not AMD's, so the "
                                    "library does not load.",
                                    platform.file.path),
                        "Replace it with Platform.dll of AMD's monitoring library, or, for the "
                        "GPUs alone, remove it: the host program then loads its stand-in.");
        case PlatformKind::kStandIn: {
            const std::string seen = fmt::format(
                "The stand-in{}: {}. The GPUs are read with it, the CPU temperature is not.",
                platform.comesWithHost ? ", which the host program brings" : "",
                platform.file.path);
            return cpuIsOut
                       ? Pass(seen)
                       : Fail(Blocks::kCpu, seen,
                              "Copy Platform.dll of AMD's monitoring library beside Zorvane.dll.");
        }
        case PlatformKind::kVendor:
            break;
    }
    return Pass(fmt::format("{}, {}", platform.file.path, VersionOf(platform.file)));
}

constexpr Check kFileChecks[] = {
    {"files.host", kFileGroup, "Host program", &DecideHost},
    {"files.library", kFileGroup, "Library", &DecideLibrary},
    {"files.versions", kFileGroup, "Versions", &DecideVersions},
    {"files.platform", kFileGroup, "Platform.dll", &DecidePlatform},
};

}  // namespace

std::span<const Check> FileChecks() { return kFileChecks; }

std::string VersionOf(const FileFacts& file) {
    return file.version.empty() ? "without a version" : file.version;
}

}  // namespace zorvane
