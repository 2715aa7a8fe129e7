#pragma once

#include "monitor/output.h"
#include "monitor/terminal/celltext.h"
#include "monitor/views/view.h"

namespace zorvane {

/** Notes on standard error. */
class CErrorNotes : public INotes {
  public:
    void ShowNote(const std::string& text) override { WriteNote(Harmless(text)); }
};

}  // namespace zorvane
