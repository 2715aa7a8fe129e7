#include "monitor/reasons/missingreasons.h"

namespace zorvane {
namespace {

bool ExplainsMissing(ReasonKind kind) {
    return kind == ReasonKind::kConsequence || kind == ReasonKind::kLikelyCause ||
           kind == ReasonKind::kCause;
}

// Of equal kinds the first counts: what fails later fails because of it. A worker that reads and
// has nobody to send to is not cured by reading.
void Consider(const Explanation& explanation, std::optional<Explanation>& missing) {
    if (explanation.kind == ReasonKind::kReading) {
        if (missing && missing->concern != Concern::kWorker) {
            missing.reset();
        }
    } else if (ExplainsMissing(explanation.kind) &&
               (!missing || missing->kind < explanation.kind)) {
        missing = explanation;
    }
}

}  // namespace

void CRunDiagnosis::Add(const LogLine& line) {
    if (IsRunStart(line)) {
        m_missing = {};
    }
    const std::optional<Explanation> explanation = ExplainLine(line.source, line.message);
    if (!explanation) {
        return;
    }
    const Concern concern = explanation->concern;
    if (concern != Concern::kGpu) {
        Consider(*explanation, m_missing.cpu);
    }
    if (concern == Concern::kGpu || concern == Concern::kWorker) {
        Consider(*explanation, m_missing.gpu);
    }
}

MissingReadings FindMissingReadings(std::span<const LogLine> run) {
    CRunDiagnosis diagnosis;
    for (const LogLine& line : run) {
        diagnosis.Add(line);
    }
    return diagnosis.Missing();
}

}  // namespace zorvane
