/** The fake worker and a message loop, for tests of the stub's side. */
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "base/modulepath.h"
#include "client/commandline.h"

/** Starts the fake worker with this script; tests/fakes/fakeworker.cpp lists the steps. */
inline zorvane::WorkerCommand FakeWorker(const std::vector<std::wstring>& script) {
    zorvane::WorkerCommand command;
    command.host = zorvane::ModuleFolder(nullptr) + L"fakeworker.exe";
    command.entry = L"test worker";
    command.words = script;
    return command;
}

/** Runs this thread's message loop until `done`; false when that takes longer than half a minute.
 */
inline bool PumpUntil(const std::function<bool()>& done) {
    const ULONGLONG end = GetTickCount64() + 30000;
    while (!done()) {
        const ULONGLONG now = GetTickCount64();
        if (now >= end) {
            return false;
        }
        // No handles, no array: cppcheck knows only the other case.
        // cppcheck-suppress nullPointer
        MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(end - now), QS_ALLINPUT,
                                    MWMO_INPUTAVAILABLE);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
    }
    return true;
}
