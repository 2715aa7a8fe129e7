/** What is counted over a whole run, whichever worker it came from. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>

#include "monitor/event.h"

namespace zorvane {

class CRunTotals {
  public:
    /** Counts one event. */
    void Add(const Event& event);

    /** A reading has come from a source, by the name that people know it by. */
    void AddReading(const std::string& source, UtcTime time) { m_lastReadings[source] = time; }

    /** Workers that were started after the first one. */
    uint64_t Restarts() const { return m_workers > 0 ? m_workers - 1 : 0; }

    /** Workers that crashed, by their exit code; one that was ended by force did not. */
    const std::map<DWORD, uint64_t>& Crashes() const { return m_crashes; }

    /** Messages that were understood, by the "type" of their JSON lines; 0 for a type without. */
    const std::map<std::string, uint64_t>& Messages() const { return m_messages; }

    /** What arrived and was no reading, by FaultName; 0 for a cause without. */
    const std::map<std::string, uint64_t>& Errors() const { return m_errors; }

    /** When the last reading came from a source. */
    const std::map<std::string, UtcTime>& LastReadings() const { return m_lastReadings; }

  private:
    static std::map<std::string, uint64_t> NoErrors();

    uint64_t m_workers = 0;
    std::map<DWORD, uint64_t> m_crashes;
    std::map<std::string, uint64_t> m_messages{
        {"hello", 0}, {"gpu_static", 0}, {"gpu", 0}, {"cpu", 0}};
    std::map<std::string, uint64_t> m_errors = NoErrors();
    std::map<std::string, UtcTime> m_lastReadings;
};

}  // namespace zorvane
