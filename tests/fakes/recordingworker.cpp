// A worker library that only reports how it was called: the command line as UTF-16 on standard
// output and in an environment variable of its process.
#include <windows.h>

#include <wchar.h>

extern "C" __declspec(dllexport) void ZorvaneProcess(wchar_t* commandLine) {
    SetEnvironmentVariableW(L"RECORDED_COMMAND_LINE", commandLine);
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), commandLine,
              static_cast<DWORD>(wcslen(commandLine) * sizeof(wchar_t)), &written, nullptr);
}
