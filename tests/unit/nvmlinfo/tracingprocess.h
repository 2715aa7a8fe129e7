/** A fake process whose calls are recorded among those of the library. */
#pragma once

#include <functional>
#include <string>

#include "tests/support/fakenvml.h"
#include "tests/support/fakeprocess.h"

/** Adds "SendData" and "WaitQuit(0)" to the calls of `library`, in their place. */
class CTracingProcess final : public CFakeProcess {
  public:
    explicit CTracingProcess(CFakeNvml& library) : m_library(library) {}

    bool WaitQuit(DWORD timeoutMs) override {
        m_library.calls.push_back("WaitQuit(" + std::to_string(timeoutMs) + ")");
        return CFakeProcess::WaitQuit(timeoutMs);
    }

    void SendData(wchar_t* buffer, DWORD size) override {
        m_library.calls.emplace_back("SendData");
        CFakeProcess::SendData(buffer, size);
    }

    /** Answers true from the `number`th WaitQuit of the next Execute on, counted from 1. */
    void QuitAtWait(size_t number) {
        const size_t before = waits.size();
        onWaitQuit = [this, before, number](DWORD) { return waits.size() - before >= number; };
    }

  private:
    CFakeNvml& m_library;
};
