#pragma once

#include <windows.h>

#include <utility>

#include "monitor/output.h"
#include "monitor/outputs/textoutput.h"
#include "monitor/views/outputfailure.h"

namespace zorvane {

/** Text on an open handle: standard output, or a file that was empty. Any failure is final. */
class CStreamText : public ITextOutput {
  public:
    /** `handle` stays the caller's, and open. */
    explicit CStreamText(HANDLE handle) : m_output(handle) {}

    void SetFrame(const IFileFrame& frame) override { m_frame = &frame; }

    void Write(std::string_view text) override {
        if (const IFileFrame* frame = std::exchange(m_frame, nullptr)) {
            m_output.Write(frame->Head());
        }
        m_output.Write(text);
    }

    std::optional<ViewFailure> Failure() const override { return FailureOf(m_output); }

  private:
    COutput m_output;
    /** Until the first text is written. */
    const IFileFrame* m_frame = nullptr;
};

}  // namespace zorvane
