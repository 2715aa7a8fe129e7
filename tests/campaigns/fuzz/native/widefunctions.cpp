// The C library's functions for wide text, for two-byte characters as Windows has them. The
// machine's own are for four bytes; std::wstring calls these by name.
#include <cstddef>
#include <cstring>

static_assert(sizeof(wchar_t) == 2);

extern "C" {

size_t wcslen(const wchar_t* text) {
    size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    return length;
}

wchar_t* wmemcpy(wchar_t* to, const wchar_t* from, size_t count) {
    return static_cast<wchar_t*>(std::memcpy(to, from, 2 * count));
}

wchar_t* wmemmove(wchar_t* to, const wchar_t* from, size_t count) {
    return static_cast<wchar_t*>(std::memmove(to, from, 2 * count));
}

wchar_t* wmemset(wchar_t* to, wchar_t character, size_t count) {
    for (size_t index = 0; index < count; ++index) {
        to[index] = character;
    }
    return to;
}

int wmemcmp(const wchar_t* left, const wchar_t* right, size_t count) {
    for (size_t index = 0; index < count; ++index) {
        if (left[index] != right[index]) {
            return left[index] < right[index] ? -1 : 1;
        }
    }
    return 0;
}

const wchar_t* wmemchr(const wchar_t* text, wchar_t character, size_t count) {
    for (size_t index = 0; index < count; ++index) {
        if (text[index] == character) {
            return text + index;
        }
    }
    return nullptr;
}
}
