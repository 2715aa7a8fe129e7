#pragma once

#include <string>

namespace zorvane {

enum class WordCase {
    /** Letter case does not matter. */
    kAny,
    /** Letter case matters, but for what stands behind a \ or / as a part of a path. */
    kAnyInPaths,
};

/**
 * `text` with every `word` in it replaced where it stands as a whole word: a computer named "PC"
 * does not change "PCI". UTF-8; letters beyond ASCII belong to words. An empty word is none.
 */
std::string ReplaceWord(std::string text, const std::string& word, const std::string& with,
                        WordCase wordCase);

}  // namespace zorvane
