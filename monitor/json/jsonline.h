/** Writing events as JSON lines. docs/zorvanemon.md has the schema; readjsonline.h reads them. */
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "monitor/event.h"

namespace zorvane {

/**
 * Writes one line after the other, for one thread. A line like the one before takes little memory
 * anew.
 */
class CJsonLines {
  public:
    CJsonLines();
    ~CJsonLines();
    CJsonLines(const CJsonLines&) = delete;
    CJsonLines& operator=(const CJsonLines&) = delete;

    /**
     * One JSON object in one line of UTF-8, without the line end. `origin` is the last StartEvent,
     * or the event itself. What could not be read is null; bytes that are not UTF-8 become U+FFFD.
     */
    std::string Line(const Event& event, const StartEvent& origin);

  private:
    /** That of the last line. */
    std::unique_ptr<nlohmann::ordered_json> m_object;
};

/** A line by itself. */
std::string JsonLine(const Event& event, const StartEvent& origin);

}  // namespace zorvane
