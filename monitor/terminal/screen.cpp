#include "monitor/terminal/screen.h"

#include "base/textstream.h"
#include "monitor/terminal/celltext.h"

namespace zorvane {
namespace {

// For the crash handler: what to show again, and the handler that was there before.
HANDLE s_console = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER s_filterBefore = nullptr;

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
    SetConsoleActiveScreenBuffer(s_console);
    return s_filterBefore ? s_filterBefore(exception) : EXCEPTION_CONTINUE_SEARCH;
}

// Console functions rather than escape sequences: they work in every console of Windows and in
// Wine's, which accepts the mode for sequences and then miscounts its lines.
constexpr WORD kBackground =
    BACKGROUND_RED | BACKGROUND_GREEN | BACKGROUND_BLUE | BACKGROUND_INTENSITY;

WORD AttributesOf(Style style, WORD plain) {
    switch (style) {
        case Style::kHeading:
            return plain | FOREGROUND_INTENSITY;
        case Style::kAlarm:
            return static_cast<WORD>((plain & kBackground) | FOREGROUND_RED | FOREGROUND_INTENSITY);
        default:
            return plain;
    }
}

bool IsSame(const SMALL_RECT& left, const SMALL_RECT& right) {
    return left.Left == right.Left && left.Top == right.Top && left.Right == right.Right &&
           left.Bottom == right.Bottom;
}

}  // namespace

CScreen::~CScreen() { Leave(); }

std::optional<CallError> CScreen::Enter(HANDLE console) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(console, &info)) {
        return LastCallError("GetConsoleScreenBufferInfo");
    }
    m_plain = info.wAttributes;
    HANDLE buffer =
        CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, CONSOLE_TEXTMODE_BUFFER, nullptr);
    if (buffer == INVALID_HANDLE_VALUE) {
        return LastCallError("CreateConsoleScreenBuffer");
    }
    // Without wrapping, a line that a terminal counts wider than we do stays in its row.
    SetConsoleMode(buffer, ENABLE_PROCESSED_OUTPUT);
    const CONSOLE_CURSOR_INFO hidden{100, FALSE};
    SetConsoleCursorInfo(buffer, &hidden);
    if (!SetConsoleActiveScreenBuffer(buffer)) {
        const CallError error = LastCallError("SetConsoleActiveScreenBuffer");
        CloseHandle(buffer);
        return error;
    }
    m_console = console;
    m_buffer = buffer;
    s_console = console;
    s_filterBefore = SetUnhandledExceptionFilter(&OnCrash);
    return std::nullopt;
}

void CScreen::Leave() {
    if (!m_buffer) {
        return;
    }
    SetUnhandledExceptionFilter(s_filterBefore);
    // Wine's console does not wipe out what was shown where the other buffer has blanks.
    Draw({}, false);
    SetConsoleActiveScreenBuffer(m_console);
    CloseHandle(m_buffer);
    m_buffer = nullptr;
}

TerminalSize CScreen::Size() const { return COutput(m_buffer).Size(); }

void CScreen::Draw(const StyledLines& lines, bool hasColour) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!m_buffer || m_failure) {
        return;
    }
    if (!GetConsoleScreenBufferInfo(m_buffer, &info)) {
        m_failure = LastCallError("GetConsoleScreenBufferInfo");
        return;
    }
    const TerminalSize size = Size();
    if (!IsSame(info.srWindow, m_window)) {
        m_window = info.srWindow;
        m_drawn.clear();
    }
    const bool isNew = m_drawn.empty();
    StyledLines drawn = lines;
    drawn.resize(size.rows);
    m_drawn.resize(size.rows);
    for (size_t row = 0; row < size.rows; ++row) {
        if (isNew || drawn[row] != m_drawn[row]) {
            DrawRow(drawn[row], info.srWindow.Left,
                    static_cast<SHORT>(info.srWindow.Top + static_cast<SHORT>(row)), size.columns,
                    hasColour);
        }
    }
    m_drawn = std::move(drawn);
}

void CScreen::DrawRow(const StyledLine& line, SHORT left, SHORT row, size_t columns,
                      bool hasColour) {
    SetConsoleCursorPosition(m_buffer, {left, row});
    // The last cell stays blank: what is written there may scroll the screen.
    const StyledLine shown = CutLine(line, columns - 1);
    size_t cells = 0;
    for (const Span& span : shown.spans) {
        Write(span.text, hasColour ? AttributesOf(span.style, m_plain) : m_plain);
        cells += CellsOf(span.text);
    }
    Write(std::string(columns - 1 - cells, ' '), m_plain);
}

void CScreen::Write(const std::string& text, WORD attributes) {
    if (m_failure || text.empty()) {
        return;
    }
    SetConsoleTextAttribute(m_buffer, attributes);
    m_failure = WriteText(m_buffer, text);
}

}  // namespace zorvane
