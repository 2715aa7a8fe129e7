/** A console for tests of what is drawn on it. */
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "base/text.h"
#include "tests/support/importpatch.h"

/** The text of the console's own screen and of the alternate one, and which of them is shown. */
class FakeConsoleTest : public testing::Test {
  protected:
    struct Screen {
        std::vector<std::wstring> lines;
        std::vector<std::vector<WORD>> attributes;
        COORD cursor{};
        WORD attribute = kPlain;
        int writes = 0;
    };

    static constexpr WORD kPlain = FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_BLUE;

    // Neither of them is ever used as a handle by Windows.
    HANDLE Own() const { return GetStdHandle(STD_OUTPUT_HANDLE); }
    static HANDLE Alternate() { return reinterpret_cast<HANDLE>(intptr_t{0x7EA4}); }

    Screen& Of(HANDLE handle) { return handle == Alternate() ? m_alternate : m_own; }

    void Write(HANDLE handle, std::wstring_view text) {
        Screen& screen = Of(handle);
        ++screen.writes;
        for (const wchar_t c : text) {
            if (c == L'\n') {
                screen.cursor = {0, static_cast<SHORT>(screen.cursor.Y + 1)};
                continue;
            }
            const auto row = static_cast<size_t>(screen.cursor.Y);
            const auto column = static_cast<size_t>(screen.cursor.X++);
            screen.lines.resize(std::max(screen.lines.size(), row + 1));
            screen.attributes.resize(screen.lines.size());
            screen.lines[row].resize(std::max(screen.lines[row].size(), column + 1), L' ');
            screen.attributes[row].resize(screen.lines[row].size(), kPlain);
            screen.lines[row][column] = c;
            screen.attributes[row][column] = screen.attribute;
        }
    }

    static std::string Row(const Screen& screen, size_t number) {
        if (number >= screen.lines.size()) {
            return "";
        }
        const std::wstring& line = screen.lines[number];
        return zorvane::ToUtf8(line.substr(0, line.find_last_not_of(L' ') + 1));
    }

    static std::string All(const Screen& screen) {
        std::string text;
        for (size_t i = 0; i < screen.lines.size(); ++i) {
            text += Row(screen, i) + "\n";
        }
        return text;
    }

    Screen m_own;
    Screen m_alternate;
    COORD m_size{60, 12};
    bool m_isAlternateShown = false;
    bool m_isAlternateOpen = false;
};

// Plays the console of FakeConsoleTest for the rest of the scope.
#define PLAY_CONSOLE()                                                                        \
    PATCH_IMPORT(playMode, GetConsoleMode, [](HANDLE, LPDWORD) -> WINBOOL { return TRUE; });  \
    PATCH_IMPORT(playSetMode, SetConsoleMode, [](HANDLE, DWORD) -> WINBOOL { return TRUE; }); \
    PATCH_IMPORT(playCreate, CreateConsoleScreenBuffer,                                       \
                 [this](DWORD, DWORD, const SECURITY_ATTRIBUTES*, DWORD, LPVOID) -> HANDLE {  \
                     m_isAlternateOpen = true;                                                \
                     return Alternate();                                                      \
                 });                                                                          \
    PATCH_IMPORT(playClose, CloseHandle, [&](HANDLE handle) -> WINBOOL {                      \
        if (handle != Alternate()) {                                                          \
            return playClose.Original(handle);                                                \
        }                                                                                     \
        m_isAlternateOpen = false;                                                            \
        return TRUE;                                                                          \
    });                                                                                       \
    PATCH_IMPORT(playShow, SetConsoleActiveScreenBuffer, [this](HANDLE handle) -> WINBOOL {   \
        m_isAlternateShown = handle == Alternate();                                           \
        return TRUE;                                                                          \
    });                                                                                       \
    PATCH_IMPORT(playCursor, SetConsoleCursorInfo,                                            \
                 [](HANDLE, const CONSOLE_CURSOR_INFO*) -> WINBOOL { return TRUE; });         \
    PATCH_IMPORT(playAttribute, SetConsoleTextAttribute,                                      \
                 [this](HANDLE handle, WORD attribute) -> WINBOOL {                           \
                     Of(handle).attribute = attribute;                                        \
                     return TRUE;                                                             \
                 });                                                                          \
    PATCH_IMPORT(                                                                             \
        playWrite, WriteConsoleW,                                                             \
        [this](HANDLE handle, const void* text, DWORD length, LPDWORD, LPVOID) -> WINBOOL {   \
            Write(handle, {static_cast<const wchar_t*>(text), length});                       \
            return TRUE;                                                                      \
        });                                                                                   \
    PATCH_IMPORT(playInfo, GetConsoleScreenBufferInfo,                                        \
                 [this](HANDLE handle, PCONSOLE_SCREEN_BUFFER_INFO info) -> WINBOOL {         \
                     info->wAttributes = kPlain;                                              \
                     info->dwCursorPosition = Of(handle).cursor;                              \
                     info->srWindow = {0, 0, static_cast<SHORT>(m_size.X - 1),                \
                                       static_cast<SHORT>(m_size.Y - 1)};                     \
                     return TRUE;                                                             \
                 });                                                                          \
    PATCH_IMPORT(playMove, SetConsoleCursorPosition,                                          \
                 [this](HANDLE handle, COORD position) -> WINBOOL {                           \
                     Of(handle).cursor = position;                                            \
                     return TRUE;                                                             \
                 })
