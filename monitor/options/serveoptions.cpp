#include "monitor/options/serveoptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

std::string CheckListen(const std::string& text) {
    return ParseListenAddress(text)
               ? ""
               : fmt::format(
                     "--listen takes an address and a port, such as 127.0.0.1:9836 or [::1]:9836, "
                     "not \"{}\"",
                     text);
}

std::string CheckHost(const std::string& text) {
    const bool isName = !text.empty() && text.find_first_of(":/ ") == std::string::npos;
    return isName ? "" : fmt::format("--allow-host takes a name without a port, not \"{}\"", text);
}

std::string CheckHistory(const std::string& text) {
    return ParseSeconds(text)
               ? ""
               : fmt::format("--history takes a number of seconds above 0, not \"{}\"", text);
}

}  // namespace

void CServeOptions::Declare(CLI::App& app) {
    AddValue(app, "--listen", m_listen, "Address and port to serve at", "ADDRESS:PORT")
        ->check(CheckListen);
    app.add_option("--allow-host", m_allowedHosts,
                   "A further name under which browsers may ask; may be repeated")
        ->type_name("NAME")
        ->allow_extra_args(false)
        ->check(CheckHost);
    AddValue(app, "--history", m_history, "How much to keep, in 64 MiB at most", "SECONDS")
        ->check(CheckHistory);
}

ServerOptions CServeOptions::Get() const {
    ServerOptions options;
    options.hosts.listen = ParseListenAddress(m_listen).value_or(ListenAddress());
    options.hosts.allowed = m_allowedHosts;
    options.history.age = ParseSeconds(m_history).value_or(options.history.age);
    return options;
}

}  // namespace zorvane
