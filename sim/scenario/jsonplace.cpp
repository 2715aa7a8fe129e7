#include "sim/scenario/jsonplace.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr size_t kShownLength = 60;

// "0x10DE" as a number; false for any other text.
bool ParseHexadecimal(const std::string& text, int64_t& number) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) {
        return false;
    }
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data() + 2, end, number, 16);
    return result.ec == std::errc() && result.ptr == end && text[2] != '-';
}

}  // namespace

bool CJsonPlace::Has(std::string_view key) const {
    return m_value->is_object() && m_value->contains(key);
}

std::string CJsonPlace::Text() const {
    if (!m_value->is_string()) {
        Fail("a text");
    }
    return m_value->get<std::string>();
}

bool CJsonPlace::Boolean() const {
    if (!m_value->is_boolean()) {
        Fail("true or false");
    }
    return m_value->get<bool>();
}

double CJsonPlace::Number() const {
    if (!m_value->is_number()) {
        Fail("a number");
    }
    return m_value->get<double>();
}

double CJsonPlace::PositiveNumber() const {
    if (!m_value->is_number() || m_value->get<double>() <= 0) {
        Fail("a number above 0");
    }
    return m_value->get<double>();
}

int64_t CJsonPlace::Integer(int64_t lowest, int64_t highest) const {
    int64_t number = 0;
    // The parser keeps a number beyond 63 bits as unsigned or floating point.
    const bool known = m_value->is_string() ? ParseHexadecimal(m_value->get<std::string>(), number)
                                            : m_value->is_number_integer();
    if (known && !m_value->is_string()) {
        const bool huge =
            m_value->is_number_unsigned() &&
            m_value->get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
        number = huge ? std::numeric_limits<int64_t>::max() : m_value->get<int64_t>();
    }
    if (!known || number < lowest || number > highest) {
        Fail("a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
             " (or its hexadecimal text, like \"0x10DE\")");
    }
    return number;
}

uint32_t CJsonPlace::Unsigned() const {
    return static_cast<uint32_t>(Integer(0, std::numeric_limits<uint32_t>::max()));
}

std::vector<CJsonPlace> CJsonPlace::Items() const {
    if (!m_value->is_array()) {
        Fail("a list");
    }
    std::vector<CJsonPlace> items;
    for (size_t index = 0; index < m_value->size(); ++index) {
        items.emplace_back((*m_value)[index], m_pointer / index);
    }
    return items;
}

std::vector<CJsonPlace> CJsonPlace::Items(size_t count) const {
    if (!m_value->is_array() || m_value->size() != count) {
        Fail("a list of " + std::to_string(count));
    }
    return Items();
}

std::vector<CJsonPlace> CJsonPlace::NonEmptyItems() const {
    std::vector<CJsonPlace> items = Items();
    if (items.empty()) {
        Fail("a list of at least one value");
    }
    return items;
}

void CJsonPlace::ReadMembers(Members members) const {
    ForEachMember([&](const std::string& key, const CJsonPlace& value) {
        const auto* found = std::find_if(members.begin(), members.end(),
                                         [&](const auto& member) { return member.first == key; });
        if (found != members.end()) {
            found->second(value);
            return;
        }
        std::string known;
        for (const auto& member : members) {
            known += (known.empty() ? "" : ", ") + std::string(member.first);
        }
        value.Complain("unknown key, expected one of: " + known);
    });
}

void CJsonPlace::ForEachMember(
    const std::function<void(const std::string&, const CJsonPlace&)>& reader) const {
    if (!m_value->is_object()) {
        Fail("an object");
    }
    for (const auto& [key, value] : m_value->items()) {
        reader(key, CJsonPlace(value, m_pointer / key));
    }
}

void CJsonPlace::Fail(const std::string& expected) const {
    std::string found = m_value->dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    if (found.size() > kShownLength) {
        found.resize(kShownLength);
        found += "...";
    }
    Complain("expected " + expected + ", found " + found);
}

void CJsonPlace::Complain(const std::string& complaint) const {
    const std::string pointer = m_pointer.to_string();
    throw CScenarioError((pointer.empty() ? "(top level)" : pointer) + ": " + complaint);
}
