/** Limits of readings that people are warned about. */
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "monitor/event.h"

namespace zorvane {

/** A reading that can have a threshold. */
struct WatchedReading {
    /** Its word for --warn, and WarningEvent::what. */
    const char* what;
    /** Its name in a sentence. */
    const char* name;
    /** Behind a number, with a blank where there is one. */
    const char* unit;
    /**
     * A warning ends when the reading has fallen this far below the limit: a reading that stays
     * about its limit does not warn again and again.
     */
    uint32_t margin;
    /** The limit where none is named; empty: no warning. */
    std::optional<uint32_t> usualLimit;
    /** What the event tells of it; empty if it was not read, or the event is about other things. */
    std::optional<int64_t> (*valueOf)(const EventBody& event);
};

/** Every reading that can have a threshold. */
const std::vector<WatchedReading>& WatchedReadings();

/** The one of this name, if there is one. */
const WatchedReading* FindWatched(const std::string& what);

/** Limits by WatchedReading::what; those without an entry are not watched. */
using Thresholds = std::map<std::string, double>;

/** The usual limits. */
Thresholds UsualThresholds();

/**
 * Notices that readings cross their thresholds: upwards when the value is over the limit, back when
 * it is at least the margin below. A reading that is missing changes nothing, nor does a new
 * worker, in which a GPU keeps its index.
 */
class CThresholdWatch {
  public:
    explicit CThresholdWatch(Thresholds thresholds) : m_thresholds(std::move(thresholds)) {}

    /** The warnings that the event causes; to be called for every event in turn. */
    std::vector<WarningEvent> Check(const EventBody& event);

  private:
    std::optional<GpuId> GpuOf(const EventBody& event);

    const Thresholds m_thresholds;
    /** What is over its threshold, and of which GPU; -1: of none. */
    std::map<std::pair<std::string, int64_t>, bool> m_isOver;
    std::map<uint32_t, std::string> m_busIds;
};

}  // namespace zorvane
