/** Counts rounds of readings. */
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace zorvane {

/** Names of the sources that rounds are counted by. A GPU's index stays with it while its worker
 * runs. */
inline constexpr char kCpuRoundSource[] = "cpu";
inline std::string RoundSourceOf(uint32_t gpuIndex) { return "gpu " + std::to_string(gpuIndex); }

/**
 * A round has at most one reading of each source. It is complete when a source that is already in
 * it reports again: there is no other sign, because any source may fall silent.
 */
class CRoundTracker {
  public:
    /** Whether the open round holds a reading of this source, so that the next one completes it. */
    bool Holds(const std::string& source) const { return m_sources.count(source) > 0; }

    void Add(const std::string& source) { m_sources.insert(source); }

    /** Counts the open round as complete and opens the next. */
    void Complete();

    /** Forgets the open round without counting it. */
    void Drop() { m_sources.clear(); }

    /** The sources of the open round. */
    const std::set<std::string>& Sources() const { return m_sources; }

    /** Rounds that are complete. */
    uint64_t Completed() const { return m_completed; }

  private:
    std::set<std::string> m_sources;
    uint64_t m_completed = 0;
};

}  // namespace zorvane
