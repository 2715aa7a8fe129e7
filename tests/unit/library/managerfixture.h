/** A task manager with everything around it. */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "src/zorvaneprocess.h"
#include "tests/support/fakeamdmachine.h"
#include "tests/support/fakeexecutable.h"
#include "tests/support/fakenvml.h"
#include "tests/support/fakeprocess.h"
#include "tests/support/tempfolder.h"
#include "tests/support/testlog.h"

/** One GPU and an AMD processor; the host quits in the pause after `m_cycles` cycles. */
class CManagerTest : public testing::Test {
  protected:
    CManagerTest() {
        m_amd.executable.path = m_folder.PathOf(L"host.exe");
        m_nvml.deviceCount = 1;
        m_process->onWaitQuit = [this](DWORD timeoutMs) { return OnWait(timeoutMs); };
    }

    bool OnWait(DWORD timeoutMs) {
        if (timeoutMs == 0) {
            return m_onPoll && m_onPoll();
        }
        ++m_pauses;
        if (m_onPause) {
            m_onPause(m_pauses);
        }
        return m_pauses >= m_cycles;
    }

    /** The codes of what was sent, in order: 3344 GPU record, 3345 CPU temperature. */
    std::vector<ULONG_PTR> Codes() const {
        std::vector<ULONG_PTR> codes;
        for (const CFakeProcess::Message& message : m_process->messages) {
            codes.push_back(message.code);
        }
        return codes;
    }

    void SwitchAmdTaskOff() { WriteFileBytes(m_settingsPath, "[cpu_kernel]\r\nsdk_flag=0\r\n"); }

    auto AmdCalls(const std::string& call) const {
        return std::count(m_amd.calls.begin(), m_amd.calls.end(), call);
    }

    auto LogLines(const std::string& end) const {
        const std::vector<std::string> lines = m_log.Lines();
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.ends_with(end); });
    }

    int m_cycles = 1;
    /** The answer to WaitQuit(0); false when empty. */
    std::function<bool()> m_onPoll;
    /** Called in each pause with its number, from 1. */
    std::function<void(int pause)> m_onPause;

    CTestLog m_log;
    CTempFolder m_folder;
    const std::wstring m_settingsPath = m_folder.PathOf(L"Qorvella.set");
    CFakeAmdMachine m_amd;
    CFakeNvml m_nvml;
    std::shared_ptr<CFakeProcess> m_process = std::make_shared<CFakeProcess>();
    CZorvaneProcess m_manager;

  private:
    int m_pauses = 0;
};
