/** A scriptable fake of the service control manager and the driver's device. */
#pragma once

#include <windows.h>

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

/**
 * Answers this program's service calls and its opening of the driver's device, for its own life;
 * one at a time. Nothing reaches the real service control manager. Each call is kept with all its
 * arguments.
 */
class CFakeServices {
  public:
    /** Appends to `calls`; handles are named "manager1", "service1", "service2" in order. */
    explicit CFakeServices(std::vector<std::string>& calls);
    ~CFakeServices();
    CFakeServices(const CFakeServices&) = delete;
    CFakeServices& operator=(const CFakeServices&) = delete;

    /** Per function, the errors of its next calls (0: success); then it succeeds. */
    std::map<std::string, std::deque<DWORD>> errors;
    /** What QueryServiceStatus writes, also when it fails. */
    DWORD state = SERVICE_RUNNING;

  private:
    struct Patches;

    bool Succeeds(const char* function);
    void Record(const char* function, const std::string& arguments);
    SC_HANDLE NewHandle(const char* kind);
    std::string NameOf(SC_HANDLE handle) const;

    std::vector<std::string>& m_calls;
    std::vector<std::string> m_handleNames;
    std::map<std::string, int> m_handleCounts;
    std::unique_ptr<Patches> m_patches;
};

/** `text` in quotation marks, "null" when there is none; ASCII only. */
std::string Quoted(const wchar_t* text);

/** "0x1F", or "null" for a null pointer. */
std::string Hex(ULONGLONG number);
