#include "monitor/doctor/htmlreport.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/text.h"
#include "monitor/doctor/masking.h"
#include "monitor/doctor/probewords.h"
#include "monitor/doctor/sha256.h"

namespace zorvane {
namespace {

// The policy keeps a browser from fetching or running anything, whatever a text would smuggle in.
constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>zorvanemon doctor</title>
<style>
body { font: 15px/1.45 "Segoe UI", sans-serif; margin: 2em auto; max-width: 70em; padding: 0 1em;
       color: #1b1b1b; background: #fff; }
h1 { font-size: 1.5em; } h2 { font-size: 1.15em; margin-top: 2em; }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: .35em .6em; border-bottom: 1px solid #ddd;
         overflow-wrap: anywhere; }
code { font: 13px/1.4 Consolas, monospace; }
.id { white-space: nowrap; }
.r { font-weight: 600; white-space: nowrap; }
.FAIL { color: #a4161a; } .WARN { color: #8a5a00; } .PASS { color: #1a6b34; } .SKIP { color: #666; }
.do { display: block; font-weight: 600; }
</style>
</head>
<body>
)";

// Makes any text harmless in HTML, and takes names out of it.
class CWriter {
  public:
    explicit CWriter(CMasking masking) : m_masking(std::move(masking)) {}

    // A text of ours, which may name the user's own things.
    std::string Text(const std::string& text) const { return Escape(m_masking.Apply(text)); }

    // A text that names nobody.
    static std::string Escape(const std::string& text) {
        std::string escaped;
        // Bytes that are not UTF-8 would leave the rest of the page unreadable.
        for (const char c : ToUtf8(ToWide(text))) {
            switch (c) {
                case '&':
                    escaped += "&amp;";
                    break;
                case '<':
                    escaped += "&lt;";
                    break;
                case '>':
                    escaped += "&gt;";
                    break;
                case '"':
                    escaped += "&quot;";
                    break;
                case '\'':
                    escaped += "&#39;";
                    break;
                default:
                    escaped += c;
            }
        }
        return escaped;
    }

  private:
    CMasking m_masking;
};

std::string List(const char* tag, const std::vector<std::string>& texts, const CWriter& writer) {
    std::string html = fmt::format("<{}>\n", tag);
    for (const std::string& text : texts) {
        html += "<li>" + writer.Text(text) + "</li>\n";
    }
    return html + fmt::format("</{}>\n", tag);
}

std::string VerdictPart(const Verdict& verdict, const CWriter& writer) {
    switch (verdict.reporting) {
        case Reporting::kNow:
            return fmt::format("<p><b>{}</b> can be reported now.</p>\n", verdict.name);
        case Reporting::kAfterSteps:
            return fmt::format("<p><b>{}</b> could be reported after these steps:</p>\n",
                               verdict.name) +
                   List("ol", verdict.steps, writer);
        case Reporting::kNever:
            break;
    }
    return fmt::format("<p><b>{}</b> cannot be reported on this PC:</p>\n", verdict.name) +
           List("ul", verdict.obstacles, writer);
}

int Rank(CheckResult result) {
    switch (result) {
        case CheckResult::kFail:
            return 0;
        case CheckResult::kWarn:
            return 1;
        case CheckResult::kPass:
            return 2;
        case CheckResult::kSkip:
            break;
    }
    return 3;
}

std::string ChecksPart(Findings findings, const CWriter& writer) {
    std::stable_sort(findings.begin(), findings.end(),
                     [](const CheckedFinding& left, const CheckedFinding& right) {
                         return Rank(left.finding.result) < Rank(right.finding.result);
                     });
    std::string html =
        "<h2>Checks</h2>\n<table>\n<tr><th></th><th>Check</th><th>What was seen, what to do</th>"
        "</tr>\n";
    for (const auto& [check, finding] : findings) {
        const std::string remedy =
            finding.remedy.empty()
                ? ""
                : "<span class=\"do\">" + CWriter::Escape(finding.remedy) + "</span>";
        const std::string name =
            fmt::format("{}: {}<br><code class=\"id\">{}</code>", CWriter::Escape(check->group),
                        CWriter::Escape(check->title), check->id);
        html += fmt::format("<tr><td class=\"r {0}\">{0}</td><td>{1}</td><td>{2}{3}</td></tr>\n",
                            ResultName(finding.result), name, writer.Text(finding.seen), remedy);
    }
    return html + "</table>\n";
}

std::string GpusPart(const ProbeFacts& probe, const CWriter& writer, bool mask) {
    std::string html =
        "<h2>NVML's answers</h2>\n<table>\n<tr><th>GPU</th><th>Call</th>"
        "<th>Answer</th></tr>\n";
    for (const ProbedGpu& gpu : probe.gpus) {
        const std::string serial = gpu.serial.empty() ? ""
                                   : mask             ? ", serial number masked"
                                                      : ", serial number " + gpu.serial;
        for (const ProbedGpu::Answer& answer : gpu.answers) {
            html += fmt::format("<tr><td>{}</td><td><code>{}</code></td><td>{}</td></tr>\n",
                                writer.Text(fmt::format("{}, {}{}", gpu.index, gpu.name, serial)),
                                CWriter::Escape(answer.function),
                                CWriter::Escape(NvmlCodeWords(answer.code)));
        }
    }
    return html + "</table>\n";
}

std::string FilesPart(const std::vector<ListedFile>& files, const CWriter& writer) {
    std::string html =
        "<h2>Files</h2>\n<table>\n<tr><th>File</th><th>Version</th><th>Bytes</th>"
        "<th>SHA-256</th></tr>\n";
    for (const auto& [file, sha256] : files) {
        html += fmt::format("<tr><td>{}</td><td>{}</td><td>{}</td><td><code>{}</code></td></tr>\n",
                            writer.Text(file.path), CWriter::Escape(file.version), file.size,
                            sha256.empty() ? "cannot be read" : sha256);
    }
    return html + "</table>\n";
}

std::string RunPart(const LastRun& run, const CWriter& writer) {
    std::string html = fmt::format(
        "<h2>Log of the last run, process {} of {}</h2>\n<table>\n<tr><th>Line</th><th>Meaning</th>"
        "</tr>\n",
        run.processId, CWriter::Escape(run.began));
    for (const ExplainedLine& line : run.lines) {
        const std::string meaning = line.meaning
                                        ? CWriter::Escape(line.meaning->text) + "<br><code>" +
                                              CWriter::Escape(line.meaning->id) + "</code>"
                                        : "";
        html += fmt::format("<tr><td><code>{}</code></td><td>{}</td></tr>\n",
                            writer.Text(line.text), meaning);
    }
    return html + "</table>\n";
}

}  // namespace

std::vector<ListedFile> ListFiles(const MachineFacts& facts) {
    std::vector<ListedFile> files;
    for (const FileFacts* file :
         {&facts.monitor, &facts.host, &facts.library, &facts.platform.file, &facts.driver.file,
          &facts.gpu.fixedNvml, &facts.gpu.systemNvml}) {
        if (file->exists) {
            files.push_back({*file, FileSha256(ToWide(file->path)).value_or("")});
        }
    }
    return files;
}

std::string HtmlReport(const MachineFacts& facts, const Findings& findings,
                       const std::vector<Verdict>& verdicts, const std::vector<ListedFile>& files,
                       bool mask) {
    const CWriter writer(mask ? CMasking(facts.user, facts.computer) : CMasking("", ""));
    std::string html = kHead;
    html += fmt::format("<h1>zorvanemon doctor</h1>\n<p>zorvanemon {} on {}, user {}, {}</p>\n",
                        CWriter::Escape(facts.toolVersion),
                        mask ? "[computer]" : CWriter::Escape(facts.computer),
                        mask ? "[user]" : CWriter::Escape(facts.user), Rfc3339(facts.now));
    for (const Verdict& verdict : verdicts) {
        html += VerdictPart(verdict, writer);
    }
    html += ChecksPart(findings, writer);
    if (facts.probe && !facts.probe->gpus.empty()) {
        html += GpusPart(*facts.probe, writer, mask);
    }
    html += FilesPart(files, writer);
    if (facts.log.lastRun) {
        html += RunPart(*facts.log.lastRun, writer);
    }
    return html + "</body>\n</html>\n";
}

}  // namespace zorvane
