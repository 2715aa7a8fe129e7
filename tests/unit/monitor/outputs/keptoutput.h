#pragma once

#include <string>
#include <vector>

#include "monitor/outputs/textoutput.h"

namespace zorvane {

/** Keeps each text for a test to look at. */
class CKeptOutput : public ITextOutput {
  public:
    void SetFrame(const IFileFrame& given) override { frame = &given; }
    void Write(std::string_view text) override { texts.emplace_back(text); }
    void Finish() override { isFinished = true; }
    std::optional<ViewFailure> Failure() const override { return std::nullopt; }

    const IFileFrame* frame = nullptr;
    std::vector<std::string> texts;
    bool isFinished = false;
};

}  // namespace zorvane
