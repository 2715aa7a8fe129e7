#include "monitor/options/optiongroup.h"

#include <CLI/CLI.hpp>

namespace zorvane {

CLI::Option* AddValue(CLI::App& app, const std::string& name, std::string& value,
                      const std::string& description, const std::string& typeName) {
    const std::string initial = value.empty() ? "" : " (default: " + value + ")";
    return app.add_option(name, value, description + initial)
        ->type_name(typeName)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

}  // namespace zorvane
