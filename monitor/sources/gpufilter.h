/** A source of which only one GPU is wanted. */
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include "monitor/sources/source.h"

namespace zorvane {

/** A PCI location, or an index. */
struct GpuChoice {
    struct Location {
        uint32_t domain = 0;
        uint32_t bus = 0;
        uint32_t device = 0;

        bool operator==(const Location&) const = default;
    };

    std::variant<uint32_t, Location> which;
    /** As it was written. */
    std::string text;
};

/** "1", or "01:00.0" with or without a domain before and the ".0" behind it; empty if it is none.
 */
std::optional<GpuChoice> ParseGpuChoice(const std::string& text);

/**
 * Passes on what the source tells, without the other GPUs. When a whole round has come and the GPU
 * was not in it, that is said once.
 */
class CGpuFilter : public ISource, private IEventSink {
  public:
    /** `source` outlives the filter. */
    CGpuFilter(ISource& source, GpuChoice choice);

    void Start(IEventSink& sink, Moment now) override;
    void OnTime(Moment now) override { m_source.OnTime(now); }
    std::optional<std::chrono::milliseconds> DueTick() const override { return m_source.DueTick(); }
    void Stop() override { m_source.Stop(); }
    std::optional<EndReason> End() const override { return m_source.End(); }

  private:
    void OnEvent(const Event& event) override;
    bool IsWanted(const EventBody& body);
    bool IsWanted(uint32_t index, const std::optional<std::string>& busId);
    void NoteRound(const Event& event);

    ISource& m_source;
    const GpuChoice m_choice;
    IEventSink* m_sink = nullptr;
    /** Its index while this worker runs, for events without a bus id. */
    std::optional<uint32_t> m_index;
    /** Indices in the round until the GPU was found, and their bus ids for people. */
    std::set<uint32_t> m_others;
    std::string m_list;
    bool m_isSettled = false;
};

}  // namespace zorvane
