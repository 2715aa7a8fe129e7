/** Leaving out what tells whose machine it is. */
#pragma once

#include <set>
#include <string>

namespace zorvane {

/** What stands in the place of what is left out. */
inline constexpr char kMasked[] = "(masked)";

/**
 * Knows the words to leave out: serial numbers and computer names. A word is found in any letter
 * case, and only as a whole: a computer named "PC" does not change "PCI".
 */
class CSecretWords {
  public:
    /** An empty word is none. */
    void Hide(const std::string& word);

    std::string Masked(const std::string& text) const;

  private:
    std::set<std::string> m_words;
};

}  // namespace zorvane
