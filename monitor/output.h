/** Standard output, wherever it goes. */
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "client/callerror.h"

namespace zorvane {

struct TerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 25;
};

/**
 * Writes UTF-8 at once, without a buffer: a reader at the other end of a pipe sees each line when
 * it happens. After a failure nothing more is written.
 */
class COutput {
  public:
    /** `handle` stays the caller's and open; it may be invalid, which shows with the first write.
     */
    explicit COutput(HANDLE handle);
    /** Gives a terminal back the mode that it had. */
    ~COutput();
    COutput(const COutput&) = delete;
    COutput& operator=(const COutput&) = delete;

    void Write(std::string_view text);

    /** Whether this is a terminal that understands virtual terminal sequences. */
    bool IsTerminal() const { return m_isTerminal; }

    /** Meaningful for a terminal. */
    TerminalSize Size() const;

    /** Why nothing is written any more. */
    const std::optional<CallError>& Failure() const { return m_failure; }

    /** Whether the failure is that nobody reads any more, which is a way to end like any other. */
    bool IsReaderGone() const;

  private:
    HANDLE m_handle;
    DWORD m_oldMode = 0;
    bool m_isTerminal = false;
    std::optional<CallError> m_failure;
};

/** One line to standard error, with the program's name in front. */
void WriteNote(std::string_view text);

}  // namespace zorvane
