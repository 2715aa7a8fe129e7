#include "monitor/commands/record.h"

#include <CLI/CLI.hpp>

#include "base/handle.h"
#include "base/text.h"
#include "monitor/commands/runsource.h"
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
    m_run.Declare(app);
    m_display.Declare(app);
    m_warnings.Declare(app);
    app.footer("Example:\n  zorvanemon record today.jsonl --duration 3600 --entry office");
}

int CRecordCommand::Run(const CommandContext& context) {
    const std::wstring path = ToWide(m_file);
    if (IsSamePath(path, m_display.Get().out)) {
        WriteNote("--out is the recording itself");
        return kExitUsage;
    }
    HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                    m_overwrite ? CREATE_ALWAYS : CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const CallError error = LastCallError("CreateFileW");
        WriteNote(error.code == ERROR_FILE_EXISTS
                      ? m_file + " exists already; --overwrite replaces it"
                      : Describe({error.call + " " + m_file, error.code}));
        return kExitOutput;
    }
    const CUniqueHandle owner(file);
    CStreamText output(file);
    CJsonView recording(output);

    const WorkerSourceOptions options = m_worker.Get(context);
    CWorkerSource worker(options, MakeStart(options.worker));
    CWarningSource source(worker, m_warnings.Get());
    std::vector<IView*> views = context.companions;
    views.push_back(&recording);
    return RunSource(source, m_display, m_run.Get(), views);
}

}  // namespace zorvane
