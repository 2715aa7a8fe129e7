/** The checks of `zorvanemon doctor`. */
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/doctor/facts.h"

namespace zorvane {

enum class CheckResult {
    kPass,
    /** Worth knowing or mending; no reading is missing because of it alone. */
    kWarn,
    /** A reading is missing because of it. */
    kFail,
    /** Does not matter on this machine, or cannot be asked. */
    kSkip,
};

/** Which readings a failed check keeps away. */
enum class Blocks { kNothing, kGpu, kCpu, kBoth };

/** What a check has found. Texts are UTF-8; those from outside may hold anything but controls. */
struct Finding {
    CheckResult result = CheckResult::kPass;
    /** What was seen, in whole sentences. */
    std::string seen;
    /** What to do, in whole sentences; empty where nothing need or can be done. */
    std::string remedy;
    /** Only of a failed one. */
    Blocks blocks = Blocks::kNothing;
};

struct Check {
    /** Never changes. */
    const char* id;
    /** The heading that it stands under. */
    const char* group;
    /** What it is about, in a few words. */
    const char* title;
    Finding (*decide)(const MachineFacts& facts);
};

/** All checks, in the order in which they are shown and in which remedies are to be applied. */
std::span<const Check> Checks();

struct CheckedFinding {
    const Check* check = nullptr;
    Finding finding;
};

using Findings = std::vector<CheckedFinding>;

/** Those of the named checks; all of them where none is named. */
Findings Decide(const MachineFacts& facts, const std::vector<std::string>& only = {});

/** "PASS" and its like. */
const char* ResultName(CheckResult result);

/** Shorthands for the deciding functions. */
Finding Pass(std::string seen);
Finding Warn(std::string seen, std::string remedy = "");
Finding Fail(Blocks blocks, std::string seen, std::string remedy = "");
Finding Skip(std::string seen);

}  // namespace zorvane
