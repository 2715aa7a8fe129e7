/** The shipped library on a simulated machine, in a folder of its own. */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/tempfolder.h"

/** A scenario's processor that the vendor library knows, at 45 degrees. */
inline const std::string kRyzen = R"("cpu": {"signature": "0x00870F10", "packageType": 2,
                                             "name": "AMD Ryzen 9 3900X 12-Core Processor",
                                             "pmTable": {"temperature": 45}})";

/** The parts that a test chooses. */
struct MachineParts {
    /** JSON text of the scenario. */
    std::string scenario = "{}";
    /** A variant of the simulated NVML; empty: the current one; "none": no NVML at all. */
    std::wstring nvml{};
    /** Whether the processor is simulated; otherwise it is the machine's own. */
    bool simulatedProcessor = true;
    /** The stand-in instead of the simulated vendor library. */
    bool standIn = false;
    /** As the package is unpacked: no vendor library, and the stand-in in its own folder. */
    bool unpacked = false;
    /** Content of Qorvella.set; none when empty. */
    std::string settings{};
    /** A folder for it inside of the temporary one; when empty, that one itself. */
    std::wstring folder{};
    /** What that name is filled up to, so that the folder's path has so many characters. */
    size_t folderLength = 0;
};

/** Workers started here see nothing of the real machine. The folder's path contains a blank. */
class CSimulatedMachine {
  public:
    explicit CSimulatedMachine(const MachineParts& parts);

    /** Starts a worker with these words on its command line. */
    std::unique_ptr<CChildProcess> StartWorker(const std::wstring& words) const;

    /** The program and the environment that workers are started with. */
    std::wstring Host() const { return m_host; }
    std::vector<zorvane::EnvironmentChange> Environment() const;

    const std::wstring& Folder() const { return m_path; }
    std::wstring LogPath() const { return PathOf(L"Log\\Qorvella_HardwareDll.log"); }
    std::wstring SettingsPath() const { return PathOf(L"Qorvella.set"); }
    std::wstring DriverPath() const { return PathOf(L"AMDRyzenMasterDriver.sys"); }

    /** The log sites' messages, "[source] text", of all workers so far. */
    std::vector<std::string> LogMessages() const;
    /**
     * The messages from the stop message on. "OnClose" is checked and left out: the window's thread
     * logs it at any time between the stop and the end.
     */
    std::vector<std::string> MessagesFromStop() const;
    /** All lines of the log without stamps: "[E]..." onwards. */
    std::vector<std::string> LogLines() const;
    /** Lines of the vendor libraries' call log. */
    std::vector<std::string> Calls() const;
    /** Waits until the call log has a line with this text; false after half a minute. */
    bool WaitForCall(const std::string& text) const;

  private:
    std::wstring PathOf(const std::wstring& name) const { return m_path + L"\\" + name; }

    const CTempFolder m_folder;
    const std::wstring m_path;
    std::wstring m_host;
    std::wstring m_programFiles;
};
