/** A terminal's alternate screen. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"
#include "monitor/output.h"
#include "monitor/terminal/styledtext.h"

namespace zorvane {

/**
 * A screen buffer of its own that is shown instead of the console's, which is as before when this
 * is left: by Leave, by the end of the object, and by a crash. Windows does the same when the
 * process ends in any other way, because nobody holds this buffer any more. One at a time.
 */
class CScreen {
  public:
    CScreen() = default;
    ~CScreen();
    CScreen(const CScreen&) = delete;
    CScreen& operator=(const CScreen&) = delete;

    /** Shows the screen. `console` stays the caller's, is open meanwhile, and is shown again. */
    [[nodiscard]] std::optional<CallError> Enter(HANDLE console);

    /** Shows the console again; twice does nothing. */
    void Leave();

    TerminalSize Size() const;

    /**
     * Shows these lines from the top, blanks elsewhere. Writes only what has changed since the last
     * call. What is behind the last row or column is not shown.
     */
    void Draw(const StyledLines& lines, bool hasColour);

    /** Why nothing can be drawn any more. */
    const std::optional<CallError>& Failure() const { return m_failure; }

  private:
    void DrawRow(const StyledLine& line, SHORT left, SHORT row, size_t columns, bool hasColour);
    void Write(const std::string& text, WORD attributes);

    HANDLE m_console = nullptr;
    HANDLE m_buffer = nullptr;
    WORD m_plain = 0;
    StyledLines m_drawn;
    SMALL_RECT m_window{};
    std::optional<CallError> m_failure;
};

}  // namespace zorvane
