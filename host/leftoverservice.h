/** AMD's driver service, where the library leaves it behind. */
#pragma once

/**
 * The library removes the service together with its AMD task. It releases no task when it is
 * stopped before the first cycle, and a worker that hangs gets to nothing at all; the service,
 * which Windows would then start at every boot, is the host's to remove.
 */
class CLeftoverService {
  public:
    /** Notes whether the service is registered. Made before the library's export is entered. */
    CLeftoverService();

    /**
     * Removes the service if it was not there before, unless "skip_delete" stands on the command
     * line. Does nothing when the library has removed it already.
     */
    void Remove() const;

  private:
    const bool m_wasRegistered;
};
