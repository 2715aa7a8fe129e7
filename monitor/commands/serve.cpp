#include "monitor/commands/serve.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "monitor/doctor/gather.h"
#include "monitor/doctor/jsonreport.h"
#include "monitor/output.h"
#include "monitor/serve/serveview.h"
#include "monitor/sources/startfacts.h"
#include "monitor/sources/warningsource.h"
#include "monitor/views/errornotes.h"

namespace zorvane {
namespace {

void TellAddress(const ListenAddress& address) {
    COutput(GetStdHandle(STD_OUTPUT_HANDLE)).Write(fmt::format("http://{}/\n", Authority(address)));
    if (!IsLoopback(address.address)) {
        WriteNote(fmt::format(
            "everybody who reaches this computer at {} can read names, serial numbers and readings",
            Authority(address)));
    }
}

// Windows answers one of the questions only once a process, so what was said first is said again.
DoctorQuestion AskDoctorOnce(const WorkerCommand& worker) {
    return [worker] {
        static const std::string kSaid = [&worker] {
            MachineFacts facts = GatherFacts(MakeDoctorTarget(worker.host, worker.libraryPath));
            facts.toolVersion = ZORVANE_VERSION;
            const Findings findings = Decide(facts);
            return DoctorJson(facts, findings, Judge(findings));
        }();
        return kSaid;
    };
}

}  // namespace

void CServeCommand::Declare(CLI::App& app) {
    m_serve.Declare(app);
    m_worker.Declare(app);
    m_keeping.Declare(app);
    m_run.Declare(app);
    m_warnings.Declare(app);
    app.footer(
        "Examples:\n"
        "  zorvanemon serve\n"
        "  zorvanemon serve --listen 0.0.0.0:9836 --allow-host gpu7.example.org");
}

int CServeCommand::Run(const CommandContext& context) {
    const WorkerSourceOptions options = m_keeping.Get(m_worker.Get(context));
    ServerOptions serverOptions = m_serve.Get();
    serverOptions.doctor = AskDoctorOnce(options.worker);
    CHttpServer server(serverOptions);
    // Before the worker is started: nothing is to be undone when the port is not to be had.
    if (const auto error = server.Start()) {
        WriteNote(Describe(*error));
        return kExitListen;
    }
    CInterrupts interrupts;
    if (const auto error = interrupts.Install()) {
        WriteNote(Describe(*error));
        return kExitNotStarted;
    }
    TellAddress(server.Address());
    CWorkerSource worker(options, MakeStart(options.worker));
    CWarningSource source(worker, m_warnings.Get());
    CServeView view(server);
    std::vector<IView*> views = context.companions;
    views.push_back(&view);
    CErrorNotes notes;
    return CRun(source, views, notes, m_run.Get(), interrupts).Execute();
}

}  // namespace zorvane
