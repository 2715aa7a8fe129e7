#include "monitor/sources/batterywatch.h"

namespace zorvane {
namespace {

// Values of SYSTEM_POWER_STATUS that Windows' headers have no names for.
constexpr BYTE kLineOffline = 0;
constexpr BYTE kLineOnline = 1;
constexpr BYTE kNoBattery = 128;
constexpr BYTE kUnknownFlag = 255;

}  // namespace

bool IsOnBattery(const SYSTEM_POWER_STATUS& status, bool wasOn) {
    if (status.ACLineStatus == kLineOnline) {
        return false;
    }
    if (status.ACLineStatus != kLineOffline) {
        return wasOn;
    }
    // Some firmware without a battery reports no mains either.
    return status.BatteryFlag == kUnknownFlag || (status.BatteryFlag & kNoBattery) == 0;
}

bool CBatteryWatch::Check(Moment now) {
    m_dueTick = now.tick + kPause;
    SYSTEM_POWER_STATUS status{};
    if (GetSystemPowerStatus(&status)) {
        m_isOn = IsOnBattery(status, m_isOn);
    }
    return m_isOn;
}

}  // namespace zorvane
