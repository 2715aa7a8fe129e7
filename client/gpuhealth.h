/** Notices that a GPU is lost. */
#pragma once

#include <map>
#include <optional>
#include <variant>

#include "client/sessionevent.h"

namespace zorvane {

/** A GPU is lost, or answers again. */
using GpuChange = std::variant<GpuLostEvent, GpuBackEvent>;

/**
 * A GPU is lost when it stops giving readings, or when its record is empty, without even a name. A
 * GPU without sensors never gives readings and is not lost.
 */
class CGpuHealth {
  public:
    /** A new worker: forgets all GPUs. */
    void Reset() { m_gpus.clear(); }

    /**
     * Gives the GpuLostEvent or GpuBackEvent that this reading means, if any. Takes the
     * utilisations out of a lost GPU's reading: its record has 0 there, like that of an idle one.
     */
    std::optional<GpuChange> Check(GpuReading& reading);

  private:
    struct State {
        bool hasAnswered = false;
        bool isLost = false;
        std::optional<std::string> busId;
    };

    /** By index, which stays with its GPU while the worker runs. */
    std::map<uint32_t, State> m_gpus;
};

}  // namespace zorvane
