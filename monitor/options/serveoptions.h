#pragma once

#include <string>
#include <vector>

#include "monitor/options/optiongroup.h"
#include "monitor/serve/httpserver.h"

namespace zorvane {

/** Where and to whom to serve: --listen, --allow-host and --history. */
class CServeOptions {
  public:
    /** Adds the options to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing. */
    ServerOptions Get() const;

  private:
    std::string m_listen = "127.0.0.1:9836";
    std::vector<std::string> m_allowedHosts;
    std::string m_history = "3600";
};

}  // namespace zorvane
