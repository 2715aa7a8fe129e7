#include "monitor/options/displayoptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "monitor/options/values.h"
#include "monitor/views/forms.h"

namespace zorvane {
namespace {

std::string CheckFormat(const std::string& text) {
    const auto& names = FormNames();
    if (std::find(names.begin(), names.end(), LowerAscii(text)) != names.end()) {
        return "";
    }
    return fmt::format("--format takes {}, not \"{}\".{}", Listed(names), text,
                       DidYouMean(text, names));
}

}  // namespace

void CDisplayOptions::Declare(CLI::App& app) {
    AddValue(app, "--format", m_options.format, "How to show what happens",
             fmt::format("{}", fmt::join(FormNames(), "|")))
        ->check(CheckFormat);
}

ViewOptions CDisplayOptions::Get() const {
    ViewOptions options = m_options;
    options.format = LowerAscii(options.format);
    return options;
}

}  // namespace zorvane
