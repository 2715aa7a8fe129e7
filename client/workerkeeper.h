/**
 * Keeps a worker running: starts it again when it has crashed or fallen silent, pauses it, and
 * tells what happens as events.
 */
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "client/gpuhealth.h"
#include "client/moment.h"
#include "client/reportlimiter.h"
#include "client/roundtracker.h"
#include "client/sessionevent.h"
#include "client/staleness.h"
#include "client/workersession.h"

namespace zorvane {

struct KeeperOptions {
    WorkerCommand worker;
    /** Whether a worker that crashed, or has fallen silent for good, is started again. */
    bool restart = true;
    StaleTimes stale;
    StopTimes stop;
    /** Called before each start of a worker's process; may be empty. Must not throw. */
    std::function<void()> beforeStart;
};

/**
 * Made, used and destroyed on one thread, which runs a message loop and calls OnTime when DueTick
 * says so. Every call may be made from inside the sink, except the destructor. Destroyed with a
 * worker running it lets go of the worker, as CWorkerSession does.
 */
class CWorkerKeeper : private IWorkerListener {
  public:
    /** Called for every event, from inside the calls of this class and the message loop. Must not
     * throw. */
    using Sink = std::function<void(SessionEvent&& event)>;

    /** `clock` tells the time of what comes from the worker. */
    CWorkerKeeper(KeeperOptions options, Sink sink, std::function<Moment()> clock = ReadMoment);

    /** Starts a worker. Everything that follows comes as events, a failure to start it too. Does
     * nothing between a start and its EndEvent. */
    void Start();

    /**
     * Asks the worker to end; the EndEvent tells when it has. Each further call takes the next
     * StopStep at once.
     */
    void Stop();

    /**
     * Ends the worker in order until Resume. Polling keeps a laptop's GPU awake, and a worker has
     * no other way of not polling. Does nothing where there is no worker to keep running.
     */
    void Pause();

    /** Starts a worker again after Pause, as soon as the one before has ended. */
    void Resume();

    /** Does what is due. */
    void OnTime(Moment now);

    /** The tick at which OnTime has something to do; empty: not before a message comes. */
    std::optional<std::chrono::milliseconds> DueTick() const;

    /** Whether it is between a start and its EndEvent. */
    bool IsActive() const { return m_isActive; }

    /** As CWorkerSession::LibraryPath. */
    const std::wstring& LibraryPath() const { return m_session.LibraryPath(); }

  private:
    void OnHello(const Hello& hello) override;
    void OnGpuStatic(const GpuStatic& fixed) override;
    void OnGpuReading(const GpuReading& reading) override;
    void OnCpuTemperature(const CpuTemperature& temperature) override;
    void OnCpuUnread() override;
    void OnPayloadError(const PayloadError& error) override;
    void OnStopStep(StopStep step, const std::string& reason) override;
    void OnExit(const WorkerExit& exit) override;

    void StartWorker(Moment now);
    void EndWorker();
    void GiveUpWorker(Moment now);
    void CheckHealth(GpuReading& reading, Moment now);
    void NoteReading(const std::string& source, Moment now);
    void NoteSource(const std::string& source, Moment now);
    std::optional<std::chrono::milliseconds> RestartAfter(const WorkerExit& exit);
    void End(SessionEnd reason, Moment now);
    void Tell(Moment now, SessionEventBody body);

    const KeeperOptions m_options;
    const Sink m_sink;
    const std::function<Moment()> m_clock;
    CWorkerSession m_session;
    CReportLimiter m_limiter;
    CRoundTracker m_rounds;
    CStaleness m_staleness;
    CGpuHealth m_health;
    unsigned m_restartAttempt = 0;
    std::optional<std::chrono::milliseconds> m_restartTick;
    bool m_isActive = false;
    /** Whether Stop has been called. */
    bool m_isStopping = false;
    bool m_isPaused = false;
    /** Whether the worker that runs has been asked to end, for whatever reason. */
    bool m_isEnding = false;
    /** Whether the worker that runs is being replaced. */
    bool m_isGivenUp = false;
    /** Whether the worker that runs was asked to end by Pause. */
    bool m_isEndedByPause = false;
};

}  // namespace zorvane
