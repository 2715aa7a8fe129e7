/** Tests that run a fake worker and look at the events that come of it. */
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <variant>
#include <vector>

#include "client/moment.h"
#include "tests/unit/client/fakeworker.h"
#include "tests/unit/client/readings.h"

namespace zorvane {

/** What is common to them; the time is what the test says. `TEvent` has its kinds in `body`. */
template <typename TEvent>
class CWorkerRunTest : public testing::Test {
  protected:
    /** Does what is due in the one that runs the worker. */
    virtual void OnTime(Moment now) = 0;

    /** Lets so many seconds pass, a step each. */
    void Pass(int seconds) {
        constexpr std::chrono::seconds kStep(1);
        for (int i = 0; i < seconds; ++i) {
            m_now.utc += kStep;
            m_now.tick += kStep;
            OnTime(m_now);
        }
    }

    /** The events of one kind so far. */
    template <typename T>
    std::vector<T> All() const {
        std::vector<T> result;
        for (const TEvent& event : m_events) {
            if (const auto* body = std::get_if<T>(&event.body)) {
                result.push_back(*body);
            }
        }
        return result;
    }

    /** Pumps messages until so many of one kind have come; false when they do not. */
    template <typename T>
    bool WaitFor(size_t count = 1) {
        return PumpUntil([&] { return All<T>().size() >= count; });
    }

    Moment m_now{TimeOfTest(), std::chrono::seconds(1000)};
    std::vector<TEvent> m_events;
};

}  // namespace zorvane
