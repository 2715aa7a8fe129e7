/** Filling a JSON object that may have been filled before. */
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "base/text.h"

namespace zorvane {

using OrderedJson = nlohmann::ordered_json;

/**
 * Puts members into an object, one behind the other. Where the object has the same members already,
 * they keep their memory: names and texts are most of what an object allocates. What it has besides
 * is gone when the filler is destroyed.
 */
class CObjectFiller {
  public:
    /**
     * `object` outlives the filler; what is no object becomes one, with room for so many members:
     * when it grows, it copies the names that it has.
     */
    explicit CObjectFiller(OrderedJson& object, size_t room = 0)
        : m_members(MembersOf(object, room)) {}
    ~CObjectFiller() { CutOff(); }
    CObjectFiller(const CObjectFiller&) = delete;
    CObjectFiller& operator=(const CObjectFiller&) = delete;

    /** The next member, whatever its value was. No name is put twice. */
    OrderedJson& Member(const char* name) {
        if (m_next == m_members.size() || m_members[m_next].first != name) {
            CutOff();
            m_members.emplace_back(name, nullptr);
        }
        return m_members[m_next++].second;
    }

    /** A number, a truth value, a null, or a text in UTF-8 or UTF-16. */
    template <typename T>
    void Put(const char* name, const T& value) {
        OrderedJson& member = Member(name);
        if constexpr (std::is_null_pointer_v<T>) {
            member = nullptr;
        } else if constexpr (std::is_convertible_v<const T&, std::wstring_view>) {
            SetText(member, ToUtf8(value));
        } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
            SetText(member, value);
        } else {
            member = value;
        }
    }

    /** Null without a value. */
    template <typename T>
    void Put(const char* name, const std::optional<T>& value) {
        if (value) {
            Put(name, *value);
        } else {
            Put(name, nullptr);
        }
    }

  private:
    // The members in their order; by name they would be looked for one by one.
    using Members = OrderedJson::object_t::Container;

    static Members& MembersOf(OrderedJson& object, size_t room) {
        if (!object.is_object()) {
            object = OrderedJson::object();
            object.get_ref<OrderedJson::object_t&>().reserve(room);
        }
        return object.get_ref<OrderedJson::object_t&>();
    }

    static void SetText(OrderedJson& member, std::string_view text) {
        if (member.is_string()) {
            member.get_ref<std::string&>() = text;
        } else {
            member = std::string(text);
        }
    }

    void CutOff() { m_members.resize(m_next); }

    Members& m_members;
    size_t m_next = 0;
};

}  // namespace zorvane
