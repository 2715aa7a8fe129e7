#pragma once

#include <optional>
#include <string>

#include "monitor/options/optiongroup.h"
#include "monitor/sources/gpufilter.h"
#include "monitor/views/viewoptions.h"

namespace zorvane {

/** How to show a run, and where to: --format, --out and what belongs to them. */
class CDisplayOptions {
  public:
    /** Adds the options to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing. */
    ViewOptions Get() const;

    /** The one GPU to show; empty: all. */
    std::optional<GpuChoice> Gpu() const { return ParseGpuChoice(m_gpu); }

  private:
    std::string CheckTogether() const;

    std::string m_format = "table";
    std::string m_out;
    std::string m_rotateMiB;
    std::string m_keep = "5";
    std::string m_separator;
    std::string m_fields;
    std::string m_gpu;
    std::string m_interval;
};

}  // namespace zorvane
