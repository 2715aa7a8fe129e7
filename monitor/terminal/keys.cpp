#include "monitor/terminal/keys.h"

#include <iterator>

namespace zorvane {

std::optional<Key> KeyOf(const INPUT_RECORD& record) {
    if (record.EventType == WINDOW_BUFFER_SIZE_EVENT) {
        return Key::kResize;
    }
    if (record.EventType != KEY_EVENT || !record.Event.KeyEvent.bKeyDown) {
        return std::nullopt;
    }
    switch (record.Event.KeyEvent.uChar.UnicodeChar) {
        case L'q':
        case L'Q':
            return Key::kQuit;
        case L'p':
        case L'P':
            return Key::kPause;
        default:
            return std::nullopt;
    }
}

CKeys::CKeys(HANDLE input) {
    if (GetConsoleMode(input, &m_modeBefore)) {
        m_input = input;
        SetConsoleMode(input, m_modeBefore | ENABLE_WINDOW_INPUT);
    }
}

CKeys::~CKeys() {
    if (m_input) {
        SetConsoleMode(m_input, m_modeBefore);
    }
}

std::vector<Key> CKeys::Take() {
    std::vector<Key> keys;
    DWORD waiting = 0;
    while (m_input && GetNumberOfConsoleInputEvents(m_input, &waiting) && waiting > 0) {
        INPUT_RECORD records[32];
        DWORD count = 0;
        if (!ReadConsoleInputW(m_input, records, static_cast<DWORD>(std::size(records)), &count)) {
            // A console that has gone stays signalled.
            m_input = nullptr;
            break;
        }
        for (DWORD i = 0; i < count; ++i) {
            if (const auto key = KeyOf(records[i])) {
                keys.push_back(*key);
            }
        }
    }
    return keys;
}

}  // namespace zorvane
