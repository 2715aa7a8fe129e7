/** The fixture for tests of the AMD task's readings. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "src/amdsdk/amdsdktask.h"
#include "tests/support/fakeexecutable.h"
#include "tests/support/fakeplatform.h"
#include "tests/support/fakeprocess.h"
#include "tests/support/fakeservices.h"
#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "zorvane/wire.h"

using Lines = std::vector<std::string>;

/** A task on a fake library. Writes to the settings file are recorded, not done. */
class CExecuteTest : public testing::Test {
  protected:
    /** Executes the task once; returns its result. */
    int Execute() { return m_task.Execute(m_process); }

    /** Makes the PM table report this temperature. */
    void SetPMTable(double degreesCelsius) {
        m_platform.pmTable = [degreesCelsius](PMTableData* table) {
            table->currentTemperature = degreesCelsius;
            return 0;
        };
    }

    /** Makes the CPU report this temperature. */
    void SetCurrent(double degreesCelsius) {
        m_platform.currentTemperature = [degreesCelsius](double* temperature) {
            *temperature = degreesCelsius;
            return 0;
        };
    }

    /** Takes the texts that were sent, including their NUL. */
    std::vector<std::string> TakeTexts() {
        std::vector<std::string> texts;
        for (const CFakeProcess::Message& message : m_process->messages) {
            EXPECT_EQ(message.code, kCopyDataStop);
            texts.push_back(message.payload);
        }
        m_process->messages.clear();
        return texts;
    }

    /** "{"CpuTemp":n}" with its NUL. */
    static std::string Json(const std::string& number) {
        return "{\"CpuTemp\":" + number + "}" + '\0';
    }

    FakePlatform& m_platform = FakePlatform::Instance();
    CTestLog m_log;
    CFakeServices m_services{m_platform.calls};
    CFakeExecutable m_executable;
    std::shared_ptr<CFakeProcess> m_process = std::make_shared<CFakeProcess>();
    CAMDSDKTask m_task{&FreshPlatform()};
    /** The writes to the settings file, with the number of messages sent before each. */
    Lines m_writes;
    /** The result of writing the settings file. */
    BOOL m_writeResult = TRUE;

  private:
    static IPlatform& FreshPlatform() {
        FakePlatform::Instance().Reset();
        IPlatform& platform = GetPlatform();
        FakePlatform::Instance().cpuName = L"Unlisted processor";
        FakePlatform::Instance().calls.clear();
        return platform;
    }

    PATCH_IMPORT(m_write, WritePrivateProfileStringW,
                 [this](LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR path) {
                     m_writes.push_back(Quoted(section) + ", " + Quoted(key) + ", " +
                                        Quoted(value) + ", " + Quoted(path) + " after " +
                                        std::to_string(m_process->messages.size()) + " messages");
                     return m_writeResult;
                 });
};

/** The only write there is, made before its step sends anything. */
inline const Lines kSwitchedOff = {
    R"("cpu_kernel", "sdk_flag", "0", "C:\Apps\Qorvella\Qorvella.set" after 0 messages)"};

/** A status of the library, and its text. */
struct StatusText {
    int32_t status;
    const char* text;
};

/** Every status but success. */
inline constexpr StatusText kStatusTexts[] = {
    {-1, "Failure"},
    {1, "Invalid value"},
    {2, "Method is not implemented by the BIOS"},
    {3, "Cores are already parked. First Enable all the cores."},
    {4, "Unsupported Function"},
    {5, "Deprecated API. Use GetPMTableData"},
};
