/** A machine on which the AMD task works, or does not, as a test wants it. */
#pragma once

#include <memory>

/**
 * For its own life the AMD task finds a supported processor, a driver service that runs, and the
 * fake platform, which reads 47 degrees. No real service is touched.
 */
class CAmdMachine {
  public:
    CAmdMachine();
    ~CAmdMachine();
    CAmdMachine(const CAmdMachine&) = delete;
    CAmdMachine& operator=(const CAmdMachine&) = delete;

    /** False makes the task's Init fail at its first step. */
    bool isAdmin = true;
    /** What the next readings give, in degrees Celsius. */
    double temperature = 47.5;

  private:
    struct Patches;
    std::unique_ptr<Patches> m_patches;
};
