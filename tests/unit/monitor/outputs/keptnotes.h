#pragma once

#include <string>
#include <vector>

#include "monitor/views/view.h"

namespace zorvane {

/** Keeps the notes for a test to look at. */
class CKeptNotes : public INotes {
  public:
    void ShowNote(const std::string& text) override { notes.push_back(text); }

    std::vector<std::string> notes;
};

}  // namespace zorvane
