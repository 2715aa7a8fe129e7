#include "monitor/output.h"

#include "base/textstream.h"

namespace zorvane {

COutput::COutput(HANDLE handle) : m_handle(handle), m_isTerminal(IsConsole(handle)) {}

void COutput::Write(std::string_view text) {
    if (!m_failure) {
        m_failure = WriteText(m_handle, text);
    }
}

TerminalSize COutput::Size() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(m_handle, &info)) {
        return {};
    }
    const SMALL_RECT& window = info.srWindow;
    const int columns = window.Right - window.Left + 1;
    const int rows = window.Bottom - window.Top + 1;
    // A console whose window was closed, or whose pseudo terminal has no size yet, has 0 cells.
    if (columns < 1 || rows < 1) {
        return {};
    }
    return {static_cast<size_t>(columns), static_cast<size_t>(rows)};
}

bool COutput::IsReaderGone() const {
    if (!m_failure) {
        return false;
    }
    const DWORD code = m_failure->code;
    return code == ERROR_BROKEN_PIPE || code == ERROR_NO_DATA || code == ERROR_PIPE_NOT_CONNECTED;
}

bool WriteAnswer(HANDLE target, std::string_view text) {
    COutput output(target);
    output.Write(text);
    const bool isLost = output.Failure() && !output.IsReaderGone();
    if (isLost) {
        WriteNote(Describe(*output.Failure()));
    }
    return !isLost;
}

void WriteNote(std::string_view text) {
    // If standard error cannot be written there is nowhere to report that.
    WriteText(GetStdHandle(STD_ERROR_HANDLE), "zorvanemon: " + std::string(text) + "\n");
}

}  // namespace zorvane
