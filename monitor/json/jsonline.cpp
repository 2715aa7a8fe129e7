#include "monitor/json/jsonline.h"

#include "monitor/json/objectfiller.h"
#include "monitor/sentence.h"

namespace zorvane {
namespace {

void Put(CObjectFiller& line, const char* name, const Clocks& clocks) {
    CObjectFiller object(line.Member(name), kClockTypeCount);
    object.Put("graphics", clocks[kClockGraphics]);
    object.Put("sm", clocks[kClockSm]);
    object.Put("memory", clocks[kClockMemory]);
    object.Put("video", clocks[kClockVideo]);
}

void Put(CObjectFiller& line, const char* name, const std::optional<PciLocation>& pci) {
    if (!pci) {
        line.Put(name, nullptr);
        return;
    }
    CObjectFiller object(line.Member(name), 5);
    object.Put("bus_id", pci->busId);
    object.Put("domain", pci->domain);
    object.Put("bus", pci->bus);
    object.Put("device", pci->device);
    object.Put("device_id", pci->deviceId);
}

class CLineMaker {
    // Of "worker_exit" and of both kinds of readings.
    static constexpr size_t kMostMembers = 14;

  public:
    CLineMaker(OrderedJson& line, UtcTime time, const StartEvent& origin)
        : m_line(line, kMostMembers), m_time(time), m_origin(origin) {}

    void operator()(const StartEvent& start) {
        Begin("start");
        m_line.Put("tool_version", start.toolVersion);
        m_line.Put("library_version", start.libraryVersion);
        m_line.Put("simulated", start.simulated);
    }

    void operator()(const WorkerStartEvent& start) {
        Begin("worker_start");
        m_line.Put("worker_pid", start.workerId);
    }

    void operator()(const HelloEvent& event) {
        Begin("hello", ToUtf8(event.hello.entry));
        m_line.Put("worker_pid", event.workerId);
        m_line.Put("worker_window", event.hello.workerWindow);
    }

    void operator()(const GpuStatic& fixed) {
        BeginGpu("gpu_static", fixed.first);
        m_line.Put("serial", fixed.serial);
        m_line.Put("vbios_version", fixed.vbiosVersion);
        m_line.Put("driver_version", fixed.driverVersion);
        m_line.Put("memory_total_kib", fixed.totalMemoryKiB);
        Put(m_line, "max_clocks_mhz", fixed.maxClocksMHz);
    }

    void operator()(const GpuReading& reading) {
        BeginGpu("gpu", reading);
        m_line.Put("gpu_utilization_percent", reading.gpuUtilizationPercent);
        m_line.Put("memory_utilization_percent", reading.memoryUtilizationPercent);
        m_line.Put("temperature_celsius", reading.temperatureCelsius);
        m_line.Put("fan_speed_percent", reading.fanSpeedPercent);
        Put(m_line, "clocks_mhz", reading.clocksMHz);
    }

    void operator()(const CpuTemperature& temperature) {
        Begin("cpu");
        m_line.Put("temperature_celsius", temperature.celsius);
    }

    void operator()(const CpuUnreadEvent&) {
        Begin("cpu");
        m_line.Put("temperature_celsius", nullptr);
    }

    void operator()(const ErrorEvent& event) {
        Begin("error");
        m_line.Put("cause", FaultName(event.error.fault));
        m_line.Put("text", event.error.text);
        m_line.Put("left_out", event.leftOut);
    }

    void operator()(const MissingEvent& event) {
        Begin("missing");
        m_line.Put("what", event.what);
        m_line.Put("id", event.id);
        m_line.Put("brief", event.brief);
        m_line.Put("text", event.text);
        m_line.Put("do", event.remedy);
    }

    void operator()(const StaleEvent& event) {
        Begin("stale");
        m_line.Put("since", Rfc3339(event.since));
    }

    void operator()(const FreshEvent& event) {
        Begin("fresh");
        m_line.Put("since", Rfc3339(event.since));
    }

    void operator()(const GpuLostEvent& event) {
        BeginFor("gpu_lost", event.gpu);
        m_line.Put("text", *SentenceOf(event));
    }

    void operator()(const GpuBackEvent& event) {
        BeginFor("gpu_back", event.gpu);
        m_line.Put("text", *SentenceOf(event));
    }

    void operator()(const WarningEvent& event) {
        if (event.gpu) {
            BeginFor("warning", *event.gpu);
        } else {
            Begin("warning");
        }
        m_line.Put("what", event.what);
        m_line.Put("value", event.value);
        m_line.Put("limit", event.limit);
        m_line.Put("over", event.over);
        m_line.Put("text", *SentenceOf(event));
    }

    void operator()(const NoticeEvent& event) {
        Begin("notice");
        m_line.Put("id", event.id);
        m_line.Put("text", event.text);
    }

    void operator()(const ExitEvent& event) {
        Begin("worker_exit");
        m_line.Put("worker_pid", event.exit.processId);
        m_line.Put("exit_code", event.exit.code);
        m_line.Put("text", DescribeExit(event.exit));
        m_line.Put("crashed", event.exit.kind == ExitKind::kCrash && !event.exit.forced);
        m_line.Put("forced", event.exit.forced);
        m_line.Put("greeted", event.exit.greeted);
        m_line.Put("asked", event.exit.asked);
        m_line.Put("lived_ms", event.exit.lived.count());
        m_line.Put("restart_in_ms",
                   event.restartIn ? std::optional(event.restartIn->count()) : std::nullopt);
    }

    void operator()(const PausedEvent& event) { BeginWithText("paused", event); }

    void operator()(const ResumedEvent& event) { BeginWithText("resumed", event); }

  private:
    // What every line begins with.
    void Begin(const char* type) { Begin(type, m_origin.entry); }

    void Begin(const char* type, const std::string& entry) {
        m_line.Put("type", type);
        m_line.Put("time", Rfc3339(m_time));
        m_line.Put("schema", m_origin.schema);
        m_line.Put("host", m_origin.host);
        m_line.Put("entry", entry);
    }

    // What both kinds of readings of a GPU begin with.
    void BeginGpu(const char* type, const GpuReading& reading) {
        Begin(type);
        m_line.Put("index", reading.index);
        m_line.Put("count", reading.count);
        m_line.Put("name", reading.name);
        Put(m_line, "pci", reading.pci);
    }

    void BeginFor(const char* type, const GpuId& gpu) {
        Begin(type);
        m_line.Put("index", gpu.index);
        m_line.Put("bus_id", gpu.busId);
    }

    void BeginWithText(const char* type, const EventBody& event) {
        Begin(type);
        m_line.Put("text", *SentenceOf(event));
    }

    CObjectFiller m_line;
    const UtcTime m_time;
    const StartEvent& m_origin;
};

}  // namespace

CJsonLines::CJsonLines() : m_object(std::make_unique<OrderedJson>()) {}

CJsonLines::~CJsonLines() = default;

std::string CJsonLines::Line(const Event& event, const StartEvent& origin) {
    std::visit(CLineMaker(*m_object, event.time, origin), event.body);
    return m_object->dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

std::string JsonLine(const Event& event, const StartEvent& origin) {
    return CJsonLines().Line(event, origin);
}

}  // namespace zorvane
