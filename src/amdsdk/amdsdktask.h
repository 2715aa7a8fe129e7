/** The task that reports the temperature of an AMD processor. */
#pragma once

#include "src/amdsdk/platform.h"
#include "src/izorvanetask.h"

/**
 * Reads the CPU temperature through AMD's library and sends it as the text {"CpuTemp":n}. Work
 * thread only.
 */
class CAMDSDKTask final : public IZorvaneTask {
  public:
    /** `platform` is the library's; the task neither owns nor deletes it. */
    explicit CAMDSDKTask(IPlatform* platform) : m_platform(platform) {}

    /** Checks the machine, sees to the driver service and starts the library; 0 where that fails.
     */
    int Init() override;
    /** Always 1. */
    int IsSupported() override;
    /** One measurement and one message; 0 when there is no reading. */
    int Execute(std::shared_ptr<IProcess> process) override;
    /** Shuts the library down and deletes the driver service. */
    void Uninit() override;

  private:
    void EnsureDriver() const;
    bool StartPlatform() const;
    int PickTemperature() const;
    int GetPMTableTemperature() const;
    int GetOffsetTemperature() const;

    IPlatform* m_platform;
};

/**
 * True for a processor that the library supports; logs what it is. `*skipVbsCheck` becomes false
 * for one that is supported only while Virtualization-Based Security is off, and for one that is
 * not supported; else true.
 */
bool IsSupportedProcessor(bool* skipVbsCheck);
