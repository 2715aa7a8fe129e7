/**
 * What crosses the process boundary between the worker (Zorvane.dll) and the window that it reports
 * to (the stub). For C and C++; Windows only, where wchar_t holds one UTF-16 code unit.
 *
 * Everything travels as WM_COPYDATA. COPYDATASTRUCT.dwData is 64 bits wide and holds one of the
 * kCopyData codes, whole; lpData and cbData hold the payload that belongs to the code. All numbers
 * are little-endian. A receiver checks cbData before it reads, and copies before it answers: the
 * worker waits for the answer, one second at most.
 */
#ifndef ZORVANE_WIRE_H_
#define ZORVANE_WIRE_H_

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

/* Languages without the assertion go without. */
#if (defined(__cplusplus) && __cplusplus >= 201103L) || \
    (defined(_MSVC_LANG) && _MSVC_LANG >= 201103L)
#define ZORVANE_STATIC_ASSERT(condition) static_assert(condition, #condition)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define ZORVANE_STATIC_ASSERT(condition) _Static_assert(condition, #condition)
#else
#define ZORVANE_STATIC_ASSERT(condition) struct ZorvaneNothing
#endif

/* NOLINTBEGIN(modernize-use-using): this header is C, too. */

/** Codes of COPYDATASTRUCT.dwData. */
enum {
    /** To the stub, once, when the worker's window is made: one HelloPayload. */
    kCopyDataHello = 3343,
    /** To the stub: a task's data; its first 64 bytes are the entry name. One NvmlGpuRecord. */
    kCopyDataTaskData = 3344,
    /**
     * To the worker: end in order; payload not examined. To the stub: the CPU temperature, 8-bit
     * text {"CpuTemp":n} with n in whole degrees Celsius, its terminating NUL included in cbData.
     */
    kCopyDataStop = 3345
};

/** Characters of a text field, the terminating NUL included. */
enum { kWireTextLength = 32 };

/** The worker's greeting. */
typedef struct HelloPayload {
    /** The value of --entry, at most 31 characters; every character after the NUL is zero. */
    wchar_t entry[kWireTextLength];
    /** The worker's hidden window, which takes kCopyDataStop. */
    uint64_t hostWnd;
} HelloPayload;

/** NvmlGpuRecord.kind. */
enum {
    /** Sent once per GPU and process: everything that does not change, and first readings. */
    kGpuRecordStatic = 1,
    /** Sent once per GPU and cycle: the readings. */
    kGpuRecordDynamic = 2
};

/** NvmlGpuRecord.fanSpeedPercent of a GPU whose fan could not be read. */
#define ZORVANE_FAN_SPEED_UNKNOWN 0xFFFFFFFFu

/** Clock types, the indices of the clock arrays. */
enum { kClockGraphics = 0, kClockSm = 1, kClockMemory = 2, kClockVideo = 3, kClockTypeCount = 4 };

/**
 * One GPU's readings. What could not be read is 0 or an empty text, the fan speed excepted. Texts
 * end with a NUL and are cut silently at 31 characters. Fields marked "static" are zero in a record
 * of the dynamic kind.
 */
typedef struct NvmlGpuRecord {
    wchar_t entry[kWireTextLength];         /**< the worker's entry name */
    uint32_t reserved0;                     /**< 0 */
    uint32_t kind;                          /**< kGpuRecordStatic or kGpuRecordDynamic */
    uint32_t gpuIndex;                      /**< from 0; may differ between boots */
    uint32_t gpuCount;                      /**< GPUs of this machine */
    uint32_t memoryUtilizationPercent;      /**< share of time the memory was busy */
    uint32_t gpuUtilizationPercent;         /**< share of time a kernel ran */
    uint64_t totalMemoryKiB;                /**< static */
    uint32_t temperatureCelsius;            /**< the GPU's own sensor */
    uint32_t fanSpeedPercent;               /**< intended speed, may exceed 100 */
    wchar_t name[kWireTextLength];          /**< product name */
    wchar_t serial[kWireTextLength];        /**< static: board serial number */
    wchar_t vbiosVersion[kWireTextLength];  /**< static */
    wchar_t driverVersion[kWireTextLength]; /**< static: display driver */
    uint32_t maxClockMHz[kClockTypeCount];  /**< static */
    uint32_t clockMHz[kClockTypeCount];     /**< current clocks */
    uint32_t pciDomain;
    uint32_t pciBus;
    uint32_t pciDevice;
    uint32_t pciDeviceId;           /**< device id in the high, vendor id in the low 16 bits */
    uint32_t reserved1;             /**< 0 */
    char pciBusId[kWireTextLength]; /**< "domain:bus:device.function"; tells GPUs apart */
    uint32_t reserved2;             /**< 0 */
} NvmlGpuRecord;

/* NOLINTEND(modernize-use-using) */

ZORVANE_STATIC_ASSERT(sizeof(wchar_t) == 2);
ZORVANE_STATIC_ASSERT(sizeof(HelloPayload) == 72);
ZORVANE_STATIC_ASSERT(offsetof(HelloPayload, entry) == 0);
ZORVANE_STATIC_ASSERT(offsetof(HelloPayload, hostWnd) == 64);

ZORVANE_STATIC_ASSERT(sizeof(NvmlGpuRecord) == 448);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, entry) == 0);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, reserved0) == 64);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, kind) == 68);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, gpuIndex) == 72);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, gpuCount) == 76);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, memoryUtilizationPercent) == 80);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, gpuUtilizationPercent) == 84);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, totalMemoryKiB) == 88);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, temperatureCelsius) == 96);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, fanSpeedPercent) == 100);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, name) == 104);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, serial) == 168);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, vbiosVersion) == 232);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, driverVersion) == 296);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, maxClockMHz) == 360);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, clockMHz) == 376);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, pciDomain) == 392);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, pciBus) == 396);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, pciDevice) == 400);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, pciDeviceId) == 404);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, reserved1) == 408);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, pciBusId) == 412);
ZORVANE_STATIC_ASSERT(offsetof(NvmlGpuRecord, reserved2) == 444);

#undef ZORVANE_STATIC_ASSERT

#endif /* ZORVANE_WIRE_H_ */
