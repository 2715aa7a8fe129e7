/** A scriptable fake of NVIDIA's NVML. */
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "src/nvmlinfo/nvml.h"

/** What the library returns for one GPU. Texts are copied unchanged, whatever their length. */
struct FakeGpu {
    std::string name;
    std::string serial;
    std::string vbiosVersion;
    nvmlUtilization_t utilization;
    nvmlMemory_t memory;
    uint32_t temperature;
    uint32_t fanSpeed;
    uint32_t maxClocks[NVML_CLOCK_COUNT];
    uint32_t clocks[NVML_CLOCK_COUNT];
    nvmlPciInfo_t pci;
};

/**
 * While it exists, the program finds, loads and binds this library instead of the machine's: a
 * healthy one with two GPUs unless the test changes it. One at a time.
 *
 * Functions write their value even when they fail. Every handle look-up returns a new handle; a
 * reading through an older one is recorded with "stale" as the GPU. nvmlErrorString returns an
 * unreadable address.
 */
class CFakeNvml {
  public:
    CFakeNvml();
    ~CFakeNvml();
    CFakeNvml(const CFakeNvml&) = delete;
    CFakeNvml& operator=(const CFakeNvml&) = delete;

    /** Whether Nvml.dll exists in its folder, and whether it loads. */
    bool fileExists = true;
    bool loadable = true;
    /** The value of %ProgramW6432%. */
    std::wstring programFiles = L"P:\\Programs";
    /** Exports that this library lacks. */
    std::set<std::string> missing;
    /** Result codes by function ("nvmlInit_v2") or whole call ("nvmlDeviceGetName(1, 64)"). */
    std::map<std::string, nvmlReturn_t> results;
    /** Look-ups succeed with a null handle. */
    bool nullHandles = false;
    /** Readings succeed without writing anything. */
    bool writesNothing = false;
    uint32_t deviceCount = 2;
    std::string driverVersion = "555.42";
    /** GPU n is element n modulo the size. */
    std::vector<FakeGpu> gpus;

    /** The calls of the library, arguments included: "nvmlDeviceGetClock(0, 2, 0)". */
    std::vector<std::string> calls;
    /** The names passed to GetProcAddress. */
    std::vector<std::string> askedNames;
    /** The Windows calls made for the library: "LoadLibraryW(P:\Programs\...)". */
    std::vector<std::wstring> windowsCalls;
    /** Functions that were passed a buffer that was not zeroed. */
    std::vector<std::string> dirtyBuffers;

  private:
    struct Patches;
    std::unique_ptr<Patches> m_patches;
};
