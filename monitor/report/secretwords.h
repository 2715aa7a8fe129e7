/** Leaving out what tells whose machine it is. */
#pragma once

#include <map>
#include <string>
#include <utility>

#include "monitor/replaceword.h"

namespace zorvane {

/** What stands in the place of a computer's name, of a serial number, and of a user's name. */
inline constexpr char kComputerMask[] = "[computer]";
inline constexpr char kSerialMask[] = "[serial]";
inline constexpr char kUserMask[] = "[user]";

/** Knows the words to leave out, and finds them where they stand as whole words. */
class CSecretWords {
  public:
    /** An empty word is none. */
    void Hide(const std::string& word, const std::string& mask, WordCase wordCase = WordCase::kAny);

    std::string Masked(const std::string& text) const;

  private:
    std::map<std::string, std::pair<std::string, WordCase>> m_masks;
};

}  // namespace zorvane
