// What a service tells Windows' event log.
#include "monitor/service/eventlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/modulepath.h"
#include "tests/support/driverservice.h"
#include "tests/support/importpatch.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;

struct Expected {
    EventBody event;
    EventLogId id;
    WORD type;
    const char* text;
};

TEST(EventLog, HasAnEntryForWhatSomebodyHasToKnow) {
    const MissingEvent missing{.what = "cpu",
                               .id = "amd.not_admin",
                               .brief = "",
                               .text = "No rights.",
                               .remedy = "Start as administrator."};
    WorkerExit crash;
    crash.kind = ExitKind::kCrash;
    crash.code = 0xC0000005;
    const GpuId gpu{1, "00000000:0A:00.0"};
    StartEvent start;
    start.toolVersion = "1.0.0";
    const Expected rows[] = {
        {start, EventLogId::kStarted, EVENTLOG_INFORMATION_TYPE,
         "zorvanemon 1.0.0 has started, library of unknown version."},
        {missing, EventLogId::kMissing, EVENTLOG_WARNING_TYPE,
         "No rights. Start as administrator."},
        {ExitEvent{crash, {}}, EventLogId::kWorkerFailed, EVENTLOG_ERROR_TYPE, "crashed"},
        {GpuLostEvent{gpu}, EventLogId::kGpuLost, EVENTLOG_ERROR_TYPE, "00000000:0A:00.0"},
        {GpuBackEvent{gpu}, EventLogId::kGpuBack, EVENTLOG_INFORMATION_TYPE, "again"},
        {StaleEvent{}, EventLogId::kStale, EVENTLOG_WARNING_TYPE, "no complete round"},
        {FreshEvent{}, EventLogId::kFresh, EVENTLOG_INFORMATION_TYPE, "again"},
        {WarningEvent{"gpu.temp", gpu, 90, 85, true}, EventLogId::kWarning, EVENTLOG_WARNING_TYPE,
         "threshold"},
        {WarningEvent{"gpu.temp", gpu, 80, 85, false}, EventLogId::kWarning,
         EVENTLOG_INFORMATION_TYPE, "threshold"},
        {NoticeEvent{"id", "something"}, EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE,
         "something"},
        {PausedEvent{}, EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE, "battery"},
        {ResumedEvent{}, EventLogId::kNotice, EVENTLOG_INFORMATION_TYPE, "mains"},
        {ExitEvent{{}, std::chrono::milliseconds(0)}, EventLogId::kNotice,
         EVENTLOG_INFORMATION_TYPE, "ended in order (0); starting it again"},
    };
    for (const Expected& row : rows) {
        const auto entry = EntryFor(row.event);
        ASSERT_TRUE(entry) << row.text;
        EXPECT_EQ(entry->id, row.id) << row.text;
        EXPECT_EQ(entry->type, row.type) << row.text;
        EXPECT_THAT(entry->text, HasSubstr(row.text));
    }
}

TEST(EventLog, HasNoEntryForReadingsAndOrderlyEnds) {
    const EventBody quiet[] = {FullReading(), CpuTemperature{47}, WorkerStartEvent{1}, ExitEvent{}};
    for (const EventBody& event : quiet) {
        EXPECT_FALSE(EntryFor(event)) << event.index();
    }
}

TEST(EventLog, HandsOverNumberLevelAndText) {
    DWORD id = 0;
    WORD type = 0;
    std::wstring text;
    PATCH_IMPORT(report, ReportEventW,
                 [&](HANDLE, WORD level, WORD, DWORD number, PSID, WORD count, DWORD,
                     LPCWSTR* texts, LPVOID) -> WINBOOL {
                     type = level;
                     id = number;
                     text = count == 1 ? texts[0] : L"";
                     return TRUE;
                 });
    CEventLogView view(L"zorvanemon test");
    view.OnEvent({{}, NoticeEvent{"id", "gr\xC3\xBC\xC3\x9F"}}, CMachineModel());
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(type, EVENTLOG_INFORMATION_TYPE);
    EXPECT_EQ(text, L"gr\x00FC\x00DF");
}

TEST(EventLog, AddsAndRemovesItsSource) {
    if (!IsWine()) {
        GTEST_SKIP() << "changes the registry of the machine";
    }
    const std::wstring name = L"zorvanemon test source";
    const std::wstring key = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\" + name;
    ASSERT_FALSE(AddEventSource(name));
    wchar_t file[MAX_PATH] = {};
    DWORD size = sizeof file;
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"EventMessageFile",
                           RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, file, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(file, ModulePath(nullptr));
    ASSERT_FALSE(RemoveEventSource(name));
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"EventMessageFile", RRF_RT_ANY,
                           nullptr, nullptr, nullptr),
              ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(RemoveEventSource(name)) << "twice";
}

}  // namespace
}  // namespace zorvane
