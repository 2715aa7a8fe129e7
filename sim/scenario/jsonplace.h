/** Checked reading of a JSON document: every complaint names the place and what was expected. */
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/** A scenario that cannot be used; the text says where and what was expected. */
class CScenarioError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * A value in a JSON document and the JSON pointer that leads to it. The document must outlive it.
 * Every operation that asks for a type throws CScenarioError when the value is of another one.
 */
class CJsonPlace {
  public:
    using Reader = std::function<void(const CJsonPlace&)>;
    using Members = std::initializer_list<std::pair<std::string_view, Reader>>;

    explicit CJsonPlace(const nlohmann::json& value,
                        nlohmann::json::json_pointer pointer = nlohmann::json::json_pointer())
        : m_value(&value), m_pointer(std::move(pointer)) {}

    bool IsNull() const { return m_value->is_null(); }
    bool IsNumber() const { return m_value->is_number(); }
    bool IsArray() const { return m_value->is_array(); }
    /** True for exactly this text. */
    bool IsText(std::string_view text) const { return *m_value == text; }
    /** True for an object that has the member `key`. */
    bool Has(std::string_view key) const;

    std::string Text() const;
    bool Boolean() const;
    double Number() const;
    /** A number above 0. */
    double PositiveNumber() const;
    /** A whole number from `lowest` to `highest`, or the same as text in hexadecimal ("0x10DE"). */
    int64_t Integer(int64_t lowest, int64_t highest) const;
    uint32_t Unsigned() const;

    std::vector<CJsonPlace> Items() const;
    /** Throws unless there are exactly `count` items. */
    std::vector<CJsonPlace> Items(size_t count) const;
    /** Throws when there is none. */
    std::vector<CJsonPlace> NonEmptyItems() const;

    /** Gives each member of an object to the reader of that name; another name is an error. */
    void ReadMembers(Members members) const;
    /** Gives every member of an object to `reader`, by name. */
    void ForEachMember(
        const std::function<void(const std::string&, const CJsonPlace&)>& reader) const;

    /** Throws: "<pointer>: expected <expected>, found <value>". */
    [[noreturn]] void Fail(const std::string& expected) const;
    /** Throws: "<pointer>: <complaint>". */
    [[noreturn]] void Complain(const std::string& complaint) const;

  private:
    const nlohmann::json* m_value;
    nlohmann::json::json_pointer m_pointer;
};
