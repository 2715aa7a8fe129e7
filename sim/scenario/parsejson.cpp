#include "sim/scenario/parsejson.h"

#include <set>
#include <vector>

#include "sim/scenario/jsonplace.h"

namespace {

// Follows the parser through the document to know where each key stands.
class CKeyWatcher {
  public:
    void OnEvent(nlohmann::json::parse_event_t event, const nlohmann::json& value) {
        using Event = nlohmann::json::parse_event_t;
        switch (event) {
            case Event::object_start:
            case Event::array_start:
                CountItem();
                m_levels.push_back({event == Event::array_start, 0, {}, {}});
                break;
            case Event::object_end:
            case Event::array_end:
                m_levels.pop_back();
                break;
            case Event::key:
                OnKey(value.get<std::string>());
                break;
            case Event::value:
                CountItem();
                break;
        }
    }

  private:
    struct Level {
        bool isArray;
        // Items that have begun so far
        size_t items;
        std::string key;
        std::set<std::string> keys;
    };

    void CountItem() {
        if (!m_levels.empty()) {
            ++m_levels.back().items;
        }
    }

    void OnKey(const std::string& key) {
        Level& level = m_levels.back();
        level.key = key;
        if (!level.keys.insert(key).second) {
            throw CScenarioError(Pointer().to_string() + ": this key stands twice in its object");
        }
    }

    nlohmann::json::json_pointer Pointer() const {
        nlohmann::json::json_pointer pointer;
        for (const Level& level : m_levels) {
            if (level.isArray) {
                pointer /= level.items - 1;
            } else {
                pointer /= level.key;
            }
        }
        return pointer;
    }

    std::vector<Level> m_levels;
};

// The parser's own text, "... parse error at line 3, column 5: ...", without its number in front.
std::string ComplaintOf(const nlohmann::json::exception& error) {
    const std::string text = error.what();
    const size_t bracket = text.find("] ");
    return bracket == std::string::npos ? text : text.substr(bracket + 2);
}

}  // namespace

nlohmann::json ParseJson(const std::string& text) {
    CKeyWatcher watcher;
    try {
        return nlohmann::json::parse(text, [&](int, auto event, const nlohmann::json& value) {
            watcher.OnEvent(event, value);
            return true;
        });
    } catch (const nlohmann::json::exception& error) {
        throw CScenarioError(ComplaintOf(error));
    }
}
