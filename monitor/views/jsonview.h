#pragma once

#include "monitor/json/jsonline.h"
#include "monitor/outputs/textoutput.h"
#include "monitor/views/view.h"

namespace zorvane {

/** Every event as one line of JSON, when it happens: for programs, and as a recording. */
class CJsonView : public IView, private IFileFrame {
  public:
    /** `output` outlives the view. */
    explicit CJsonView(ITextOutput& output) : m_output(output) { m_output.SetFrame(*this); }

    void OnEvent(const Event& event, const CMachineModel& model) override;
    void OnChange(const CMachineModel&) override { m_output.Rest(); }
    void OnEnd(const CMachineModel&) override { m_output.Finish(); }
    std::optional<ViewFailure> Failure() const override { return m_output.Failure(); }

  private:
    /** What makes the lines that follow a recording of their own: all but the readings. */
    std::string Head() const override;
    std::string Tail() const override;

    ITextOutput& m_output;
    CJsonLines m_lines;
    /** During OnEvent. */
    const Event* m_event = nullptr;
    const CMachineModel* m_model = nullptr;
};

}  // namespace zorvane
