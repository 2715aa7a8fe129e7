/** Where views write their text. */
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "monitor/views/view.h"

namespace zorvane {

/** What a file needs so that it can be read by itself. */
class IFileFrame {
  public:
    virtual ~IFileFrame() = default;

    /** Whole lines that a new or empty file begins with; asked for when its first text is written.
     */
    virtual std::string Head() const { return ""; }

    /** Whole lines for the end of a file that is continued in another one. */
    virtual std::string Tail() const { return ""; }
};

/** Takes text in UTF-8. One thread. */
class ITextOutput {
  public:
    virtual ~ITextOutput() = default;

    /** `frame` outlives the last Write. */
    virtual void SetFrame(const IFileFrame& frame) = 0;

    /** Whole lines. */
    virtual void Write(std::string_view text) = 0;

    /** Nothing more comes for a while. */
    virtual void Rest() {}

    /** Nothing more comes at all. */
    virtual void Finish() {}

    /** Empty while it goes on; a failure that may pass is not one. */
    virtual std::optional<ViewFailure> Failure() const = 0;
};

}  // namespace zorvane
