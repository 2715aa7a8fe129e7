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
        *this = CRunDiagnosis();
    }
    const std::optional<Explanation> explanation = ExplainLine(line.source, line.message);
    if (!explanation) {
        return;
    }
    NoteProgress(*explanation);
    const Concern concern = explanation->concern;
    if (concern != Concern::kGpu) {
        Consider(*explanation, m_missing.cpu);
    }
    if (concern == Concern::kGpu || concern == Concern::kWorker) {
        Consider(*explanation, m_missing.gpu);
    }
}

void CRunDiagnosis::NoteProgress(const Explanation& explanation) {
    // The first line of a cycle, and the first of the end. Without a GPU a cycle has no line of its
    // own; then the worker has said that it has none.
    m_hasStarted =
        m_hasStarted || explanation.id == "gpu.cycle" || explanation.id == "worker.tasks_end" ||
        (explanation.concern == Concern::kWorker && explanation.kind == ReasonKind::kCause);
    if (explanation.kind == ReasonKind::kConsequence) {
        m_hasNoCpu = m_hasNoCpu || explanation.concern == Concern::kCpu;
        m_hasNoGpu = m_hasNoGpu || explanation.concern == Concern::kGpu;
    }
}

MissingReadings CRunDiagnosis::Settled() const {
    const auto isSettled = [this](const std::optional<Explanation>& missing, bool hasNone) {
        return missing && (hasNone || (m_hasStarted && missing->kind == ReasonKind::kCause));
    };
    return {.cpu = isSettled(m_missing.cpu, m_hasNoCpu) ? m_missing.cpu : std::nullopt,
            .gpu = isSettled(m_missing.gpu, m_hasNoGpu) ? m_missing.gpu : std::nullopt};
}

MissingReadings FindMissingReadings(std::span<const LogLine> run) {
    CRunDiagnosis diagnosis;
    for (const LogLine& line : run) {
        diagnosis.Add(line);
    }
    return diagnosis.Missing();
}

}  // namespace zorvane
