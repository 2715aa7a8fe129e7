/** What came before: the events of the last hour or so. */
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "monitor/event.h"

namespace zorvane {

/** Shared, because one text goes to many readers. */
using SharedText = std::shared_ptr<const std::string>;

/** An event as it is sent. */
struct SentEvent {
    /** From 1, and one more with each event. */
    uint64_t number = 0;
    UtcTime time{};
    /** Its JSON line with the line feed. */
    SharedText line;
};

struct HistoryLimits {
    std::chrono::milliseconds age = std::chrono::hours(1);
    /** Of the lines kept, without the few bytes of keeping each. */
    size_t bytes = size_t{64} << 20;
};

/**
 * Keeps events until they are too old or too many. Of what has gone it keeps the facts that still
 * hold, such as a GPU's name, so that the rest can be understood. Not for several threads.
 */
class CEventHistory {
  public:
    explicit CEventHistory(const HistoryLimits& limits = {}) : m_limits(limits) {}

    /** `line` is the event's JSON line with its line feed. */
    const SentEvent& Add(const Event& event, std::string line);

    /**
     * The lines of the last `seconds` before the newest event, or all, with the facts that held
     * before them in front.
     */
    std::vector<SharedText> Lines(std::optional<std::chrono::milliseconds> seconds) const;

    /** The events behind the one with this number; empty when some of them are no longer kept. */
    std::optional<std::vector<SentEvent>> After(uint64_t number) const;

    /** The number of the newest event; 0 before the first. */
    uint64_t LastNumber() const { return m_lastNumber; }

    /** Bytes of the lines that are kept. */
    size_t Bytes() const { return m_bytes; }

  private:
    // How an event changes the facts that hold.
    struct Effect {
        // Facts whose key begins with this end; empty: none.
        std::string ends;
        // The fact that the event is; empty: none.
        std::string begins;
    };
    struct Kept {
        SentEvent sent;
        Effect effect;
    };
    // By key; in the order in which they came to hold.
    class CFacts {
      public:
        void Apply(const Effect& effect, const SharedText& line);
        std::vector<SharedText> Lines() const;

      private:
        std::vector<std::pair<std::string, SharedText>> m_facts;
    };

    static Effect EffectOf(const EventBody& body);
    void Shorten(UtcTime now);

    const HistoryLimits m_limits;
    std::deque<Kept> m_kept;
    CFacts m_before;
    uint64_t m_lastNumber = 0;
    size_t m_bytes = 0;
};

}  // namespace zorvane
