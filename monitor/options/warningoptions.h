#pragma once

#include <optional>
#include <string>
#include <vector>

#include "monitor/model/thresholds.h"
#include "monitor/options/optiongroup.h"

namespace zorvane {

/** What to warn about: --warn. */
class CWarningOptions {
  public:
    /** Adds the options to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing. Whether there was a --warn at all. */
    bool IsGiven() const { return !m_words.empty(); }

    /** After parsing: the usual thresholds, changed by each --warn in turn. */
    Thresholds Get() const;

  private:
    std::vector<std::string> m_words;
};

}  // namespace zorvane
