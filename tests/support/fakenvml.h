/** NVIDIA's library, as a test wants it. */
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "src/nvmlinfo/nvml.h"

/** What the library answers about one GPU. Texts are written as they are, whatever their length. */
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
 * For its own life the program finds, loads and binds this library instead of the machine's: a
 * healthy one with two GPUs unless the test changes it. One at a time.
 *
 * A function writes its value also when it answers with a failure. Each look-up of a handle gives
 * a new one; a reading with an older one is recorded with "stale" for the GPU. The text of an error
 * is at an address that cannot be read.
 */
class CFakeNvml {
  public:
    CFakeNvml();
    ~CFakeNvml();
    CFakeNvml(const CFakeNvml&) = delete;
    CFakeNvml& operator=(const CFakeNvml&) = delete;

    /** "Nvml.dll" is in its folder; it can be loaded. */
    bool fileExists = true;
    bool loadable = true;
    /** What "%ProgramW6432%" stands for. */
    std::wstring programFiles = L"P:\\Programs";
    /** Exported names that this library lacks. */
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
    /** The names that were asked for with GetProcAddress. */
    std::vector<std::string> askedNames;
    /** The calls of Windows that concern the library: "LoadLibraryW(P:\Programs\...)". */
    std::vector<std::wstring> windowsCalls;
    /** Functions that got a text or structure that was not zero. */
    std::vector<std::string> dirtyBuffers;

  private:
    struct Patches;
    std::unique_ptr<Patches> m_patches;
};
