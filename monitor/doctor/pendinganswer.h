#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>

#include "base/detachedthread.h"

namespace zorvane {

/** A question that may take long, asked on a thread of its own from the construction on. */
template <typename Answer>
class CPendingAnswer {
  public:
    /** `ask` owns what it uses and does not throw. */
    explicit CPendingAnswer(std::function<Answer()> ask)
        : m_begun(std::chrono::steady_clock::now()) {
        const auto promise = std::make_shared<std::promise<Answer>>();
        m_answer = promise->get_future();
        RunDetached([promise, ask = std::move(ask)] { promise->set_value(ask()); });
    }

    /** Once. Nothing when it has not come within the time since the construction; the thread is
     * then left to itself. */
    std::optional<Answer> Within(std::chrono::milliseconds limit) {
        return m_answer.wait_until(m_begun + limit) == std::future_status::ready
                   ? std::optional<Answer>(m_answer.get())
                   : std::nullopt;
    }

  private:
    std::chrono::steady_clock::time_point m_begun;
    std::future<Answer> m_answer;
};

}  // namespace zorvane
