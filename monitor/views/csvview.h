#pragma once

#include <string>
#include <vector>

#include "monitor/outputs/textoutput.h"
#include "monitor/views/csvcolumns.h"
#include "monitor/views/view.h"

namespace zorvane {

/** The first line of a CSV file, without its line end. */
std::string CsvHeader(const std::vector<const CsvColumn*>& columns, char separator);

/**
 * Rows as RFC 4180 has them, under a header: one for each GPU and round, each with the CPU's
 * temperature, or one for the round where no GPU is known.
 */
class CCsvView : public IView, private IFileFrame {
  public:
    /** `output` outlives the view. */
    CCsvView(ITextOutput& output, std::vector<const CsvColumn*> columns, char separator);

    void OnRound(const CMachineModel& model) override;
    void OnChange(const CMachineModel&) override { m_output.Rest(); }
    void OnEnd(const CMachineModel&) override { m_output.Finish(); }
    std::optional<ViewFailure> Failure() const override { return m_output.Failure(); }

  private:
    std::string Head() const override;
    std::string Row(const CMachineModel& model, const GpuRow* row) const;

    ITextOutput& m_output;
    const std::vector<const CsvColumn*> m_columns;
    const char m_separator;
};

}  // namespace zorvane
