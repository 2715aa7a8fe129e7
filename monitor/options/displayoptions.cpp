#include "monitor/options/displayoptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "base/text.h"
#include "monitor/options/values.h"
#include "monitor/views/csvcolumns.h"
#include "monitor/views/forms.h"

namespace zorvane {
namespace {

constexpr uint64_t kMostMiB = 1u << 20;
constexpr uint64_t kMostKept = 1000;

struct Separator {
    const char* name;
    char character;
};

// Names beside the characters, because shells take ; and | for themselves.
constexpr Separator kSeparators[] = {{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'},
                                     {"pipe", '|'},  {",", ','},         {";", ';'},
                                     {"\t", '\t'},   {"|", '|'}};

std::optional<char> ParseSeparator(const std::string& text) {
    for (const Separator& separator : kSeparators) {
        if (LowerAscii(text) == separator.name) {
            return separator.character;
        }
    }
    return std::nullopt;
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, ',');) {
        parts.push_back(LowerAscii(part));
    }
    return parts;
}

std::string CheckFormat(const std::string& text) {
    const auto& names = FormNames();
    if (Contains(names, LowerAscii(text))) {
        return "";
    }
    return fmt::format("--format takes {}, not \"{}\".{}", Listed(names), text,
                       DidYouMean(text, names));
}

std::string CheckFields(const std::string& text) {
    const auto& names = CsvFieldNames();
    const std::vector<std::string> fields = SplitAtCommas(text);
    const auto unknown = std::find_if_not(
        fields.begin(), fields.end(), [&](const auto& field) { return Contains(names, field); });
    if (!fields.empty() && unknown == fields.end()) {
        return "";
    }
    const std::string field = fields.empty() ? "" : *unknown;
    return fmt::format("--fields knows no \"{}\".{} There are: {}", field, DidYouMean(field, names),
                       fmt::join(names, ", "));
}

std::string CheckSeparator(const std::string& text) {
    return ParseSeparator(text)
               ? ""
               : fmt::format("--separator takes comma, semicolon, tab or pipe, not \"{}\"", text);
}

std::string CheckCount(const char* option, const std::string& text, uint64_t most) {
    const auto count = ParseCount(text);
    return count && *count <= most ? ""
                                   : fmt::format("{} takes a whole number from 1 to {}, not \"{}\"",
                                                 option, most, text);
}

std::string CheckOut(const std::string& text) {
    return text.empty() ? "--out takes the name of a file" : "";
}

std::string CheckGpu(const std::string& text) {
    return ParseGpuChoice(text)
               ? ""
               : fmt::format("--gpu takes a PCI bus id such as 01:00.0, or an index, not \"{}\"",
                             text);
}

std::string CheckInterval(const std::string& text) {
    return ParseSeconds(text)
               ? ""
               : fmt::format("--interval takes a number of seconds above 0, not \"{}\"", text);
}

}  // namespace

void CDisplayOptions::Declare(CLI::App& app) {
    AddValue(app, "--format", m_format, "How to show what happens",
             fmt::format("{}", fmt::join(FormNames(), "|")))
        ->check(CheckFormat);
    AddValue(app, "--out", m_out,
             "Write to a file: prometheus replaces its content, the others add to it", "FILE")
        ->check(CheckOut);
    AddValue(app, "--rotate-mib", m_rotateMiB, "Begin a new file when it has N MiB", "N")
        ->check([](const std::string& text) { return CheckCount("--rotate-mib", text, kMostMiB); });
    AddValue(app, "--keep", m_keep, "Older files to keep then", "K")
        ->check([](const std::string& text) { return CheckCount("--keep", text, kMostKept); })
        ->needs("--rotate-mib");
    AddValue(app, "--fields", m_fields, "The columns of a csv, with commas between them", "LIST")
        ->check(CheckFields);
    AddValue(app, "--separator", m_separator,
             "What stands between the fields of a csv: comma, semicolon, tab or pipe", "NAME")
        ->check(CheckSeparator);
    AddValue(app, "--gpu", m_gpu, "Only this one of the GPUs", "BUSID|INDEX")->check(CheckGpu);
    AddValue(app, "--interval", m_interval, "Show one round in so many seconds", "SECONDS")
        ->check(CheckInterval);
    app.parse_complete_callback([this] {
        if (const std::string sentence = CheckTogether(); !sentence.empty()) {
            throw CLI::ValidationError("together", sentence);
        }
    });
}

std::string CDisplayOptions::CheckTogether() const {
    const std::string format = LowerAscii(m_format);
    if (format != "csv" && !m_fields.empty()) {
        return "--fields is for --format csv";
    }
    if (format != "csv" && !m_separator.empty()) {
        return "--separator is for --format csv";
    }
    if (!m_rotateMiB.empty() && m_out.empty()) {
        return "--rotate-mib is for the file of --out";
    }
    if (!m_rotateMiB.empty() && format == "prometheus") {
        return "--rotate-mib is for files that grow, which one of --format prometheus does not";
    }
    return "";
}

ViewOptions CDisplayOptions::Get() const {
    constexpr uint64_t kMiB = 1u << 20;
    ViewOptions options;
    options.format = LowerAscii(m_format);
    options.out = ToWide(m_out);
    options.rotateAt = ParseCount(m_rotateMiB).value_or(0) * kMiB;
    options.keep = static_cast<unsigned>(ParseCount(m_keep).value_or(options.keep));
    options.separator = ParseSeparator(m_separator).value_or(options.separator);
    options.fields = SplitAtCommas(m_fields);
    options.interval = ParseSeconds(m_interval);
    return options;
}

}  // namespace zorvane
