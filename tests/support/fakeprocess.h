/** A fake of the host process that tasks report to. */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "src/process/iprocess.h"

/** Records what tasks send; WaitQuit is scripted. Not thread-safe. */
class CFakeProcess : public IProcess {
  public:
    struct Message {
        ULONG_PTR code;
        std::string payload;
    };

    bool SendCopyData(const COPYDATASTRUCT* data) override;
    const wchar_t* GetEntry() override;
    void Run() override;
    BOOL Quit() override;
    bool WaitQuit(DWORD timeoutMs) override;
    /** Keeps the record under the code of task data; writes no entry name. */
    void SendData(wchar_t* buffer, DWORD size) override;

    /** What was sent, in order. */
    std::vector<Message> messages;
    /** The time-outs that WaitQuit was called with, in order. */
    std::vector<DWORD> waits;
    /** What WaitQuit answers; false when empty. */
    std::function<bool(DWORD timeoutMs)> onWaitQuit;
    /** What SendCopyData answers. */
    bool sendResult = true;
};
