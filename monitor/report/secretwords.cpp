#include "monitor/report/secretwords.h"

#include "monitor/replaceword.h"

namespace zorvane {

void CSecretWords::Hide(const std::string& word, const std::string& mask) {
    if (!word.empty()) {
        m_masks[word] = mask;
    }
}

std::string CSecretWords::Masked(const std::string& text) const {
    std::string result = text;
    for (const auto& [word, mask] : m_masks) {
        result = ReplaceWord(result, word, mask, WordCase::kAny);
    }
    return result;
}

}  // namespace zorvane
