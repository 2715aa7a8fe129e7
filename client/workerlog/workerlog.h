/** Why readings are missing, from the log of the worker that does not give them. */
#pragma once

#include <windows.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client/reasons/missingreasons.h"
#include "client/workerlog/logfollower.h"

namespace zorvane {

/** Why something is not there. */
struct MissingReport {
    /** "cpu", "gpu", or "log". */
    std::string what;
    /** Its texts are UTF-8. */
    Explanation why;
};

/**
 * Reads the log beside the library that a worker has loaded, as the worker writes it, and takes no
 * line from it that is not this worker's. Each reason is reported once, when it can no longer turn
 * out otherwise. One thread; no call reads more than a few kilobytes but CheckAtEnd. Times are
 * those of a clock that never runs backwards.
 */
class CWorkerLog {
  public:
    using Tick = std::chrono::milliseconds;

    /** How long a worker that is up may be without a line in its log. */
    static constexpr Tick kPatience = std::chrono::seconds(2);

    /**
     * A worker is about to be started, presumably with this library: what its log holds now is
     * another's.
     */
    void Prepare(const std::wstring& expectedLibrary);

    /** The worker was started. */
    void Begin(DWORD workerId);

    /** It is up. `library` is what it has loaded; empty: Windows does not say. */
    void OnUp(const std::wstring& library, Tick now);

    /** A reading of "cpu" or "gpu" has come: a reason that comes later is news, even the same. */
    void OnReading(const std::string& what);

    /** Reads what has been added. */
    std::vector<MissingReport> Check(Tick now);

    /**
     * Readings have stopped, and the log has not said why. If it is off or full it never will, and
     * that is reported.
     */
    std::vector<MissingReport> OnUnexplained(Tick now);

    /**
     * The worker has ended: nothing follows this. `byItself`: because it had nothing to do, so that
     * every reason counts.
     */
    std::vector<MissingReport> CheckAtEnd(bool byItself);

    /** When to check next; empty: there is nothing to come. */
    std::optional<Tick> DueTick() const;

    /** The path of the log. Empty while it has no line of this worker. */
    std::wstring Path() const;

  private:
    using Reports = std::vector<MissingReport>;

    void ReadNew();
    void Add(const std::string& text);
    void Report(const std::string& what, const Explanation& why, Reports& reports);
    void ReportReadings(const MissingReadings& missing, Reports& reports);
    void ReportLog(Reports& reports);

    CLogFollower m_follower;
    CRunDiagnosis m_diagnosis;
    DWORD m_workerId = 0;
    /** Whether Windows has told which library the worker has loaded. */
    bool m_isPlaceKnown = false;
    /** Whether the log has lines of this worker. */
    bool m_hasLines = false;
    /** The line with which the log ended though the worker goes on: it is off, or full. */
    std::optional<Explanation> m_silenced;
    std::optional<Tick> m_upTick;
    Tick m_lastCheck{};
    /** The id last reported, by what is missing. */
    std::map<std::string, std::string> m_reported;
};

}  // namespace zorvane
