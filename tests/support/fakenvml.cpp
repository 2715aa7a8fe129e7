#include "tests/support/fakenvml.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "tests/support/importpatch.h"

namespace {

CFakeNvml* s_fakeNvml = nullptr;
uint32_t s_handlesGiven = 0;

// The name of an exported function as a template argument.
template <size_t kSize>
struct Name {
    consteval Name(const char (&name)[kSize]) { std::copy(name, name + kSize, text); }
    char text[kSize]{};
};

nvmlReturn_t Answer(const std::string& call) {
    s_fakeNvml->calls.push_back(call);
    const auto& results = s_fakeNvml->results;
    auto found = results.find(call);
    if (found == results.end()) {
        found = results.find(call.substr(0, call.find('(')));
    }
    return found == results.end() ? NVML_SUCCESS : found->second;
}

template <typename... Numbers>
std::string NvmlCall(const char* function, const std::string& first, Numbers... others) {
    return std::string(function) + "(" + first + ((", " + std::to_string(others)) + ... + ")");
}

// The upper half counts the look-ups, so that a stale handle is recognised.
nvmlDevice_t NewHandle(uint32_t index) {
    const uint64_t handle = uint64_t{++s_handlesGiven} << 32 | index;
    return reinterpret_cast<nvmlDevice_t>(handle);
}

uint32_t IndexOf(nvmlDevice_t device) {
    return static_cast<uint32_t>(reinterpret_cast<uint64_t>(device));
}

std::string Gpu(nvmlDevice_t device) {
    const bool latest = reinterpret_cast<uint64_t>(device) >> 32 == s_handlesGiven;
    return latest ? std::to_string(IndexOf(device)) : "stale";
}

const FakeGpu& GpuOf(nvmlDevice_t device) {
    return s_fakeNvml->gpus[IndexOf(device) % s_fakeNvml->gpus.size()];
}

void CheckZero(const char* function, const void* buffer, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    if (std::any_of(bytes, bytes + size, [](unsigned char byte) { return byte != 0; })) {
        s_fakeNvml->dirtyBuffers.emplace_back(function);
    }
}

void WriteText(const char* function, char* buffer, uint32_t length, const std::string& text) {
    CheckZero(function, buffer, length);
    if (s_fakeNvml->writesNothing) {
        return;
    }
    std::copy_n(text.c_str(), std::min<size_t>(text.size() + 1, length), buffer);
}

template <typename Value>
void Write(Value* target, const Value& value) {
    if (!s_fakeNvml->writesNothing) {
        *target = value;
    }
}

template <Name kName>
nvmlReturn_t NoArguments() {
    return Answer(NvmlCall(kName.text, ""));
}

const char* ErrorString(nvmlReturn_t code) {
    Answer(NvmlCall("nvmlErrorString", std::to_string(code)));
    return reinterpret_cast<const char*>(uintptr_t{1});
}

template <Name kName>
nvmlReturn_t GetCount(uint32_t* count) {
    *count = s_fakeNvml->deviceCount;
    return Answer(NvmlCall(kName.text, ""));
}

template <Name kName>
nvmlReturn_t GetHandle(uint32_t index, nvmlDevice_t* device) {
    *device = s_fakeNvml->nullHandles ? nullptr : NewHandle(index);
    return Answer(NvmlCall(kName.text, std::to_string(index)));
}

template <Name kName, auto kField>
nvmlReturn_t GetText(nvmlDevice_t device, char* text, uint32_t length) {
    WriteText(kName.text, text, length, GpuOf(device).*kField);
    return Answer(NvmlCall(kName.text, Gpu(device), length));
}

nvmlReturn_t GetDriverVersion(char* text, uint32_t length) {
    WriteText("nvmlSystemGetDriverVersion", text, length, s_fakeNvml->driverVersion);
    return Answer(NvmlCall("nvmlSystemGetDriverVersion", std::to_string(length)));
}

template <Name kName, auto kField, typename Value>
nvmlReturn_t GetStructure(nvmlDevice_t device, Value* value) {
    CheckZero(kName.text, value, sizeof(*value));
    Write(value, GpuOf(device).*kField);
    return Answer(NvmlCall(kName.text, Gpu(device)));
}

nvmlReturn_t GetFanSpeed(nvmlDevice_t device, uint32_t* percent) {
    Write(percent, GpuOf(device).fanSpeed);
    return Answer(NvmlCall("nvmlDeviceGetFanSpeed", Gpu(device)));
}

nvmlReturn_t GetTemperature(nvmlDevice_t device, nvmlTemperatureSensors_t sensor,
                            uint32_t* celsius) {
    Write(celsius, GpuOf(device).temperature);
    return Answer(NvmlCall("nvmlDeviceGetTemperature", Gpu(device), sensor));
}

template <Name kName, auto kField>
nvmlReturn_t GetTypeClock(nvmlDevice_t device, nvmlClockType_t type, uint32_t* mhz) {
    Write(mhz, (GpuOf(device).*kField)[type]);
    return Answer(NvmlCall(kName.text, Gpu(device), type));
}

nvmlReturn_t GetClock(nvmlDevice_t device, nvmlClockType_t type, nvmlClockId_t id, uint32_t* mhz) {
    Write(mhz, GpuOf(device).clocks[type]);
    return Answer(NvmlCall("nvmlDeviceGetClock", Gpu(device), type, id));
}

struct EntryPoint {
    const char* name;
    void* function;
};

template <typename Function>
EntryPoint Export(const char* name, Function* function) {
    return {name, reinterpret_cast<void*>(function)};
}

#define EXPORT(name, function, ...) Export(name, &function<name __VA_OPT__(, ) __VA_ARGS__>)

const std::vector<EntryPoint>& EntryPoints() {
    static const std::vector<EntryPoint> kEntryPoints{
        EXPORT("nvmlInit_v2", NoArguments),
        EXPORT("nvmlInit", NoArguments),
        EXPORT("nvmlShutdown", NoArguments),
        Export("nvmlErrorString", &ErrorString),
        EXPORT("nvmlDeviceGetCount_v2", GetCount),
        EXPORT("nvmlDeviceGetCount", GetCount),
        EXPORT("nvmlDeviceGetHandleByIndex_v2", GetHandle),
        EXPORT("nvmlDeviceGetHandleByIndex", GetHandle),
        EXPORT("nvmlDeviceGetUtilizationRates", GetStructure, &FakeGpu::utilization,
               nvmlUtilization_t),
        EXPORT("nvmlDeviceGetMemoryInfo", GetStructure, &FakeGpu::memory, nvmlMemory_t),
        EXPORT("nvmlDeviceGetName", GetText, &FakeGpu::name),
        Export("nvmlDeviceGetTemperature", &GetTemperature),
        EXPORT("nvmlDeviceGetPciInfo_v3", GetStructure, &FakeGpu::pci, nvmlPciInfo_t),
        EXPORT("nvmlDeviceGetPciInfo_v2", GetStructure, &FakeGpu::pci, nvmlPciInfo_t),
        EXPORT("nvmlDeviceGetPciInfo", GetStructure, &FakeGpu::pci, nvmlPciInfo_t),
        Export("nvmlDeviceGetFanSpeed", &GetFanSpeed),
        EXPORT("nvmlDeviceGetClockInfo", GetTypeClock, &FakeGpu::clocks),
        EXPORT("nvmlDeviceGetMaxClockInfo", GetTypeClock, &FakeGpu::maxClocks),
        Export("nvmlDeviceGetClock", &GetClock),
        EXPORT("nvmlDeviceGetSerial", GetText, &FakeGpu::serial),
        EXPORT("nvmlDeviceGetVbiosVersion", GetText, &FakeGpu::vbiosVersion),
        Export("nvmlSystemGetDriverVersion", &GetDriverVersion),
        EXPORT("nvmlDeviceGetBoardPartNumber", GetText, &FakeGpu::serial),
    };
    return kEntryPoints;
}

HMODULE FakeModule() { return reinterpret_cast<HMODULE>(&s_fakeNvml); }

bool IsNvmlPath(const wchar_t* path) {
    return path && std::wstring_view(path).ends_with(L"Nvml.dll");
}

FARPROC FindEntryPoint(const std::string& name) {
    s_fakeNvml->askedNames.push_back(name);
    if (s_fakeNvml->missing.contains(name)) {
        return nullptr;
    }
    for (const EntryPoint& entryPoint : EntryPoints()) {
        if (name == entryPoint.name) {
            return reinterpret_cast<FARPROC>(entryPoint.function);
        }
    }
    return nullptr;
}

// As Windows does: a buffer that is too small yields the required length.
DWORD Expand(std::wstring text, wchar_t* target, DWORD size) {
    constexpr std::wstring_view kVariable = L"%ProgramW6432%";
    s_fakeNvml->windowsCalls.push_back(L"ExpandEnvironmentStringsW(" + text + L", " +
                                       std::to_wstring(size) + L")");
    CheckZero("ExpandEnvironmentStringsW", target, size * sizeof(wchar_t));
    text.replace(0, kVariable.size(), s_fakeNvml->programFiles);
    std::copy_n(text.c_str(), std::min<size_t>(text.size() + 1, size), target);
    return static_cast<DWORD>(text.size() + 1);
}

FakeGpu SampleGpu(uint32_t number) {
    const std::string digit = std::to_string(number);
    FakeGpu gpu{"GeForce " + digit,
                "Serial " + digit,
                "95.02." + digit,
                {60 + number, 70 + number},
                {(8ull + number) << 30, 1, 2},
                40 + number,
                30 + number,
                {2100 + number, 2200 + number, 2300 + number, 2400 + number},
                {1100 + number, 1200 + number, 1300 + number, 1400 + number},
                {"legacy", 0x10 + number, 0x20 + number, 0x30 + number, 0x40 + number, 0x50, ""}};
    const std::string busId = "00000000:0" + digit + ":00.0";
    std::copy(busId.begin(), busId.end(), gpu.pci.busId);
    return gpu;
}

}  // namespace

struct CFakeNvml::Patches {
    PATCH_IMPORT(load, LoadLibraryW, [this](const wchar_t* path) -> HMODULE {
        if (!IsNvmlPath(path)) {
            return load.Original(path);
        }
        s_fakeNvml->windowsCalls.push_back(L"LoadLibraryW(" + std::wstring(path) + L")");
        return s_fakeNvml->loadable ? FakeModule() : nullptr;
    });
    PATCH_IMPORT(address, GetProcAddress, [this](HMODULE module, const char* name) {
        return module == FakeModule() ? FindEntryPoint(name) : address.Original(module, name);
    });
    PATCH_IMPORT(free, FreeLibrary, [this](HMODULE module) {
        if (module != FakeModule()) {
            return free.Original(module);
        }
        s_fakeNvml->windowsCalls.emplace_back(L"FreeLibrary");
        return TRUE;
    });
    PATCH_IMPORT(exists, PathFileExistsW, [this](const wchar_t* path) {
        if (!IsNvmlPath(path) && *path != L'\0') {
            return exists.Original(path);
        }
        s_fakeNvml->windowsCalls.push_back(L"PathFileExistsW(" + std::wstring(path) + L")");
        return s_fakeNvml->fileExists && *path != L'\0' ? TRUE : FALSE;
    });
    PATCH_IMPORT(expansion, ExpandEnvironmentStringsW,
                 [](const wchar_t* text, wchar_t* target, DWORD size) {
                     return Expand(text, target, size);
                 });
};

CFakeNvml::CFakeNvml() : gpus{SampleGpu(0), SampleGpu(1)} {
    s_fakeNvml = this;
    m_patches = std::make_unique<Patches>();
}

CFakeNvml::~CFakeNvml() {
    m_patches.reset();
    s_fakeNvml = nullptr;
}
