#include "monitor/commands/record.h"

#include <CLI/CLI.hpp>

#include "base/text.h"
#include "monitor/commands/runsource.h"
#include "monitor/newfile.h"
#include "monitor/outputs/samepath.h"
#include "monitor/outputs/streamtext.h"
#include "monitor/sources/startfacts.h"
#include "monitor/sources/warningsource.h"
#include "monitor/views/jsonview.h"

namespace zorvane {

void CRecordCommand::Declare(CLI::App& app) {
    app.add_option("FILE", m_file, "The file to write, which must not exist yet")
        ->type_name("")
        ->required();
    app.add_flag("--overwrite", m_overwrite, "Replace the file if it exists");
    m_worker.Declare(app);
    m_keeping.Declare(app);
    m_run.Declare(app);
    m_display.Declare(app);
    m_warnings.Declare(app);
    app.footer("Example:\n  zorvanemon record today.jsonl --duration 3600 --entry office");
}

int CRecordCommand::Run(const CommandContext& context) {
    if (IsSamePath(ToWide(m_file), m_display.Get().out)) {
        WriteNote("--out is the recording itself");
        return kExitUsage;
    }
    auto created = CreateNewFile(m_file, m_overwrite);
    if (auto* error = std::get_if<std::string>(&created)) {
        WriteNote(*error);
        return kExitOutput;
    }
    CStreamText output(std::get<CUniqueHandle>(created).get());
    CJsonView recording(output);

    const WorkerSourceOptions options = m_keeping.Get(m_worker.Get(context));
    CWorkerSource worker(options, MakeStart(options.worker));
    CWarningSource source(worker, m_warnings.Get());
    std::vector<IView*> views = context.companions;
    views.push_back(&recording);
    return RunSource(source, m_display, m_run.Get(), views);
}

}  // namespace zorvane
