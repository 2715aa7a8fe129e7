#include "monitor/service/eventlog.h"

#include <variant>

#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/sentence.h"

namespace zorvane {
namespace {

using Entry = std::optional<EventLogEntry>;

std::wstring KeyOf(const std::wstring& source) {
    return L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\" + source;
}

struct CEntryMaker {
    Entry operator()(const StartEvent& event) const {
        return EventLogEntry{EventLogId::kStarted, EVENTLOG_INFORMATION_TYPE,
                             "zorvanemon " + event.toolVersion + " has started, library " +
                                 event.libraryVersion.value_or("of unknown version") + "."};
    }

    Entry operator()(const MissingEvent& event) const {
        return Make(EventLogId::kMissing, EVENTLOG_WARNING_TYPE, event);
    }

    // An orderly end is the service's own, and has an entry then.
    Entry operator()(const ExitEvent& event) const {
        if (event.exit.kind == ExitKind::kOrderly) {
            return Make(EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE, event);
        }
        return Make(EventLogId::kWorkerFailed, EVENTLOG_ERROR_TYPE, event);
    }

    Entry operator()(const GpuLostEvent& event) const {
        return Make(EventLogId::kGpuLost, EVENTLOG_ERROR_TYPE, event);
    }

    Entry operator()(const GpuBackEvent& event) const {
        return Make(EventLogId::kGpuBack, EVENTLOG_INFORMATION_TYPE, event);
    }

    Entry operator()(const StaleEvent& event) const {
        return Make(EventLogId::kStale, EVENTLOG_WARNING_TYPE, event);
    }

    Entry operator()(const FreshEvent& event) const {
        return Make(EventLogId::kFresh, EVENTLOG_INFORMATION_TYPE, event);
    }

    Entry operator()(const WarningEvent& event) const {
        return Make(EventLogId::kWarning,
                    event.over ? EVENTLOG_WARNING_TYPE : EVENTLOG_INFORMATION_TYPE, event);
    }

    Entry operator()(const NoticeEvent& event) const {
        return Make(EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE, event);
    }

    Entry operator()(const PausedEvent& event) const {
        return Make(EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE, event);
    }

    Entry operator()(const ResumedEvent& event) const {
        return Make(EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE, event);
    }

    template <typename T>
    Entry operator()(const T&) const {
        return std::nullopt;
    }

  private:
    static Entry Make(EventLogId id, WORD type, const EventBody& event) {
        const auto sentence = SentenceOf(event);
        return sentence ? Entry({id, type, *sentence}) : std::nullopt;
    }
};

}  // namespace

std::optional<EventLogEntry> EntryFor(const EventBody& event) {
    return std::visit(CEntryMaker(), event);
}

std::optional<CallError> AddEventSource(const std::wstring& name) {
    const std::wstring key = KeyOf(name);
    const std::wstring file = ModulePath(nullptr);
    LSTATUS code =
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"EventMessageFile", REG_EXPAND_SZ,
                        file.c_str(), static_cast<DWORD>((file.size() + 1) * sizeof(wchar_t)));
    if (code == ERROR_SUCCESS) {
        const DWORD types = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
        code = RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"TypesSupported", REG_DWORD,
                               &types, sizeof types);
    }
    if (code != ERROR_SUCCESS) {
        return CallError{"RegSetKeyValueW", static_cast<DWORD>(code)};
    }
    return std::nullopt;
}

std::optional<CallError> RemoveEventSource(const std::wstring& name) {
    const LSTATUS code = RegDeleteKeyW(HKEY_LOCAL_MACHINE, KeyOf(name).c_str());
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        return CallError{"RegDeleteKeyW", static_cast<DWORD>(code)};
    }
    return std::nullopt;
}

CEventLogView::CEventLogView(const std::wstring& source)
    : m_source(RegisterEventSourceW(nullptr, source.c_str())) {}

CEventLogView::~CEventLogView() {
    if (m_source) {
        DeregisterEventSource(m_source);
    }
}

void CEventLogView::OnEvent(const Event& event, const CMachineModel&) {
    if (const auto entry = EntryFor(event.body)) {
        Write(*entry);
    }
}

void CEventLogView::Write(const EventLogEntry& entry) const {
    const std::wstring text = ToWide(entry.text);
    const wchar_t* texts[] = {text.c_str()};
    ReportEventW(m_source, entry.type, 0, static_cast<DWORD>(entry.id), nullptr, 1, 0, texts,
                 nullptr);
}

}  // namespace zorvane
