#include "monitor/run/run.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "monitor/sentence.h"

namespace zorvane {

CRun::CRun(ISource& source, std::vector<IView*> views, INotes& notes, const RunLimits& limits,
           CInterrupts& interrupts, CKeys* keys)
    : m_source(source),
      m_views(std::move(views)),
      m_notes(notes),
      m_limits(limits),
      m_interrupts(interrupts),
      m_keys(keys) {}

ExitCode CRun::Execute() {
    const Moment start = ReadMoment();
    if (m_limits.duration) {
        m_endTick = start.tick + *m_limits.duration;
    }
    m_source.Start(*this, start);
    while (!m_source.End()) {
        Wait();
        PumpMessages();
        const Moment now = ReadMoment();
        if (!m_source.End()) {
            m_source.OnTime(now);
        }
        OnInterrupts();
        OnKeys();
        CheckDuration(now);
        // A run that is over leaves its last readings on the screen.
        if (std::exchange(m_changed, false) && !m_source.End()) {
            for (IView* view : m_views) {
                view->OnChange(m_model);
            }
        }
        CheckViews();
    }
    if (!m_ending) {
        m_facts.reason = *m_source.End();
        m_facts.tooShort = LacksRounds();
    }
    ShowRound();
    for (IView* view : m_views) {
        view->OnEnd(m_model);
    }
    CheckViews();
    const ExitCode outcome = OutcomeOf(m_facts);
    if (outcome == kExitNoReading && m_facts.reason == EndReason::kDuration) {
        Note("no reading was received in the time given");
    }
    return outcome;
}

void CRun::Wait() const {
    std::optional<std::chrono::milliseconds> due = m_source.DueTick();
    if (m_endTick) {
        due = due ? std::min(*due, *m_endTick) : *m_endTick;
    }
    DWORD wait = INFINITE;
    if (due) {
        const auto left = (*due - ReadMoment().tick).count();
        // Asked again after a day, which keeps the number below INFINITE.
        constexpr int64_t kLongestWaitMs = 24LL * 60 * 60 * 1000;
        wait = static_cast<DWORD>(std::clamp<int64_t>(left, 0, kLongestWaitMs));
    }
    const HANDLE keys = m_keys ? m_keys->Handle() : nullptr;
    const HANDLE awaited[] = {m_interrupts.Event(), keys};
    MsgWaitForMultipleObjectsEx(keys ? 2 : 1, awaited, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
}

void CRun::PumpMessages() {
    // A worker that sends without a pause must not keep the rest from its turn.
    constexpr int kMessagesInARow = 64;
    MSG message;
    for (int taken = 0; taken < kMessagesInARow && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
         ++taken) {
        DispatchMessageW(&message);
    }
}

void CRun::OnInterrupts() {
    for (unsigned count = m_interrupts.Take(); count > 0; --count) {
        Interrupt();
    }
}

void CRun::Interrupt() {
    if (m_ending) {
        m_source.Stop();
        return;
    }
    End(EndReason::kInterrupt);
    if (!m_source.End()) {
        Note(
            "waiting for the worker to end in order, which takes some seconds at most; "
            "Ctrl+C again presses harder");
    }
}

void CRun::OnKeys() {
    if (!m_keys) {
        return;
    }
    for (const Key key : m_keys->Take()) {
        if (key == Key::kQuit) {
            Interrupt();
            continue;
        }
        for (IView* view : m_views) {
            view->OnKey(key);
        }
    }
}

void CRun::CheckDuration(Moment now) {
    if (m_endTick && now.tick >= *m_endTick) {
        End(EndReason::kDuration);
    }
}

void CRun::CheckViews() {
    if (m_hasFailed) {
        return;
    }
    for (const IView* view : m_views) {
        const auto failure = view->Failure();
        if (!failure) {
            continue;
        }
        m_hasFailed = true;
        if (failure->readerGone) {
            End(EndReason::kReaderGone);
            return;
        }
        Note(Describe(failure->error));
        End(EndReason::kOutputFailed);
        // Graver than any other reason to end, that of a source that has ended just now included.
        m_ending = true;
        m_facts.reason = EndReason::kOutputFailed;
        return;
    }
}

void CRun::End(EndReason reason) {
    if (m_ending || m_source.End()) {
        return;
    }
    m_ending = true;
    m_facts.reason = reason;
    // A pause on battery was asked for.
    const bool lacksReadings = !m_hasReadings && !m_model.IsPaused();
    m_facts.tooShort = lacksReadings || LacksRounds();
    m_endTick.reset();
    m_source.Stop();
}

void CRun::OnEvent(const Event& event) {
    const bool isReading = std::holds_alternative<GpuReading>(event.body) ||
                           std::holds_alternative<CpuTemperature>(event.body) ||
                           std::holds_alternative<CpuUnreadEvent>(event.body);
    // When the run is over, what still comes belongs to a round that nobody asked for.
    if (m_ending && (isReading || std::holds_alternative<GpuStatic>(event.body))) {
        return;
    }
    if (const auto* reading = std::get_if<GpuReading>(&event.body)) {
        if (!EntersRound(m_model.SourceOf(*reading))) {
            return;
        }
    } else if (isReading && !EntersRound(kCpuSource)) {
        return;
    }
    // These take the readings back, those of the open round with them.
    if (std::holds_alternative<StaleEvent>(event.body) ||
        std::holds_alternative<ExitEvent>(event.body) ||
        std::holds_alternative<WorkerStartEvent>(event.body)) {
        ShowRound();
    }
    NoteFacts(event);
    m_model.Apply(event);
    m_changed = true;
    for (IView* view : m_views) {
        view->OnEvent(event, m_model);
    }
    if (const auto sentence = SentenceOf(event.body)) {
        Note(*sentence);
    }
}

bool CRun::LacksRounds() const { return m_limits.count && m_rounds.Completed() < *m_limits.count; }

// False when the run is over with the round before.
bool CRun::EntersRound(const std::string& source) {
    if (m_rounds.Holds(source)) {
        m_model.KeepOnly(m_rounds.Sources());
        for (IView* view : m_views) {
            view->OnRound(m_model);
        }
        m_rounds.Complete();
        if (m_rounds.Completed() == m_limits.count) {
            End(EndReason::kCount);
            return false;
        }
    }
    m_rounds.Add(source);
    return true;
}

// Shows the open round as it is and forgets it.
void CRun::ShowRound() {
    if (m_rounds.Sources().empty()) {
        return;
    }
    m_model.KeepOnly(m_rounds.Sources());
    for (IView* view : m_views) {
        view->OnRound(m_model);
    }
    m_rounds.Drop();
}

void CRun::NoteFacts(const Event& event) {
    if (std::holds_alternative<GpuReading>(event.body) ||
        std::holds_alternative<GpuStatic>(event.body) ||
        std::holds_alternative<CpuTemperature>(event.body)) {
        m_facts.anyReading = true;
        m_hasReadings = true;
    }
    if (std::holds_alternative<WorkerStartEvent>(event.body)) {
        m_facts.forced = false;
    }
    if (std::holds_alternative<StaleEvent>(event.body)) {
        m_hasReadings = false;
    }
    if (const auto* exit = std::get_if<ExitEvent>(&event.body)) {
        m_hasReadings = false;
        m_facts.forced = exit->exit.forced;
    }
}

}  // namespace zorvane
