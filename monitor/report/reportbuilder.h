/** A recording as a page that opens anywhere. */
#pragma once

#include <array>
#include <deque>
#include <map>
#include <string>

#include "monitor/event.h"
#include "monitor/model/machinemodel.h"
#include "monitor/report/secretwords.h"
#include "monitor/report/thinnedseries.h"

namespace zorvane {

/**
 * Takes the events of a run in their order and makes a page of them: one file, everything inside.
 * However long the run, it needs some 1 MB for each quantity that is read, and the page stays below
 * 5 MB: charts are thinned, and of very many events the first and the last are kept.
 */
class CReportBuilder {
  public:
    /** `mask`: without serial numbers, computer names and the users' names in paths. */
    explicit CReportBuilder(bool mask) : m_mask(mask) {}

    void Add(const Event& event);

    /** Whether there is anything to show. */
    bool IsEmpty() const { return m_lines == 0; }

    /**
     * Puts in what `zorvanemon doctor --json` has written. False if the text is nothing like that.
     */
    bool AddDoctor(const std::string& text);

    /** The page, UTF-8. `now` is when it was made. */
    std::string Page(UtcTime now);

  private:
    enum Quantity : uint8_t {
        kTemperature,
        kGpuUse,
        kMemoryUse,
        kFan,
        kGraphics,
        kSm,
        kMemory,
        kVideo,
        kQuantityCount
    };
    static const char* NameOf(Quantity quantity);

    struct Gpu {
        uint32_t index = 0;
        std::optional<std::string> busId;
        std::optional<WireText> name;
        std::array<CThinnedSeries, kQuantityCount> series;
    };

    void AddReading(const GpuReading& reading, UtcTime time);
    void AddLine(const Event& event);
    void InterruptAll(UtcTime time);
    void NoteSecrets(const Event& event);
    void NoteUsers();
    std::string Events() const;
    std::string MaskedText(const std::string& json) const;
    size_t SeriesCount() const;

    const bool m_mask;
    CMachineModel m_model;
    CSecretWords m_secrets;
    std::map<std::string, Gpu> m_gpus;
    CThinnedSeries m_cpu;
    /** The lines of what is no reading: the first ones, and the last ones. */
    std::deque<std::string> m_firstLines;
    std::deque<std::string> m_lastLines;
    /** JSON; empty without one. */
    std::string m_doctor;
    uint64_t m_linesLeftOut = 0;
    uint64_t m_lines = 0;
    uint64_t m_readings = 0;
    UtcTime m_from{};
    UtcTime m_to{};
};

}  // namespace zorvane
