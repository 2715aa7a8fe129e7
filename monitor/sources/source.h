/** Where events come from. */
#pragma once

#include <chrono>
#include <optional>

#include "monitor/event.h"
#include "monitor/moment.h"
#include "monitor/outcome.h"

namespace zorvane {

class IEventSink {
  public:
    virtual ~IEventSink() = default;

    /** May stop the source. */
    virtual void OnEvent(const Event& event) = 0;
};

/**
 * A worker, or a recording. One thread: it calls Start once and then, until there is an End, pumps
 * its message loop and calls OnTime. Events come from inside of any of these, a StartEvent first.
 */
class ISource {
  public:
    virtual ~ISource() = default;

    /** `sink` outlives the source. */
    virtual void Start(IEventSink& sink, Moment now) = 0;

    /** Does what is due. */
    virtual void OnTime(Moment now) = 0;

    /** The tick at which OnTime has something to do; empty: not before a message comes. */
    virtual std::optional<std::chrono::milliseconds> DueTick() const = 0;

    /** Asks for the end; asked again, for a quicker one. */
    virtual void Stop() = 0;

    /** Why it has ended; empty while it runs. Nothing comes after that. */
    virtual std::optional<EndReason> End() const = 0;
};

}  // namespace zorvane
