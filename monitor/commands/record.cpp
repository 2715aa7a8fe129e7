#include "monitor/commands/record.h"

#include <CLI/CLI.hpp>

#include "monitor/commands/runsource.h"
#include "monitor/newfile.h"
#include "monitor/sources/startfacts.h"
#include "monitor/views/jsonview.h"

namespace zorvane {

void CRecordCommand::Declare(CLI::App& app) {
    app.add_option("FILE", m_file, "The file to write, which must not exist yet")
        ->type_name("")
        ->required();
    app.add_flag("--overwrite", m_overwrite, "Replace the file if it exists");
    m_worker.Declare(app);
    m_run.Declare(app);
    m_display.Declare(app);
    app.footer("Example:\n  zorvanemon record today.jsonl --duration 3600 --entry office");
}

int CRecordCommand::Run(const CommandContext& context) {
    auto created = CreateNewFile(m_file, m_overwrite);
    if (auto* error = std::get_if<std::string>(&created)) {
        WriteNote(*error);
        return kExitOutput;
    }
    COutput output(std::get<CUniqueHandle>(created).get());
    CJsonView recording(output);

    const WorkerSourceOptions options = m_worker.Get(context);
    CWorkerSource source(options, MakeStart(options.worker));
    return RunSource(source, m_display.Get(), m_run.Get(), {&recording});
}

}  // namespace zorvane
