/** Standard output, wherever it goes. */
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/callerror.h"

namespace zorvane {

struct TerminalSize {
    size_t columns = 80;
    size_t rows = 25;
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

    void Write(std::string_view text);

    /** Whether this is a console. */
    bool IsTerminal() const { return m_isTerminal; }

    /** Of a console. */
    TerminalSize Size() const;

    HANDLE Handle() const { return m_handle; }

    /** Why nothing is written any more. */
    const std::optional<CallError>& Failure() const { return m_failure; }

    /** Whether the failure is that nobody reads any more, which is a way to end like any other. */
    bool IsReaderGone() const;

  private:
    HANDLE m_handle;
    bool m_isTerminal;
    std::optional<CallError> m_failure;
};

/**
 * Writes what a command has to say to a standard handle. False if it is lost, which is then said on
 * standard error; that nobody reads any more is no loss.
 */
[[nodiscard]] bool WriteAnswer(HANDLE target, std::string_view text);

/** One line to standard error, with the program's name in front. */
void WriteNote(std::string_view text);

}  // namespace zorvane
