#include "tests/campaigns/faults/runfolder.h"

#include <filesystem>
#include <system_error>

#include "base/text.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"

const char kUsualMachine[] = R"({
    "driverVersion": "551.86",
    "machine": {"administrator": true, "vbs": 0, "productName": "Desk",
                "windows": {"major": 10, "minor": 0, "build": 19045}},
    "gpus": [
        {"name": "one", "serial": "1562", "vbios": "90.04", "bus": 1, "deviceId": "0x268410DE",
         "memoryMiB": 8192, "utilization": {"gpu": 41, "memory": 17}, "temperature": 61,
         "fanSpeed": 33, "clocks": [1801, 1802, 1803, 1804],
         "maxClocks": [2801, 2802, 2803, 2804]},
        {"name": "two", "bus": 2, "memoryMiB": 4096, "utilization": {"gpu": 42, "memory": 18},
         "temperature": 62, "fanSpeed": null, "clocks": [1901, 1902, 1903, 1904],
         "maxClocks": [2901, 2902, 2903, 2904]}],
    "cpu": {"signature": "0x00800F11", "packageType": 2, "needsDriver": false,
            "name": "AMD Ryzen 7 1700X", "pmTable": {"temperature": 55}}})";

namespace {

constexpr DWORD kPatienceMs = 900'000;

// Windows closes the files of a process shortly after its end.
void Remove(const std::wstring& path) {
    std::error_code error;
    while (!std::filesystem::remove(path, error) && error) {
        Sleep(1);
    }
}

void Copy(const std::filesystem::path& from, const std::filesystem::path& folder) {
    std::filesystem::copy_file(from, folder / from.filename());
}

}  // namespace

CRunFolder::CRunFolder(const std::string& scenario) {
    const std::filesystem::path folder = m_folder.Path();
    std::filesystem::create_directory(folder / L"Log");
    Copy(std::filesystem::path(BuildFolder(L"bin")) / L"Zorvane.dll", folder);
    Copy(std::filesystem::path(BuildFolder(L"tests")) / L"faultedworker.exe", folder);
    Copy(std::filesystem::path(BuildFolder(L"sim")) / L"Platform.dll", folder);
    SetMachine(scenario, {});
}

void CRunFolder::SetMachine(const std::string& scenario, const std::wstring& nvml) {
    const std::filesystem::path sim = BuildFolder(L"sim");
    m_programFiles = nvml.empty() ? sim / L"ProgramFiles" : sim / L"variants" / nvml;
    WriteFileBytes(m_folder.PathOf(L"scenario.json"), scenario);
}

FaultResult CRunFolder::Run(const std::string& words) const {
    Remove(m_folder.PathOf(L"Qorvella.set"));
    Remove(LogPath());
    const CChildProcess worker(m_folder.PathOf(L"faultedworker.exe"), zorvane::ToWide(words),
                               {{L"ProgramW6432", m_programFiles},
                                {L"ZORVANE_SIM_SCENARIO", m_folder.PathOf(L"scenario.json")}});
    FaultResult result;
    result.exitCode = worker.Wait(kPatienceMs);
    worker.Kill();
    result.output = worker.Output();
    result.log = ReadFileBytes(LogPath());
    return result;
}
