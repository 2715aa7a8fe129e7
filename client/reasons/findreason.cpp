#include "client/reasons/findreason.h"

#include "client/reasons/messageformat.h"

namespace zorvane {
namespace {

const SpecialCase* FindSpecialCase(std::string_view id, int64_t code) {
    for (const SpecialCase& special : SpecialCases()) {
        if (special.id == id && special.code == code) {
            return &special;
        }
    }
    return nullptr;
}

const CodeMeaning* FindCodeMeaning(CodeKind kind, int64_t code) {
    for (const CodeMeaning& meaning : CodeMeanings()) {
        if (meaning.kind == kind && meaning.code == code) {
            return &meaning;
        }
    }
    return nullptr;
}

// "It failed." and 9 become "It failed (NVML code 9: the driver is not loaded)."
std::string TextWithCode(const Reason& reason, int64_t code, const CodeMeaning* meaning) {
    std::string text = reason.text;
    if (!text.empty() && text.back() == '.') {
        text.pop_back();
    }
    text += " (" + std::string(CodePrefix(reason.code)) + std::to_string(code);
    return text + (meaning ? ": " + std::string(meaning->text) : "") + ").";
}

void AddCode(const Reason& reason, int64_t code, Explanation& explanation) {
    explanation.id += "." + std::to_string(code);
    if (const SpecialCase* special = FindSpecialCase(reason.id, code)) {
        explanation.kind = special->kind;
        explanation.brief = special->brief;
        explanation.text = special->text;
        explanation.remedy = special->remedy;
        return;
    }
    if (reason.code == CodeKind::kValue) {
        return;
    }
    const CodeMeaning* meaning = FindCodeMeaning(reason.code, code);
    explanation.text = TextWithCode(reason, code, meaning);
    if (!explanation.brief.empty()) {
        explanation.brief += ", " + std::string(CodePrefix(reason.code)) + std::to_string(code);
    }
    if (meaning && *meaning->remedy) {
        explanation.remedy = meaning->remedy;
    }
}

}  // namespace

std::optional<ReasonMatch> FindReason(std::string_view source, std::string_view message) {
    const Reason* best = nullptr;
    MessageMatch bestMatch;
    for (const Reason& reason : Reasons()) {
        if (reason.source != source) {
            continue;
        }
        const std::optional<MessageMatch> match = MatchMessage(reason.format, message);
        // Of "DeleteDriver DeleteService failed. %d" and "%s DeleteService failed. %d" the first
        // is meant where both fit.
        if (match && (!best || match->literals > bestMatch.literals)) {
            best = &reason;
            bestMatch = *match;
        }
    }
    if (!best) {
        return std::nullopt;
    }
    return ReasonMatch{best, best->code == CodeKind::kNone ? std::nullopt : bestMatch.lastNumber};
}

Explanation Explain(const ReasonMatch& match) {
    const Reason& reason = *match.reason;
    Explanation explanation{reason.id,    reason.concern, reason.kind,
                            reason.brief, reason.text,    reason.remedy};
    if (match.code) {
        AddCode(reason, *match.code, explanation);
    }
    return explanation;
}

std::optional<Explanation> ExplainLine(std::string_view source, std::string_view message) {
    const std::optional<ReasonMatch> match = FindReason(source, message);
    return match ? std::optional(Explain(*match)) : std::nullopt;
}

}  // namespace zorvane
