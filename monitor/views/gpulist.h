#pragma once

#include <map>
#include <string>

#include "monitor/event.h"
#include "monitor/model/machinemodel.h"
#include "monitor/views/outputfailure.h"

namespace zorvane {

/** What does not change about a GPU, in lines that end with line ends. */
std::string GpuBlock(const GpuStatic& fixed);

/** What does not change about each GPU that the run tells of, written at its end. */
class CGpuListView : public IView {
  public:
    /** `output` outlives the view. As JSON lines if `isJson`, otherwise one block a GPU. */
    CGpuListView(COutput& output, bool isJson) : m_output(output), m_isJson(isJson) {}

    void OnEvent(const Event& event, const CMachineModel& model) override;
    void OnEnd(const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override { return FailureOf(m_output); }

    /** Whether no GPU was told of. */
    bool IsEmpty() const { return m_gpus.empty(); }

  private:
    COutput& m_output;
    const bool m_isJson;
    /** By source, so in the order of the bus ids. */
    std::map<std::string, Event> m_gpus;
};

}  // namespace zorvane
