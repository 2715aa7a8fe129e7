// A worker library that only reports how it was called: the command line as UTF-16 on standard
// output and in an environment variable of its process, and the process's error mode behind it if
// its last word is --error-mode. With --hang-at-exit as the last word it hangs when it is told of
// the end of the process, as a vendor's library can.
#include <windows.h>

#include <wchar.h>

#include <string>
#include <string_view>

namespace {

void Write(const wchar_t* text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text,
              static_cast<DWORD>(wcslen(text) * sizeof(wchar_t)), &written, nullptr);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_DETACH &&
        std::wstring_view(GetCommandLineW()).ends_with(L" --hang-at-exit")) {
        Sleep(INFINITE);
    }
    return TRUE;
}

extern "C" __declspec(dllexport) void ZorvaneProcess(wchar_t* commandLine) {
    SetEnvironmentVariableW(L"RECORDED_COMMAND_LINE", commandLine);
    Write(commandLine);
    if (std::wstring_view(commandLine).ends_with(L" --error-mode")) {
        Write((L"=" + std::to_wstring(GetErrorMode())).c_str());
    }
}
