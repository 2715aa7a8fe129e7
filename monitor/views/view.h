/** What shows or stores a run. */
#pragma once

#include <optional>
#include <string>

#include "base/callerror.h"
#include "monitor/event.h"
#include "monitor/model/machinemodel.h"
#include "monitor/terminal/keys.h"

namespace zorvane {

/** Why a view can show nothing more. */
struct ViewFailure {
    CallError error;
    /** Whether the reader of the output has gone, which is an ordinary way to end. */
    bool readerGone = false;
};

/**
 * A view overrides what it needs. One thread; read the model during the call only. OnEvent is
 * called for every event; OnRound comes before the event that follows the round.
 */
class IView {
  public:
    virtual ~IView() = default;

    /** Something happened; the model holds it already. */
    virtual void OnEvent(const Event&, const CMachineModel&) {}

    /**
     * A round of readings is complete, or ends unfinished with its worker's silence. The model
     * holds this round's readings and no others.
     */
    virtual void OnRound(const CMachineModel&) {}

    /** All that came at once is in the model now: the moment to draw. */
    virtual void OnChange(const CMachineModel&) {}

    /** A key of the terminal was pressed, or its size has changed. */
    virtual void OnKey(Key) {}

    /** The run is over; the last call. */
    virtual void OnEnd(const CMachineModel&) {}

    /** Empty while all is well. Asked for after each of the calls above. */
    virtual std::optional<ViewFailure> Failure() const { return std::nullopt; }
};

/** Where sentences for people go. */
class INotes {
  public:
    virtual ~INotes() = default;

    /** Shows one line, `text` being without a line end. */
    virtual void ShowNote(const std::string& text) = 0;
};

}  // namespace zorvane
