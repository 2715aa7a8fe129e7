#include "client/c/fillevent.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/text.h"

namespace zorvane {
namespace {

// The numbers of the C interface never change, whatever becomes of the enumerations here.
static_assert(static_cast<uint32_t>(StopStep::kAsked) == kZorvaneStopAsked &&
              static_cast<uint32_t>(StopStep::kWindowTaken) == kZorvaneStopWindowTaken &&
              static_cast<uint32_t>(StopStep::kForced) == kZorvaneStopForced);
static_assert(static_cast<uint32_t>(ExitKind::kOrderly) + 1 == kZorvaneExitOrderly &&
              static_cast<uint32_t>(ExitKind::kByItself) + 1 == kZorvaneExitByItself &&
              static_cast<uint32_t>(ExitKind::kHostFailure) + 1 == kZorvaneExitHostFailure &&
              static_cast<uint32_t>(ExitKind::kCrash) + 1 == kZorvaneExitCrash);
static_assert(static_cast<uint32_t>(SessionEnd::kStopped) + 1 == kZorvaneEndStopped &&
              static_cast<uint32_t>(SessionEnd::kWorkerEnded) + 1 == kZorvaneEndWorkerEnded &&
              static_cast<uint32_t>(SessionEnd::kNotStarted) + 1 == kZorvaneEndNotStarted);
static_assert(
    static_cast<uint32_t>(PayloadFault::kUnknownCode) + 1 == kZorvaneFaultUnknownCode &&
    static_cast<uint32_t>(PayloadFault::kWrongSize) + 1 == kZorvaneFaultWrongSize &&
    static_cast<uint32_t>(PayloadFault::kNotTerminated) + 1 == kZorvaneFaultNotTerminated &&
    static_cast<uint32_t>(PayloadFault::kBadRecord) + 1 == kZorvaneFaultBadRecord &&
    static_cast<uint32_t>(PayloadFault::kBadText) + 1 == kZorvaneFaultBadText &&
    static_cast<uint32_t>(PayloadFault::kForeignSender) + 1 == kZorvaneFaultForeignSender &&
    static_cast<uint32_t>(PayloadFault::kForeignWindow) + 1 == kZorvaneFaultForeignWindow &&
    static_cast<uint32_t>(PayloadFault::kImplausible) + 1 == kZorvaneFaultImplausible &&
    kLastPayloadFault == PayloadFault::kImplausible);
static_assert(kZorvaneClockGraphics == +kClockGraphics && kZorvaneClockSm == +kClockSm &&
              kZorvaneClockMemory == +kClockMemory && kZorvaneClockVideo == +kClockVideo &&
              kZorvaneClockCount == +kClockTypeCount);

constexpr const char* kEventNames[] = {
    "unknown",     "worker_start", "hello",   "gpu_static",   "gpu",      "cpu",    "error",
    "missing",     "stale",        "fresh",   "gpu_lost",     "gpu_back", "notice", "stop_step",
    "worker_exit", "paused",       "resumed", "start_failed", "end"};
static_assert(std::size(kEventNames) == kZorvaneEventEnd + 1);

// Copies what fits with a NUL and without half a character; gives the length.
template <size_t kSize>
uint32_t Copy(char (&field)[kSize], std::string_view text) {
    size_t length = std::min(text.size(), kSize - 1);
    while (length < text.size() && length > 0 && (text[length] & '\xC0') == '\x80') {
        --length;
    }
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
    return static_cast<uint32_t>(length);
}

template <typename T>
void Put(ZorvaneNumber& field, const std::optional<T>& value) {
    if (value) {
        field = {1, 0, static_cast<int64_t>(*value)};
    }
}

void Put(ZorvaneText& field, const std::optional<WireText>& text) {
    if (text) {
        PutText(field, ToUtf8(*text));
    }
}

void Put(ZorvaneNumber (&fields)[kZorvaneClockCount], const Clocks& clocks) {
    for (size_t type = 0; type < clocks.size(); ++type) {
        Put(fields[type], clocks[type]);
    }
}

int64_t Milliseconds(UtcTime time) { return time.time_since_epoch().count(); }

void Put(ZorvaneGpu& field, const GpuId& gpu) {
    field.index = gpu.index;
    if (gpu.busId) {
        PutText(field.busId, *gpu.busId);
    }
}

void Put(ZorvaneGpu& field, const GpuReading& reading) {
    field.index = reading.index;
    field.count = reading.count;
    Put(field.name, reading.name);
    Put(field.gpuUtilizationPercent, reading.gpuUtilizationPercent);
    Put(field.memoryUtilizationPercent, reading.memoryUtilizationPercent);
    Put(field.temperatureCelsius, reading.temperatureCelsius);
    Put(field.fanSpeedPercent, reading.fanSpeedPercent);
    Put(field.clocksMHz, reading.clocksMHz);
    if (reading.pci) {
        PutText(field.busId, reading.pci->busId);
        Put(field.pciDomain, std::optional(reading.pci->domain));
        Put(field.pciBus, std::optional(reading.pci->bus));
        Put(field.pciDevice, std::optional(reading.pci->device));
        Put(field.pciDeviceId, std::optional(reading.pci->deviceId));
    }
}

// One overload for each alternative of SessionEventBody.
class CFiller {
  public:
    explicit CFiller(ZorvaneEvent& event) : m_event(event) {}

    void operator()(const WorkerStartEvent&) { m_event.type = kZorvaneEventWorkerStart; }
    void operator()(const HelloEvent& event) {
        m_event.type = kZorvaneEventHello;
        PutText(m_event.entry, ToUtf8(event.hello.entry));
    }
    void operator()(const GpuStatic& event) {
        m_event.type = kZorvaneEventGpuStatic;
        Put(m_event.gpu, event.first);
        Put(m_event.gpu.serial, event.serial);
        Put(m_event.gpu.vbiosVersion, event.vbiosVersion);
        Put(m_event.gpu.driverVersion, event.driverVersion);
        Put(m_event.gpu.totalMemoryKiB, event.totalMemoryKiB);
        Put(m_event.gpu.maxClocksMHz, event.maxClocksMHz);
        PutText(m_event.entry, ToUtf8(event.first.entry));
    }
    void operator()(const GpuReading& event) {
        m_event.type = kZorvaneEventGpu;
        Put(m_event.gpu, event);
        PutText(m_event.entry, ToUtf8(event.entry));
    }
    void operator()(const CpuTemperature& event) {
        m_event.type = kZorvaneEventCpu;
        Put(m_event.cpuTemperatureCelsius, std::optional(event.celsius));
    }
    void operator()(const CpuUnreadEvent&) { m_event.type = kZorvaneEventCpu; }
    void operator()(const ErrorEvent& event) {
        m_event.type = kZorvaneEventError;
        m_event.fault = static_cast<uint32_t>(event.error.fault) + 1;
        m_event.leftOut = event.leftOut;
        PutText(m_event.id, FaultName(event.error.fault));
        PutText(m_event.text, event.error.text);
    }
    void operator()(const MissingEvent& event) {
        m_event.type = kZorvaneEventMissing;
        PutText(m_event.what, event.what);
        PutText(m_event.id, event.id);
        PutText(m_event.brief, event.brief);
        PutText(m_event.text, event.text);
        PutText(m_event.remedy, event.remedy);
    }
    void operator()(const StaleEvent& event) {
        m_event.type = kZorvaneEventStale;
        m_event.sinceMs = Milliseconds(event.since);
    }
    void operator()(const FreshEvent& event) {
        m_event.type = kZorvaneEventFresh;
        m_event.sinceMs = Milliseconds(event.since);
    }
    void operator()(const GpuLostEvent& event) {
        m_event.type = kZorvaneEventGpuLost;
        Put(m_event.gpu, event.gpu);
    }
    void operator()(const GpuBackEvent& event) {
        m_event.type = kZorvaneEventGpuBack;
        Put(m_event.gpu, event.gpu);
    }
    void operator()(const NoticeEvent& event) {
        m_event.type = kZorvaneEventNotice;
        PutText(m_event.id, event.id);
        PutText(m_event.text, event.text);
    }
    void operator()(const StopStepEvent& event) {
        m_event.type = kZorvaneEventStopStep;
        m_event.stopStep = static_cast<uint32_t>(event.step);
        PutText(m_event.text, event.reason);
    }
    void operator()(const ExitEvent& event) {
        m_event.type = kZorvaneEventWorkerExit;
        const WorkerExit& exit = event.exit;
        ZorvaneExit& field = m_event.exit;
        field.processId = exit.processId;
        field.code = exit.code;
        field.kind = static_cast<uint32_t>(exit.kind) + 1;
        field.greeted = exit.greeted ? 1 : 0;
        field.asked = exit.asked ? 1 : 0;
        field.forced = exit.forced ? 1 : 0;
        field.livedMs = exit.lived.count();
        if (event.restartIn) {
            Put(field.restartInMs, std::optional(event.restartIn->count()));
        }
        PutText(m_event.text, DescribeExit(exit));
    }
    void operator()(const PausedEvent&) { m_event.type = kZorvaneEventPaused; }
    void operator()(const ResumedEvent&) { m_event.type = kZorvaneEventResumed; }
    void operator()(const StartFailedEvent& event) {
        m_event.type = kZorvaneEventStartFailed;
        m_event.code = event.error.code;
        PutText(m_event.call, event.error.call);
        PutText(m_event.text, Describe(event.error));
    }
    void operator()(const EndEvent& event) {
        m_event.type = kZorvaneEventEnd;
        m_event.endReason = static_cast<uint32_t>(event.reason) + 1;
    }

  private:
    ZorvaneEvent& m_event;
};

}  // namespace

void PutText(ZorvaneText& field, std::string_view text) {
    field.valid = 1;
    field.length = Copy(field.text, text);
}

void PutText(ZorvaneMessage& field, std::string_view text) {
    field.length = Copy(field.text, text);
}

ZorvaneEvent ToCEvent(const QueuedEvent& event, uint64_t dropped) {
    ZorvaneEvent result{};
    result.size = sizeof(result);
    result.timeMs = Milliseconds(event.event.time);
    result.dropped = dropped;
    result.workerId = event.workerId;
    std::visit(CFiller(result), event.event.body);
    return result;
}

const char* EventName(ZorvaneEventType type) {
    return kEventNames[type < std::size(kEventNames) ? type : 0];
}

}  // namespace zorvane
