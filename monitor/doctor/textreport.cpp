#include "monitor/doctor/textreport.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace zorvane {
namespace {

constexpr size_t kWidth = 100;

// Words in lines that begin below each other; a word that is too long stays whole.
std::string Wrapped(const std::string& first, const std::string& text) {
    std::string lines = first;
    size_t column = first.size();
    std::istringstream words(text);
    bool isFirst = true;
    for (std::string word; words >> word; isFirst = false) {
        if (!isFirst && column + 1 + word.size() > kWidth) {
            lines += "\n" + std::string(first.size(), ' ');
            column = first.size();
        } else if (!isFirst) {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += word.size();
    }
    return lines + "\n";
}

std::string CheckLines(const CheckedFinding& checked, size_t idWidth) {
    const Finding& finding = checked.finding;
    std::string text = Wrapped(
        fmt::format("  {}  {:<{}}  ", ResultName(finding.result), checked.check->id, idWidth),
        finding.seen);
    if (!finding.remedy.empty()) {
        text += Wrapped(std::string(idWidth + 10, ' ') + "-> ", finding.remedy);
    }
    return text;
}

std::string Now(const std::vector<Verdict>& verdicts) {
    std::string text = "Can be reported now:\n";
    bool any = false;
    for (const Verdict& verdict : verdicts) {
        if (verdict.reporting == Reporting::kNow) {
            text += fmt::format("  {}\n", verdict.name);
            any = true;
        }
    }
    return any ? text : "Nothing can be reported now.\n";
}

std::string Later(const Verdict& verdict) {
    std::string text = fmt::format("\n{} could be reported after these steps:\n", verdict.name);
    for (size_t i = 0; i < verdict.steps.size(); ++i) {
        text += Wrapped(fmt::format("  {}. ", i + 1), verdict.steps[i]);
    }
    return text;
}

std::string Never(const Verdict& verdict) {
    std::string text = fmt::format("\n{} cannot be reported on this PC:\n", verdict.name);
    for (const std::string& obstacle : verdict.obstacles) {
        text += Wrapped("  - ", obstacle);
    }
    return text;
}

std::string Summary(const std::vector<Verdict>& verdicts) {
    std::string text = Now(verdicts);
    for (const Verdict& verdict : verdicts) {
        if (verdict.reporting == Reporting::kAfterSteps) {
            text += Later(verdict);
        } else if (verdict.reporting == Reporting::kNever) {
            text += Never(verdict);
        }
    }
    return text + "\n";
}

}  // namespace

std::string TextReport(const Findings& findings, const std::vector<Verdict>& verdicts) {
    std::string text = verdicts.empty() ? "" : Summary(verdicts);
    size_t idWidth = 0;
    for (const CheckedFinding& checked : findings) {
        idWidth = std::max(idWidth, std::string(checked.check->id).size());
    }
    std::string group;
    for (const CheckedFinding& checked : findings) {
        if (group != checked.check->group) {
            text += fmt::format("{}{}\n", group.empty() ? "" : "\n", checked.check->group);
            group = checked.check->group;
        }
        text += CheckLines(checked, idWidth);
    }
    return text;
}

}  // namespace zorvane
