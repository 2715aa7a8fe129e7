#include "bench/machine.h"

#include <fstream>
#include <string>

#include "base/modulepath.h"

std::filesystem::path PartOfBuild(const wchar_t* part) {
    return std::filesystem::path(zorvane::ModuleFolder(nullptr)).parent_path().parent_path() / part;
}

BenchMachine::BenchMachine(unsigned gpus)
    : folder(std::filesystem::temp_directory_path() /
             ("zorvane-bench-" + std::to_string(GetCurrentProcessId()))) {
    std::filesystem::create_directories(folder / "Log");
    const std::filesystem::path bin = PartOfBuild(L"bin");
    for (const auto& file : {bin / "Zorvane.dll", bin / "zorvanehost.exe",
                             bin / "platform-standin" / "Platform.dll"}) {
        std::filesystem::copy_file(file, folder / file.filename(),
                                   std::filesystem::copy_options::overwrite_existing);
    }
    // The temperature task would install a driver.
    const char off[] = "[cpu_kernel]\r\nsdk_flag=0\r\n";
    std::ofstream(folder / "Qorvella.set", std::ios::binary) << off;
    std::ofstream(PartOfBuild(L"bench") / "Qorvella.set", std::ios::binary) << off;
    SetEnvironmentVariableW(L"ProgramW6432", (PartOfBuild(L"bench") / "ProgramFiles").c_str());
    SetEnvironmentVariableW(L"ZORVANE_BENCH_GPUS", std::to_wstring(gpus).c_str());
}

BenchMachine::~BenchMachine() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

zorvane::CWindowThread TakingStub() {
    return zorvane::CWindowThread([](UINT message, WPARAM, LPARAM) {
        return message == WM_COPYDATA ? std::optional<LRESULT>(TRUE) : std::nullopt;
    });
}

std::wstring WindowWord(HWND window) {
    return L"--wnd=" + std::to_wstring(static_cast<int>(reinterpret_cast<INT_PTR>(window)));
}
