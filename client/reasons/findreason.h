/** From a line of the log to its meaning. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "client/reasons/reason.h"

namespace zorvane {

/** A real line's row in the table. */
struct ReasonMatch {
    const Reason* reason = nullptr;
    /** The number that the row's CodeKind is about; none when the row has no code. */
    std::optional<int64_t> code;
};

/**
 * The row of a line that `source` logged, the empty text for a marker line. `message` holds any
 * bytes of an 8-bit code page, values in the place of the format's conversions. Nothing when no log
 * site writes such a line.
 */
std::optional<ReasonMatch> FindReason(std::string_view source, std::string_view message);

/** What a line means, with its code put into words. All texts are ASCII. */
struct Explanation {
    /** The row's id, followed by "." and the code if the row has one. */
    std::string id;
    Concern concern = Concern::kWorker;
    ReasonKind kind = ReasonKind::kInformational;
    /** A few words without a full stop; empty when no reading is missing because of the line. */
    std::string brief;
    /** One sentence. */
    std::string text;
    /** What to do, in whole sentences; empty when nothing can or need be done. */
    std::string remedy;
};

Explanation Explain(const ReasonMatch& match);

/** FindReason and Explain in one. */
std::optional<Explanation> ExplainLine(std::string_view source, std::string_view message);

}  // namespace zorvane
