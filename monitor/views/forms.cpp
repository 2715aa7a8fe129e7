#include "monitor/views/forms.h"

#include <algorithm>
#include <utility>

#include "monitor/views/errornotes.h"
#include "monitor/views/jsonview.h"
#include "monitor/views/livetable.h"
#include "monitor/views/plaintable.h"

namespace zorvane {
namespace {

// Without state: one object serves every display.
CErrorNotes s_errorNotes;

std::unique_ptr<COutput> StandardOutput() {
    return std::make_unique<COutput>(GetStdHandle(STD_OUTPUT_HANDLE));
}

template <typename View>
std::optional<CallError> MakePlain(const ViewOptions&, Display& display) {
    display.output = StandardOutput();
    display.view = std::make_unique<View>(*display.output);
    display.notes = &s_errorNotes;
    return std::nullopt;
}

// The variable that people set for all programs; an empty value counts as none.
bool IsColourWanted() { return GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) <= 1; }

std::optional<CallError> MakeTable(const ViewOptions& options, Display& display) {
    display.output = StandardOutput();
    if (!display.output->IsTerminal()) {
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

struct Form {
    const char* name;
    std::optional<CallError> (*make)(const ViewOptions& options, Display& display);
};

// A new form is a line here.
constexpr Form kForms[] = {
    {"table", &MakeTable},
    {"json", &MakePlain<CJsonView>},
};

}  // namespace

const std::vector<std::string>& FormNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const Form& form : kForms) {
            result.emplace_back(form.name);
        }
        return result;
    }();
    return names;
}

std::optional<CallError> MakeDisplay(const ViewOptions& options, Display& display) {
    const auto* form = std::find_if(std::begin(kForms), std::end(kForms), [&](const Form& entry) {
        return options.format == entry.name;
    });
    if (form == std::end(kForms)) {
        return CallError{"--format " + options.format, ERROR_NOT_SUPPORTED};
    }
    return form->make(options, display);
}

}  // namespace zorvane
