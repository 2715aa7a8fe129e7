/** One run of zorvanemon: a source, and the views that show what it gives. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "client/roundtracker.h"
#include "monitor/event.h"
#include "monitor/model/machinemodel.h"
#include "monitor/outcome.h"
#include "monitor/run/interrupts.h"
#include "monitor/sources/source.h"
#include "monitor/terminal/keys.h"
#include "monitor/views/view.h"

namespace zorvane {

/** When a run ends before its source does. */
struct RunLimits {
    /** Complete rounds. */
    std::optional<uint64_t> count;
    std::optional<std::chrono::milliseconds> duration;
};

/**
 * Keeps the model, counts rounds and ends the run at its limits. Works on the calling thread and
 * pumps its messages.
 */
class CRun : private IEventSink {
  public:
    /** All arguments outlive the run. Without `keys` no key has a meaning. */
    CRun(ISource& source, std::vector<IView*> views, INotes& notes, const RunLimits& limits,
         CInterrupts& interrupts, CKeys* keys = nullptr);

    /** Runs to the end, once. */
    ExitCode Execute();

  private:
    void OnEvent(const Event& event) override;

    void Wait() const;
    void PumpMessages();
    void OnInterrupts();
    void OnKeys();
    void Interrupt();
    void CheckDuration(Moment now);
    void CheckViews();
    void End(EndReason reason);
    bool EntersRound(const std::string& source);
    bool LacksRounds() const;
    void ShowRound();
    void NoteFacts(const Event& event);
    void Note(const std::string& text) { m_notes.ShowNote(text); }

    ISource& m_source;
    const std::vector<IView*> m_views;
    INotes& m_notes;
    const RunLimits m_limits;
    CInterrupts& m_interrupts;
    CKeys* const m_keys;
    CMachineModel m_model;
    CRoundTracker m_rounds;
    RunFacts m_facts;
    /** Whether the current worker has given readings. */
    bool m_hasReadings = false;
    std::optional<std::chrono::milliseconds> m_endTick;
    bool m_changed = false;
    bool m_ending = false;
    bool m_hasFailed = false;
};

}  // namespace zorvane
