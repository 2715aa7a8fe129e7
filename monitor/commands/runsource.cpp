#include "monitor/commands/runsource.h"

#include "monitor/output.h"
#include "monitor/run/interrupts.h"
#include "monitor/views/forms.h"

namespace zorvane {

int RunSource(ISource& source, const ViewOptions& options, const RunLimits& limits,
              const std::vector<IView*>& further) {
    Display display;
    if (const auto error = MakeDisplay(options, display)) {
        WriteNote(Describe(*error));
        return kExitOutput;
    }
    std::vector<IView*> views{display.view.get()};
    views.insert(views.end(), further.begin(), further.end());
    return RunViews(source, views, *display.notes, limits, display.keys.get());
}

int RunViews(ISource& source, const std::vector<IView*>& views, INotes& notes,
             const RunLimits& limits, CKeys* keys) {
    CInterrupts interrupts;
    if (const auto error = interrupts.Install()) {
        WriteNote(Describe(*error));
        return kExitNotStarted;
    }
    return CRun(source, views, notes, limits, interrupts, keys).Execute();
}

}  // namespace zorvane
