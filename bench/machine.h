/** The machine that is measured: GPUs that answer at once, no CPU sensor. */
#pragma once

#include <windows.h>

#include <filesystem>

#include "base/windowthread.h"

/** What a worker runs from, in a folder of its own: host, library, settings and a log folder. */
struct BenchMachine {
    /** Makes the folder anew; worker processes that start later see this number of GPUs. */
    explicit BenchMachine(unsigned gpus);
    ~BenchMachine();
    BenchMachine(const BenchMachine&) = delete;
    BenchMachine& operator=(const BenchMachine&) = delete;

    std::filesystem::path folder;
};

/** A window on a thread of its own that takes every record. */
zorvane::CWindowThread TakingStub();

/** "--wnd=<handle>" as a worker's command line has it. */
std::wstring WindowWord(HWND window);

/** The folder of a part of this build: "bin", "bench". */
std::filesystem::path PartOfBuild(const wchar_t* part);
