// In the asking process.
#include <windows.h>

#include <algorithm>
#include <initializer_list>
#include <nlohmann/json.hpp>

#include "base/modulepath.h"
#include "base/textstream.h"
#include "monitor/doctor/probe.h"
#include "src/nvmlinfo/nvmlentrypoints.h"

namespace zorvane {
namespace {

using Json = nlohmann::json;

constexpr uint32_t kTextSize = 100;

struct EntryPoints {
#define ZORVANE_PROBE_MEMBER(member, presence, signature, ...) \
    std::add_pointer_t<signature> member = nullptr;
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_PROBE_MEMBER)
#undef ZORVANE_PROBE_MEMBER
};

template <typename Function>
Function* Bind(HMODULE library, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (const FARPROC found = GetProcAddress(library, name)) {
            return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
        }
    }
    return nullptr;
}

EntryPoints BindAll(HMODULE library) {
    EntryPoints nvml;
#define ZORVANE_PROBE_BIND(member, presence, signature, ...) \
    nvml.member = Bind<signature>(library, {__VA_ARGS__});
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_PROBE_BIND)
#undef ZORVANE_PROBE_BIND
    return nvml;
}

void SayLine(const Json& line) {
    // Nobody is there to hear of a failure.
    WriteText(GetStdHandle(STD_OUTPUT_HANDLE),
              line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

void Begin(const char* function) { SayLine({{"begin", function}}); }

// Nothing where the library lacks the function.
template <typename Function, typename... Arguments>
std::optional<int32_t> Call(const char* name, Function* function, Arguments... arguments) {
    if (!function) {
        return std::nullopt;
    }
    Begin(name);
    return function(arguments...);
}

// Calls about one GPU.
class CGpuCalls {
  public:
    CGpuCalls(uint32_t index, nvmlDevice_t device) : m_index(index), m_device(device) {}

    template <typename Function, typename... Arguments>
    void Ask(const char* name, Function* function, Arguments... arguments) const {
        if (const auto code = Call(name, function, m_device, arguments...)) {
            SayLine({{"end", name}, {"gpu", m_index}, {"code", *code}});
        }
    }

    template <typename Function>
    void AskText(const char* name, Function* function) const {
        char text[kTextSize + 1] = {};
        if (const auto code = Call(name, function, m_device, text, kTextSize)) {
            const size_t length = *code == 0 ? strnlen(text, kTextSize) : 0;
            SayLine({{"end", name},
                     {"gpu", m_index},
                     {"code", *code},
                     {"text", std::string(text, length)}});
        }
    }

  private:
    uint32_t m_index;
    nvmlDevice_t m_device;
};

void AskGpu(const EntryPoints& nvml, uint32_t index) {
    constexpr char kGetHandle[] = "nvmlDeviceGetHandleByIndex";
    nvmlDevice_t device = nullptr;
    const auto code = Call(kGetHandle, nvml.deviceGetHandleByIndex, index, &device);
    if (!code) {
        return;
    }
    SayLine({{"end", kGetHandle}, {"gpu", index}, {"code", *code}});
    if (*code != 0) {
        return;
    }
    const CGpuCalls gpu(index, device);
    nvmlUtilization_t rates{};
    nvmlMemory_t memory{};
    // Room for what later versions of the structure add.
    struct {
        nvmlPciInfo_t info;
        char more[256];
    } pci{};
    uint32_t value = 0;
    gpu.AskText("nvmlDeviceGetName", nvml.deviceGetName);
    gpu.AskText("nvmlDeviceGetSerial", nvml.deviceGetSerial);
    gpu.AskText("nvmlDeviceGetVbiosVersion", nvml.deviceGetVbiosVersion);
    gpu.Ask("nvmlDeviceGetPciInfo", nvml.deviceGetPciInfo, &pci.info);
    gpu.Ask("nvmlDeviceGetMemoryInfo", nvml.deviceGetMemoryInfo, &memory);
    gpu.Ask("nvmlDeviceGetUtilizationRates", nvml.deviceGetUtilizationRates, &rates);
    gpu.Ask("nvmlDeviceGetTemperature", nvml.deviceGetTemperature, NVML_TEMPERATURE_GPU, &value);
    gpu.Ask("nvmlDeviceGetFanSpeed", nvml.deviceGetFanSpeed, &value);
    gpu.Ask("nvmlDeviceGetMaxClockInfo", nvml.deviceGetMaxClockInfo, nvmlClockType_t{0}, &value);
    gpu.Ask("nvmlDeviceGetClock", nvml.deviceGetClock, nvmlClockType_t{0}, NVML_CLOCK_ID_CURRENT,
            &value);
}

void AskAll(const EntryPoints& nvml) {
    const auto init = Call("nvmlInit", nvml.init);
    if (!init) {
        return;
    }
    SayLine({{"end", "nvmlInit"}, {"code", *init}});
    uint32_t count = 0;
    const auto code =
        *init == 0 ? Call("nvmlDeviceGetCount", nvml.deviceGetCount, &count) : std::nullopt;
    if (!code) {
        return;
    }
    SayLine({{"end", "nvmlDeviceGetCount"}, {"code", *code}, {"count", count}});
    for (uint32_t index = 0; *code == 0 && index < std::min(count, kMostProbedGpus); ++index) {
        AskGpu(nvml, index);
    }
    static_cast<void>(Call("nvmlShutdown", nvml.shutdown));
}

}  // namespace

void AskNvml(const std::wstring& path) {
    Begin("LoadLibrary");
    // Its own imports are looked for in its folder, as the worker's host does it.
    AddDllDirectory(FolderOf(path).c_str());
    // Deliberately never unloaded: its threads may still run.
    const HMODULE library = LoadLibraryW(path.c_str());
    const DWORD error = library ? ERROR_SUCCESS : GetLastError();
    SayLine({{"end", "LoadLibrary"}, {"code", error}});
    if (library) {
        AskAll(BindAll(library));
    }
}

}  // namespace zorvane
