#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "monitor/views/view.h"

namespace zorvane {

/**
 * Shows another view one round in each interval only, whole, and everything that is no reading. It
 * goes by the events' own time, so that a replay shows what was shown then.
 */
class CThinnedView : public IView {
  public:
    CThinnedView(std::unique_ptr<IView> view, std::chrono::milliseconds interval)
        : m_view(std::move(view)), m_interval(interval) {}

    void OnEvent(const Event& event, const CMachineModel& model) override;
    void OnRound(const CMachineModel& model) override;
    void OnChange(const CMachineModel& model) override;
    void OnKey(Key key) override { m_view->OnKey(key); }
    void OnEnd(const CMachineModel& model) override { m_view->OnEnd(model); }
    std::optional<ViewFailure> Failure() const override { return m_view->Failure(); }

  private:
    void BeginRound(UtcTime time);

    const std::unique_ptr<IView> m_view;
    const std::chrono::milliseconds m_interval;
    /** When the last round that was shown began; empty: the next one is shown. */
    std::optional<UtcTime> m_lastShown;
    bool m_isRoundOpen = false;
    bool m_isShown = false;
    bool m_hasChanged = false;
};

}  // namespace zorvane
