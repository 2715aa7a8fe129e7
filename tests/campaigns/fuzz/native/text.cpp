// base/text.h without Windows, by the same rules.
#include "base/text.h"

#include <cstdint>

namespace zorvane {
namespace {

constexpr uint32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& text, uint32_t point) {
    const auto tail = [&](int shift) {
        text += static_cast<char>(0x80 | ((point >> shift) & 0x3F));
    };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | (point >> 6));
        tail(0);
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

// How many bytes follow the first one of a character; -1 where none begins.
int Following(unsigned char first) {
    if (first < 0x80) {
        return 0;
    }
    if (first >= 0xC2 && first < 0xE0) {
        return 1;
    }
    if (first >= 0xE0 && first < 0xF0) {
        return 2;
    }
    return first >= 0xF0 && first < 0xF5 ? 3 : -1;
}

bool IsWellFormed(uint32_t point, int following) {
    constexpr uint32_t kLowest[] = {0, 0x80, 0x800, 0x10000};
    return point >= kLowest[following] && point < 0x110000 && (point < 0xD800 || point > 0xDFFF);
}

uint32_t TakePoint(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    const int following = Following(first);
    if (following < 0) {
        return kReplacement;
    }
    uint32_t point = following == 0 ? first : first & (0x3Fu >> following);
    for (int index = 0; index < following; ++index) {
        const auto next = static_cast<size_t>(index) < text.size()
                              ? static_cast<unsigned char>(text[static_cast<size_t>(index)])
                              : 0;
        if ((next & 0xC0) != 0x80) {
            return kReplacement;
        }
        point = point << 6 | (next & 0x3F);
    }
    if (!IsWellFormed(point, following)) {
        return kReplacement;
    }
    text.remove_prefix(static_cast<size_t>(following));
    return point;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    std::string utf8;
    for (size_t index = 0; index < text.size(); ++index) {
        uint32_t point = static_cast<uint16_t>(text[index]);
        const bool isHigh = point >= 0xD800 && point < 0xDC00;
        const uint32_t next = index + 1 < text.size() ? static_cast<uint16_t>(text[index + 1]) : 0;
        if (isHigh && next >= 0xDC00 && next < 0xE000) {
            point = 0x10000 + ((point - 0xD800) << 10) + (next - 0xDC00);
            ++index;
        } else if (point >= 0xD800 && point < 0xE000) {
            point = kReplacement;
        }
        AppendUtf8(utf8, point);
    }
    return utf8;
}

std::wstring ToWide(std::string_view text) {
    std::wstring wide;
    while (!text.empty()) {
        const uint32_t point = TakePoint(text);
        if (point < 0x10000) {
            wide += static_cast<wchar_t>(point);
            continue;
        }
        wide += static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
        wide += static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
    }
    return wide;
}

}  // namespace zorvane
