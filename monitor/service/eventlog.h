/** What a service tells Windows' event log. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "base/callerror.h"
#include "monitor/views/view.h"

namespace zorvane {

/** Numbers of the entries; each stays with its meaning. messages.mc has their texts. */
enum class EventLogId : DWORD {
    kStarted = 1,
    kStopped = 2,
    kMissing = 3,
    kWorkerFailed = 4,
    kGpuLost = 5,
    kGpuBack = 6,
    kStale = 7,
    kFresh = 8,
    kWarning = 9,
    kNotice = 10,
};

struct EventLogEntry {
    EventLogId id = EventLogId::kNotice;
    /** EVENTLOG_INFORMATION_TYPE and the like. */
    WORD type = EVENTLOG_INFORMATION_TYPE;
    std::string text;
};

/** What the event log is told of an event; empty for readings and the like. */
std::optional<EventLogEntry> EntryFor(const EventBody& event);

/** Makes Windows' event viewer find the texts of the source `name` in this program. */
[[nodiscard]] std::optional<CallError> AddEventSource(const std::wstring& name);

/** Takes it back; the source may be unknown. */
[[nodiscard]] std::optional<CallError> RemoveEventSource(const std::wstring& name);

/**
 * Tells the event log what happens in a run. An entry that cannot be written is left out: there is
 * nobody to be told.
 */
class CEventLogView : public IView {
  public:
    explicit CEventLogView(const std::wstring& source);
    ~CEventLogView() override;
    CEventLogView(const CEventLogView&) = delete;
    CEventLogView& operator=(const CEventLogView&) = delete;

    void OnEvent(const Event& event, const CMachineModel& model) override;

    /** An entry that is about the service itself. */
    void Write(const EventLogEntry& entry) const;

  private:
    HANDLE m_source;
};

}  // namespace zorvane
