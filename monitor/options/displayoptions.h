#pragma once

#include "monitor/options/optiongroup.h"
#include "monitor/views/viewoptions.h"

namespace zorvane {

/** How to show a run: --format. */
class CDisplayOptions {
  public:
    /** Adds the options to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing. */
    ViewOptions Get() const;

  private:
    ViewOptions m_options;
};

}  // namespace zorvane
