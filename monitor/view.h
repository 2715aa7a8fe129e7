/** How a run is shown. */
#pragma once

#include <memory>
#include <string>

#include "monitor/event.h"
#include "monitor/machinemodel.h"
#include "monitor/options.h"
#include "monitor/output.h"

namespace zorvane {

class IView {
  public:
    virtual ~IView() = default;

    /** Something happened; the model holds it already. */
    virtual void ShowEvent(const Event& event) = 0;

    /** All that came at once is in the model now. */
    virtual void ShowChange(const CMachineModel& model) = 0;

    /** A round is complete, or ends with its worker; the model holds it and nothing newer. */
    virtual void ShowRound(const CMachineModel& model) = 0;

    /** A line for standard error. */
    virtual void ShowNote(const std::string& text) = 0;
};

/** The view for a format and for where the output goes. `output` outlives it. */
std::unique_ptr<IView> MakeView(Format format, COutput& output);

/** The note about a payload error, for people. */
std::string NoteOf(const ErrorEvent& event);

}  // namespace zorvane
