/** The shipped client DLL, loaded as a foreign program loads it. */
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/tempfolder.h"
#include "zorvane/client.h"

/** A copy of the DLL; its functions are members. Frees the DLL at its end. */
class CClientLibrary {
  public:
    /** Throws std::runtime_error when it cannot be loaded or lacks an export. */
    CClientLibrary();
    ~CClientLibrary();
    CClientLibrary(const CClientLibrary&) = delete;
    CClientLibrary& operator=(const CClientLibrary&) = delete;

    /** Loads it again after Free. */
    void Load();
    void Free();

    /** Whether the DLL is in memory, whoever holds it. */
    bool IsLoaded() const;

    decltype(&zorvane_client_version) version = nullptr;
    decltype(&zorvane_open) open = nullptr;
    decltype(&zorvane_start) start = nullptr;
    decltype(&zorvane_stop) stop = nullptr;
    decltype(&zorvane_pause) pause = nullptr;
    decltype(&zorvane_resume) resume = nullptr;
    decltype(&zorvane_next_event) nextEvent = nullptr;
    decltype(&zorvane_close) close = nullptr;
    decltype(&zorvane_result_text) resultText = nullptr;
    decltype(&zorvane_event_name) eventName = nullptr;

  private:
    CTempFolder m_folder;
    HMODULE m_module = nullptr;
};

/** A session with the fake worker, whose script stands one step a line. */
class CTestSession {
  public:
    CTestSession(CClientLibrary& library, const std::string& script,
                 const std::function<void(ZorvaneOptions& options)>& change = {});
    ~CTestSession();
    CTestSession(const CTestSession&) = delete;
    CTestSession& operator=(const CTestSession&) = delete;

    ZorvaneSession Number() const { return m_session; }

    /** The next event; type 0 when none comes within half a minute. */
    ZorvaneEvent Next() const;

    /** Reads on to the next event of a type; type 0 when none comes within half a minute. */
    ZorvaneEvent NextOf(ZorvaneEventType type) const;

    /** All events up to the last one of a start. */
    std::vector<ZorvaneEvent> UntilEnd() const;

  private:
    CClientLibrary& m_library;
    ZorvaneSession m_session = 0;
};

/** The types of these events. */
std::vector<ZorvaneEventType> TypesOf(const std::vector<ZorvaneEvent>& events);
