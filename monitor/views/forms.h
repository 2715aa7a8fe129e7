/** The forms that a run can be shown in, by name. */
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "monitor/output.h"
#include "monitor/outputs/textoutput.h"
#include "monitor/terminal/keys.h"
#include "monitor/views/view.h"
#include "monitor/views/viewoptions.h"

namespace zorvane {

/** A view with what it writes to. */
struct Display {
    /** One of these. */
    std::unique_ptr<COutput> output;
    std::unique_ptr<ITextOutput> text;
    std::unique_ptr<IView> view;
    /** The keys that the view takes; null if it takes none. */
    std::unique_ptr<CKeys> keys;
    /** Where notes go beside it: the view itself, or standard error. */
    INotes* notes = nullptr;
};

/** The names, as --format takes them: in lower case, the default first. */
const std::vector<std::string>& FormNames();

/** Makes the display for a form of FormNames. A sentence if its file cannot be written. */
[[nodiscard]] std::optional<std::string> MakeDisplay(const ViewOptions& options, Display& display);

}  // namespace zorvane
