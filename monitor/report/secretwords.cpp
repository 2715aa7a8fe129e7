#include "monitor/report/secretwords.h"

namespace zorvane {

void CSecretWords::Hide(const std::string& word, const std::string& mask, WordCase wordCase) {
    if (!word.empty()) {
        m_masks.insert({word, {mask, wordCase}});
    }
}

std::string CSecretWords::Masked(const std::string& text) const {
    std::string result = text;
    for (const auto& [word, mask] : m_masks) {
        result = ReplaceWord(result, word, mask.first, mask.second);
    }
    return result;
}

}  // namespace zorvane
