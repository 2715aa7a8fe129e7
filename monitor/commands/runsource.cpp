#include "monitor/commands/runsource.h"

#include "monitor/output.h"
#include "monitor/run/interrupts.h"
#include "monitor/sources/gpufilter.h"
#include "monitor/views/forms.h"

namespace zorvane {

int RunSource(ISource& source, const CDisplayOptions& options, const RunLimits& limits,
              const std::vector<IView*>& further) {
    Display display;
    if (const auto error = MakeDisplay(options.Get(), display)) {
        WriteNote(*error);
        return kExitOutput;
    }
    std::vector<IView*> views{display.view.get()};
    views.insert(views.end(), further.begin(), further.end());
    std::optional<CGpuFilter> filter;
    if (const auto gpu = options.Gpu()) {
        filter.emplace(source, *gpu);
    }
    return RunViews(filter ? *filter : source, views, *display.notes, limits, display.keys.get());
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
