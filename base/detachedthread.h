#pragma once

#include <functional>

namespace zorvane {

/** Runs `work` on a thread of its own that nobody waits for. It owns what it uses and throws
 * nothing. Throws std::system_error with Windows' code when there is no thread to be had. */
void RunDetached(std::function<void()> work);

}  // namespace zorvane
