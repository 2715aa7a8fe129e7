/** Keys that steer the display of a terminal. */
#pragma once

#include <windows.h>

#include <optional>
#include <vector>

namespace zorvane {

enum class Key {
    /** q: as good as Ctrl+C. */
    kQuit,
    /** p: stop the display, or go on. */
    kPause,
    /** None of the keyboard's: the terminal has another size now. */
    kResize,
};

/** What the record of a console's input means here; empty: nothing. */
std::optional<Key> KeyOf(const INPUT_RECORD& record);

/** Takes keys from a console's input, whose mode is put back at the end. One thread. */
class CKeys {
  public:
    /** `input` stays the caller's and open. If it is no console there are no keys. */
    explicit CKeys(HANDLE input);
    ~CKeys();
    CKeys(const CKeys&) = delete;
    CKeys& operator=(const CKeys&) = delete;

    /** Signalled while there is something to take; null: nothing will come. */
    HANDLE Handle() const { return m_input; }

    /** What came since the last call. */
    std::vector<Key> Take();

  private:
    HANDLE m_input = nullptr;
    DWORD m_modeBefore = 0;
};

}  // namespace zorvane
