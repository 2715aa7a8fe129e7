/** Whether the computer runs on battery. */
#pragma once

#include <windows.h>

#include <chrono>

#include "monitor/moment.h"

namespace zorvane {

/**
 * Whether the computer runs on battery, from what Windows says. What Windows does not know leaves
 * it at `wasOn`.
 */
bool IsOnBattery(const SYSTEM_POWER_STATUS& status, bool wasOn);

/**
 * Asks Windows every few seconds: its messages about power do not reach the message-only windows of
 * a stub, and services get none at all. One thread.
 */
class CBatteryWatch {
  public:
    static constexpr std::chrono::milliseconds kPause = std::chrono::seconds(5);

    /** Asks now. If Windows gives no answer nothing changes; at first it is mains. */
    bool Check(Moment now);

    /** As the last Check found it. */
    bool IsOn() const { return m_isOn; }

    /** When to check next. */
    std::chrono::milliseconds DueTick() const { return m_dueTick; }

  private:
    bool m_isOn = false;
    std::chrono::milliseconds m_dueTick{};
};

}  // namespace zorvane
