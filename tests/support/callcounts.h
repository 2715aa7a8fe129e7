/** Counting the calls that a module makes through its import table. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

/** Calls by function: {"SendMessageTimeoutW", 1}. Functions that were not called are left out. */
using CallsByName = std::map<std::string, uint64_t>;

enum class CalledLibraries {
    kAll,
    /** Without the C runtime, of which an optimising compiler calls more or less. */
    kSystem,
};

/**
 * For its own life counts what one thread calls through a module's import table. The calls
 * themselves go on unchanged, whatever their signature: each entry leads over a few instructions
 * that count and jump. Functions that were looked up with GetProcAddress are not seen.
 */
class CCallCounts {
  public:
    /** A null module is the program itself. Throws std::runtime_error without memory for code. */
    explicit CCallCounts(HMODULE module);
    ~CCallCounts();
    CCallCounts(const CCallCounts&) = delete;
    CCallCounts& operator=(const CCallCounts&) = delete;

    /** Counts from 0 what the calling thread calls from now on. */
    void Begin();

    /** Ends counting and returns the calls since Begin. */
    CallsByName End(CalledLibraries libraries = CalledLibraries::kAll);

  private:
    struct Entry;
    struct Table;
    std::unique_ptr<Table> m_table;
};

/** The number of all calls. */
uint64_t TotalOf(const CallsByName& calls);
