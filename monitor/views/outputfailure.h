#pragma once

#include "monitor/output.h"
#include "monitor/views/view.h"

namespace zorvane {

/** The failure of a view that writes to `output`. */
inline std::optional<ViewFailure> FailureOf(const COutput& output) {
    if (!output.Failure()) {
        return std::nullopt;
    }
    return ViewFailure{*output.Failure(), output.IsReaderGone()};
}

}  // namespace zorvane
