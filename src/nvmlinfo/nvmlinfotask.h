/** The task that reports NVIDIA GPUs. */
#pragma once

#include "src/izorvanetask.h"
#include "src/nvmlinfo/dynamicnvml.h"

/**
 * Sends one static record per GPU once per process, and one dynamic record per GPU every cycle,
 * each an NvmlGpuRecord. Work thread only.
 */
class CNvmlInfoTask final : public IZorvaneTask {
  public:
    CNvmlInfoTask() = default;
    /** Shuts NVML down when it had reported GPUs; the library stays loaded. */
    ~CNvmlInfoTask();
    CNvmlInfoTask(const CNvmlInfoTask&) = delete;
    CNvmlInfoTask& operator=(const CNvmlInfoTask&) = delete;

    /** Loads NVML from its fixed place; 0 when it is not there, does not start or knows no GPU. */
    int Init() override;
    /** Non-zero on a 64-bit system that has the NVML file; loads nothing. */
    int IsSupported() override;
    /** Sends the records; 0 when there is no GPU or when the process is quitting. */
    int Execute(std::shared_ptr<IProcess> process) override;
    void Uninit() override;

  private:
    bool SendStaticRecords(IProcess& process) const;
    bool SendDynamicRecords(IProcess& process) const;

    NvmlApi m_nvml{};
};
