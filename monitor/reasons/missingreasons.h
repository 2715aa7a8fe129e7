/** From the log of a run to why it has no readings. */
#pragma once

#include <optional>
#include <span>

#include "monitor/reasons/findreason.h"
#include "monitor/reasons/logline.h"

namespace zorvane {

/** Nothing where the log does not say that readings are missing. */
struct MissingReadings {
    std::optional<Explanation> cpu;
    std::optional<Explanation> gpu;
};

/**
 * Takes one process's lines as they are written and knows at every moment what is missing and why.
 * A worker logs fully for five cycles only: what fails later is in no log.
 */
class CRunDiagnosis {
  public:
    /** The next line of the process. The first line of another run forgets everything before it. */
    void Add(const LogLine& line);

    const MissingReadings& Missing() const { return m_missing; }

    /**
     * The same without what may still turn out otherwise: while a worker starts, one thing that
     * fails is often made good by another.
     */
    MissingReadings Settled() const;

  private:
    void NoteProgress(const Explanation& explanation);

    MissingReadings m_missing;
    /** Whether the worker has finished its start, in whatever way. */
    bool m_hasStarted = false;
    /** Whether it has said that it will not read this. */
    bool m_hasNoCpu = false;
    bool m_hasNoGpu = false;
};

/** The same for the lines of one run, as LatestRun gives them. */
MissingReadings FindMissingReadings(std::span<const LogLine> run);

}  // namespace zorvane
