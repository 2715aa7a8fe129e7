/**
 * The floor: the calls that a worker has to make, and nothing around them. What a worker must call
 * follows from what it promises: see src/nvmlinfo for the readings and src/log for a line.
 */
#pragma once

#include <windows.h>

#include <type_traits>

#include "src/nvmlinfo/nvmlentrypoints.h"
#include "zorvane/wire.h"

/** NVML's entry points. */
struct FloorNvml {
#define ZORVANE_FLOOR_MEMBER(member, presence, signature, ...) std::add_pointer_t<signature> member;
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_FLOOR_MEMBER)
#undef ZORVANE_FLOOR_MEMBER

    /** Binds them to a library that exports them all. */
    void Bind(HMODULE library);
};

/** A log file that several processes share. */
class CFloorLog {
  public:
    explicit CFloorLog(const wchar_t* path);
    ~CFloorLog();
    CFloorLog(const CFloorLog&) = delete;
    CFloorLog& operator=(const CFloorLog&) = delete;

    /** One line; takes the mutex by its name. Leaves a handle of it open, as each line does. */
    void Write(const wchar_t* text);

    /** The same for a message of a log site that formats one number. */
    void WriteSite(const char* source, int line, const wchar_t* format, int number);

  private:
    CRITICAL_SECTION m_lock;
    int m_fd = -1;
    HANDLE m_mutex = nullptr;
};

/** The name of the log's mutex. */
inline constexpr wchar_t kFloorMutex[] = L"ZorvaneBenchFloor";

/** Sends a record to the stub, if that still exists. */
void FloorSend(HWND stub, HWND from, NvmlGpuRecord& record);

/** A dynamic record of each GPU, each sent, and the log's line of a cycle. */
void FloorCycle(const FloorNvml& nvml, uint32_t gpus, HWND stub, HANDLE quit, CFloorLog& log);

/** The static record of a GPU. */
NvmlGpuRecord FloorStatic(const FloorNvml& nvml, uint32_t index, uint32_t gpus);
