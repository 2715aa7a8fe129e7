#include "monitor/commands/doctor.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <variant>

#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/doctor/gather.h"
#include "monitor/doctor/htmlreport.h"
#include "monitor/doctor/jsonreport.h"
#include "monitor/doctor/probe.h"
#include "monitor/doctor/textreport.h"
#include "monitor/doctor/verdict.h"
#include "monitor/newfile.h"
#include "monitor/options/values.h"
#include "monitor/outcome.h"
#include "monitor/output.h"

namespace zorvane {
namespace {

constexpr char kDoctorFooter[] =
    R"(It changes nothing, starts nothing and runs no vendor's code. Exit code 0: something can
be reported; 4: nothing can. With --only: 0 if none of these checks fails, else 4.

Examples:
  zorvanemon doctor
  zorvanemon doctor --json --only nvml.fixed,cpu.rights
  zorvanemon doctor --probe --report doctor.html)";

std::vector<std::string> CheckIds() {
    std::vector<std::string> ids;
    for (const Check& check : Checks()) {
        ids.emplace_back(check.id);
    }
    return ids;
}

// Between commas; empty ones count, so that they are refused.
std::vector<std::string> SplitIds(const std::string& text) {
    std::vector<std::string> ids;
    std::istringstream stream(LowerAscii(text));
    for (std::string id; std::getline(stream, id, ',');) {
        ids.push_back(id);
    }
    return ids;
}

std::string CheckOnly(const std::string& text) {
    const std::vector<std::string> known = CheckIds();
    const std::vector<std::string> ids = SplitIds(text);
    if (ids.empty()) {
        return "--only needs the ids of checks";
    }
    for (const std::string& id : ids) {
        if (std::find(known.begin(), known.end(), id) == known.end()) {
            return fmt::format("--only: there is no check \"{}\"; there are {}.{}", id,
                               fmt::join(known, ", "), DidYouMean(id, known));
        }
    }
    return "";
}

bool AnyFails(const Findings& findings) {
    return std::any_of(findings.begin(), findings.end(), [](const CheckedFinding& checked) {
        return checked.finding.result == CheckResult::kFail;
    });
}

}  // namespace

void CDoctorCommand::Declare(CLI::App& app) {
    AddValue(app, "--host", m_host, "The host program (default: zorvanehost.exe beside zorvanemon)",
             "PATH");
    AddValue(app, "--library", m_library, "The library (default: the one beside the host)", "PATH");
    app.add_flag("--json", m_json, "One JSON object instead of text");
    AddValue(app, "--only", m_only, "Only the checks with these ids", "ID,...")->check(CheckOnly);
    auto* report =
        AddValue(app, "--report", m_report, "Also write everything to an HTML file", "FILE");
    report->excludes(app.get_option("--only"));
    app.add_flag("--overwrite", m_overwrite, "Replace that file if it exists")->needs(report);
    app.add_flag("--no-mask", m_noMask,
                 "Keep the names of user and computer, and serial numbers, in that file")
        ->needs(report);
    app.add_flag("--probe", m_probe,
                 "Also start NVML, in a process of its own, and ask it about every GPU");
    // For that process; not shown.
    AddValue(app, kProbeOption, m_askNvml, "", "PATH")->group("");
    app.footer(kDoctorFooter);
}

MachineFacts CDoctorCommand::Look(const DoctorTarget& target) const {
    MachineFacts facts = GatherFacts(target);
    facts.toolVersion = ZORVANE_VERSION;
    const bool isFixed = facts.gpu.fixedNvml.exists;
    if (m_probe && (isFixed || facts.gpu.systemNvml.exists)) {
        const std::string& path = isFixed ? facts.gpu.fixedNvml.path : facts.gpu.systemNvml.path;
        facts.probe = ProbeNvml(ModulePath(nullptr), ToWide(path), kProbeLimit);
    }
    return facts;
}

int CDoctorCommand::Show(const MachineFacts& facts, HANDLE report) const {
    const std::vector<std::string> only = SplitIds(m_only);
    const Findings findings = Decide(facts, only);
    // Some checks alone tell nothing about the whole.
    const std::vector<Verdict> verdicts = only.empty() ? Judge(findings) : std::vector<Verdict>();
    bool isWritten =
        WriteAnswer(GetStdHandle(STD_OUTPUT_HANDLE), m_json ? DoctorJson(facts, findings, verdicts)
                                                            : TextReport(findings, verdicts));
    if (report) {
        isWritten = WriteAnswer(report, HtmlReport(facts, findings, verdicts, ListFiles(facts),
                                                   !m_noMask)) &&
                    isWritten;
    }
    if (!isWritten) {
        return kExitOutput;
    }
    const bool isWell = only.empty() ? CanReportSomething(verdicts) : !AnyFails(findings);
    return isWell ? kExitDone : kExitNoReading;
}

int CDoctorCommand::Run(const CommandContext& context) {
    if (!m_askNvml.empty()) {
        AskNvml(ToWide(m_askNvml));
        return kExitDone;
    }
    CUniqueHandle report;
    if (!m_report.empty()) {
        auto created = CreateNewFile(m_report, m_overwrite);
        if (auto* error = std::get_if<std::string>(&created)) {
            WriteNote(*error);
            return kExitOutput;
        }
        report = std::move(std::get<CUniqueHandle>(created));
    }
    const DoctorTarget target =
        MakeDoctorTarget(m_host.empty() ? context.defaultHost : ToWide(m_host), ToWide(m_library));
    return Show(Look(target), report.get());
}

}  // namespace zorvane
