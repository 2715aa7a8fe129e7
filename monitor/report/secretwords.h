/** Leaving out what tells whose machine it is. */
#pragma once

#include <map>
#include <string>

namespace zorvane {

/** What stands in the place of a computer's name, and of a serial number. */
inline constexpr char kComputerMask[] = "[computer]";
inline constexpr char kSerialMask[] = "[serial]";

/** Knows the words to leave out, and finds them as whole words in any letter case. */
class CSecretWords {
  public:
    /** An empty word is none. */
    void Hide(const std::string& word, const std::string& mask);

    std::string Masked(const std::string& text) const;

  private:
    std::map<std::string, std::string> m_masks;
};

}  // namespace zorvane
