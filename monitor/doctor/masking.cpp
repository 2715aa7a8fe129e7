#include "monitor/doctor/masking.h"

#include "monitor/replaceword.h"

namespace zorvane {

std::string CMasking::Apply(const std::string& text) const {
    return ReplaceWord(ReplaceWord(text, m_computer, "[computer]", WordCase::kAny), m_user,
                       "[user]", WordCase::kAnyInPaths);
}

}  // namespace zorvane
