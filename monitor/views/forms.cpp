#include "monitor/views/forms.h"

#include <algorithm>
#include <utility>

#include "monitor/outputs/growingfile.h"
#include "monitor/outputs/replacedfile.h"
#include "monitor/outputs/streamtext.h"
#include "monitor/views/csvview.h"
#include "monitor/views/errornotes.h"
#include "monitor/views/jsonview.h"
#include "monitor/views/livetable.h"
#include "monitor/views/plaintable.h"
#include "monitor/views/prometheusview.h"
#include "monitor/views/thinnedview.h"

namespace zorvane {
namespace {

// Without state: one object serves every display.
CErrorNotes s_errorNotes;

std::unique_ptr<COutput> StandardOutput() {
    return std::make_unique<COutput>(GetStdHandle(STD_OUTPUT_HANDLE));
}

// Standard output, or a file that grows; its first line has to be `firstLine` if that is not empty.
std::optional<std::string> MakeText(const ViewOptions& options, Display& display,
                                    const std::string& firstLine = "") {
    display.notes = &s_errorNotes;
    if (options.out.empty()) {
        display.text = std::make_unique<CStreamText>(GetStdHandle(STD_OUTPUT_HANDLE));
        return std::nullopt;
    }
    auto file = std::make_unique<CGrowingFile>(
        GrowingFileOptions{options.out, options.rotateAt, options.keep}, s_errorNotes);
    auto error = file->Open(firstLine);
    display.text = std::move(file);
    return error;
}

// The variable that people set for all programs; an empty value counts as none.
bool IsColourWanted() { return GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) <= 1; }

template <typename View>
std::optional<std::string> MakePlain(const ViewOptions& options, Display& display) {
    auto error = MakeText(options, display);
    display.view = std::make_unique<View>(*display.text);
    return error;
}

std::optional<std::string> MakeTable(const ViewOptions& options, Display& display) {
    display.output = StandardOutput();
    if (!options.out.empty() || !display.output->IsTerminal()) {
        return MakePlain<CPlainTableView>(options, display);
    }
    auto view = std::make_unique<CLiveTableView>(*display.output, IsColourWanted());
    // A terminal that is no full console still shows one table below the other.
    if (view->Enter()) {
        return MakePlain<CPlainTableView>(options, display);
    }
    display.keys = std::make_unique<CKeys>(GetStdHandle(STD_INPUT_HANDLE));
    display.notes = view.get();
    display.view = std::move(view);
    return std::nullopt;
}

std::optional<std::string> MakeCsv(const ViewOptions& options, Display& display) {
    const std::vector<const CsvColumn*> columns = CsvColumns(options.fields);
    auto error = MakeText(options, display, CsvHeader(columns, options.separator));
    display.view = std::make_unique<CCsvView>(*display.text, columns, options.separator);
    return error;
}

std::optional<std::string> MakePrometheus(const ViewOptions& options, Display& display) {
    if (options.out.empty()) {
        return MakePlain<CPrometheusBlocks>(options, display);
    }
    display.notes = &s_errorNotes;
    auto file = std::make_unique<CReplacedFile>(options.out, s_errorNotes);
    const auto error = file->Open();
    display.text = std::move(file);
    display.view = std::make_unique<CPrometheusFile>(*display.text);
    return error ? std::optional(Describe(*error)) : std::nullopt;
}

struct Form {
    const char* name;
    std::optional<std::string> (*make)(const ViewOptions& options, Display& display);
};

// A new form is a line here.
constexpr Form kForms[] = {
    {"table", &MakeTable},
    {"json", &MakePlain<CJsonView>},
    {"csv", &MakeCsv},
    {"prometheus", &MakePrometheus},
};

}  // namespace

const std::vector<std::string>& FormNames() {
    static const std::vector<std::string> kNames = [] {
        std::vector<std::string> result;
        for (const Form& form : kForms) {
            result.emplace_back(form.name);
        }
        return result;
    }();
    return kNames;
}

std::optional<std::string> MakeDisplay(const ViewOptions& options, Display& display) {
    const auto* form = std::find_if(std::begin(kForms), std::end(kForms), [&](const Form& entry) {
        return options.format == entry.name;
    });
    if (form == std::end(kForms)) {
        return "there is no form " + options.format;
    }
    if (auto error = form->make(options, display)) {
        return error;
    }
    if (options.interval) {
        display.view = std::make_unique<CThinnedView>(std::move(display.view), *options.interval);
    }
    return std::nullopt;
}

}  // namespace zorvane
