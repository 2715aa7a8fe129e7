/** Texts of a record, without memory of their own: a record a second is nothing, a million is. */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "zorvane/wire.h"

namespace zorvane {

/** At most this many characters are in a text of a record. */
inline constexpr size_t kLongestWireText = kWireTextLength - 1;

/** A text as a record has it, with its NUL. Reads as a string_view. */
template <typename Char>
class CWireText {
  public:
    using View = std::basic_string_view<Char>;

    constexpr CWireText() = default;

    /** Cuts what is longer than kLongestWireText, as the worker does. */
    template <typename Text, typename = std::enable_if_t<std::is_convertible_v<const Text&, View>>>
    constexpr CWireText(const Text& text) {  // NOLINT(google-explicit-constructor)
        const View view = text;
        m_length = std::min(view.size(), kLongestWireText);
        std::copy_n(view.begin(), m_length, m_text.begin());
    }

    /** A field of a record; one without a NUL loses its last character. */
    CWireText(const Char (&field)[kWireTextLength]) {  // NOLINT(google-explicit-constructor)
        std::copy_n(field, kWireTextLength, m_text.begin());
        m_text.back() = Char{};
        m_length = View(m_text.data()).size();
    }

    constexpr operator View() const {  // NOLINT(google-explicit-constructor)
        return {m_text.data(), m_length};
    }
    constexpr const Char* c_str() const { return m_text.data(); }
    std::basic_string<Char> str() const { return {m_text.data(), m_length}; }
    constexpr size_t size() const { return m_length; }
    constexpr bool empty() const { return m_length == 0; }

    friend constexpr bool operator==(const CWireText& one, const CWireText& other) {
        return View(one) == View(other);
    }
    friend constexpr bool operator!=(const CWireText& one, const CWireText& other) {
        return !(one == other);
    }

  private:
    // Ends with a NUL.
    std::array<Char, kWireTextLength> m_text{};
    size_t m_length = 0;
};

/** UTF-16, as names, serial numbers and versions are. */
using WireText = CWireText<wchar_t>;

/** ASCII, as PCI bus ids are. */
using WireBytes = CWireText<char>;

}  // namespace zorvane
