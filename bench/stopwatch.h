/** Time that passes and time that a thread computes. */
#pragma once

#include <windows.h>

/** Both times of the calling thread, in seconds, since the object was made. */
class CStopwatch {
  public:
    CStopwatch() : m_wall(Wall()), m_processor(Processor()) {}

    double WallSeconds() const { return Wall() - m_wall; }
    /** User and kernel time; Windows counts it in steps of some milliseconds. */
    double ProcessorSeconds() const { return Processor() - m_processor; }

  private:
    static double Wall() {
        LARGE_INTEGER now{};
        LARGE_INTEGER frequency{};
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&frequency);
        return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
    }

    static double Seconds(const FILETIME& time) {
        const ULARGE_INTEGER ticks{{time.dwLowDateTime, time.dwHighDateTime}};
        return static_cast<double>(ticks.QuadPart) * 1e-7;
    }

    static double Processor() {
        FILETIME created{};
        FILETIME exited{};
        FILETIME kernel{};
        FILETIME user{};
        GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel, &user);
        return Seconds(kernel) + Seconds(user);
    }

    double m_wall;
    double m_processor;
};
