#include "tests/support/fakeexecutable.h"

#include <algorithm>

DWORD CFakeExecutable::CopyPath(wchar_t* buffer, DWORD size) {
    const bool isZero = std::all_of(buffer, buffer + size, [](wchar_t c) { return c == L'\0'; });
    questions.push_back(isZero ? static_cast<int>(size) : -1);
    const size_t length = std::min<size_t>(path.size(), size - 1);
    buffer[path.copy(buffer, length)] = L'\0';
    return static_cast<DWORD>(length);
}
