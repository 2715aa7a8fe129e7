#include "client/reasons/supportpage.h"

#include <functional>
#include <map>
#include <stdexcept>

#include "client/reasons/reason.h"

namespace zorvane {
namespace {

constexpr std::string_view kBegin = "<!-- reasons: ";
constexpr std::string_view kBeginEnd = " -->\n";
constexpr std::string_view kEnd = "<!-- end -->\n";

void Replace(std::string& text, std::string_view from, std::string_view to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}

// A format as a reader meets it: "pkgType:%d, CPUID:%lu" is "pkgType:N, CPUID:N".
std::string ShownLine(std::string_view format) {
    std::string line(format);
    for (const std::string_view conversion : {"%d", "%u", "%lu"}) {
        Replace(line, conversion, "N");
    }
    Replace(line, "%.2f", "N.NN");
    Replace(line, "%s", "TEXT");
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.pop_back();
    }
    return line;
}

// The line with the code in the place of its last number.
std::string ShownLine(std::string_view format, int64_t code) {
    std::string line = ShownLine(format);
    return line.replace(line.rfind('N'), 1, std::to_string(code));
}

const char* ShownKind(ReasonKind kind) {
    switch (kind) {
        case ReasonKind::kHealthy:
        case ReasonKind::kReading:
            return "normal";
        case ReasonKind::kInformational:
            return "note";
        case ReasonKind::kConsequence:
            return "result";
        case ReasonKind::kLikelyCause:
            return "likely reason";
        case ReasonKind::kCause:
            return "reason";
    }
    return "";
}

std::string Row(const std::string& line, ReasonKind kind, std::string_view text,
                std::string_view remedy, const std::string& id) {
    std::string row = "| `" + line + "` | " + ShownKind(kind) + " | ";
    row += text;
    if (!remedy.empty()) {
        row += " *";
        row += remedy;
        row += '*';
    }
    return row + " | `" + id + "` |\n";
}

std::string ConcernTable(Concern concern) {
    std::string table = "| line | kind | meaning, *what to do* | id |\n|---|---|---|---|\n";
    for (const Reason& reason : Reasons()) {
        if (reason.concern != concern) {
            continue;
        }
        const std::string id = reason.id;
        table += Row(ShownLine(reason.format), reason.kind, reason.text, reason.remedy,
                     reason.code == CodeKind::kNone ? id : id + ".N");
        for (const SpecialCase& special : SpecialCases()) {
            if (special.id == id) {
                table += Row(ShownLine(reason.format, special.code), special.kind, special.text,
                             special.remedy, id + "." + std::to_string(special.code));
            }
        }
    }
    return table;
}

std::string CodeTable(CodeKind kind) {
    std::string table = "| code | meaning, *what to do* |\n|---|---|\n";
    for (const CodeMeaning& meaning : CodeMeanings()) {
        if (meaning.kind == kind) {
            table += "| " + std::to_string(meaning.code) + " | " + meaning.text;
            table += *meaning.remedy ? ". *" + std::string(meaning.remedy) + "* |\n" : " |\n";
        }
    }
    return table;
}

std::string Table(std::string_view name) {
    static const std::map<std::string_view, std::function<std::string()>> kTables = {
        {"cpu", [] { return ConcernTable(Concern::kCpu); }},
        {"driver", [] { return ConcernTable(Concern::kDriver); }},
        {"errno", [] { return CodeTable(CodeKind::kErrno); }},
        {"gpu", [] { return ConcernTable(Concern::kGpu); }},
        {"log", [] { return ConcernTable(Concern::kLog); }},
        {"nvml", [] { return CodeTable(CodeKind::kNvml); }},
        {"state", [] { return CodeTable(CodeKind::kServiceState); }},
        {"windows", [] { return CodeTable(CodeKind::kWindows); }},
        {"worker", [] { return ConcernTable(Concern::kWorker); }},
    };
    const auto found = kTables.find(name);
    if (found == kTables.end()) {
        throw std::runtime_error("there is no table \"" + std::string(name) + "\"");
    }
    return found->second();
}

}  // namespace

std::string UpdateSupportPage(std::string_view page) {
    std::string updated;
    for (size_t begin = page.find(kBegin); begin != std::string_view::npos;
         begin = page.find(kBegin)) {
        const size_t nameAt = begin + kBegin.size();
        const size_t nameEnd = page.find(kBeginEnd, nameAt);
        const size_t end = page.find(kEnd, nameAt);
        if (nameEnd == std::string_view::npos || end == std::string_view::npos || end < nameEnd) {
            throw std::runtime_error("a table has no end");
        }
        const std::string_view name = page.substr(nameAt, nameEnd - nameAt);
        updated += page.substr(0, nameEnd + kBeginEnd.size());
        updated += Table(name);
        updated += kEnd;
        page.remove_prefix(end + kEnd.size());
    }
    return updated += page;
}

}  // namespace zorvane
