#include "monitor/terminal/celltext.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"
#include "monitor/terminal/characterranges.h"

namespace zorvane {
namespace {

constexpr char kOmission[] = "\xE2\x80\xA6";

template <size_t kCount>
bool Contains(const CharacterRange (&ranges)[kCount], char32_t character) {
    const auto* range = std::lower_bound(
        std::begin(ranges), std::end(ranges), character,
        [](const CharacterRange& entry, char32_t value) { return entry.last < value; });
    return range != std::end(ranges) && range->first <= character;
}

// The character at the begin of `text`, which is not empty and is taken off it.
char32_t TakeCharacter(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const size_t size = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t character = size == 1 ? lead : lead & (0x7Fu >> size);
    size_t taken = 1;
    while (taken < size && taken < text.size() && (text[taken] & 0xC0) == 0x80) {
        character = character << 6 | (static_cast<unsigned char>(text[taken]) & 0x3Fu);
        ++taken;
    }
    text.remove_prefix(taken);
    return character;
}

bool IsObeyed(char32_t c) {
    const bool isControl = c < U' ' || (c >= 0x7F && c < 0xA0);
    const bool isLineEnd = c == 0x2028 || c == 0x2029;
    const bool isDirection = c == 0x061C || c == 0x200E || c == 0x200F ||
                             (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
    return isControl || isLineEnd || isDirection;
}

}  // namespace

size_t CellsOf(char32_t character) {
    if (Contains(kZeroCells, character)) {
        return 0;
    }
    return Contains(kTwoCells, character) ? 2 : 1;
}

size_t CellsOf(std::string_view text) {
    size_t cells = 0;
    while (!text.empty()) {
        cells += CellsOf(TakeCharacter(text));
    }
    return cells;
}

std::string CutToCells(std::string_view text, size_t cells) {
    std::string_view rest = text;
    size_t used = 0;
    while (!rest.empty()) {
        const size_t position = text.size() - rest.size();
        used += CellsOf(TakeCharacter(rest));
        if (used > cells) {
            return std::string(text.substr(0, position));
        }
    }
    return std::string(text);
}

std::string ShortenedToCells(std::string_view text, size_t cells) {
    if (CellsOf(text) <= cells) {
        return std::string(text);
    }
    return cells == 0 ? std::string() : CutToCells(text, cells - 1) + kOmission;
}

std::string PaddedToCells(const std::string& text, size_t cells) {
    const size_t used = CellsOf(text);
    return used < cells ? text + std::string(cells - used, ' ') : text;
}

std::string Harmless(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view before = text;
        const char32_t character = TakeCharacter(text);
        const std::string_view bytes = before.substr(0, before.size() - text.size());
        result += IsObeyed(character) ? "?" : std::string(bytes);
    }
    return result;
}

// Converting first turns what is not UTF-16 into characters that are shown.
std::string Harmless(std::wstring_view text) { return Harmless(ToUtf8(text)); }

}  // namespace zorvane
