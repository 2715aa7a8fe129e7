/** Removal of AMD's driver service where the library leaves it behind. */
#pragma once

/**
 * The library deletes the service when it releases its AMD task. A worker that is stopped before
 * its first cycle releases no task, and one that hangs does nothing at all. The service would then
 * start with Windows at every boot, so the host deletes it.
 */
class CLeftoverService {
  public:
    /** Notes whether the service is registered. Made before the library's export is entered. */
    CLeftoverService();

    /**
     * Deletes the service if it was not registered before this run and names the driver file beside
     * this program, unless the command line has "skip_delete". Does nothing if the library has
     * deleted it already.
     */
    void Remove() const;

  private:
    const bool m_wasRegistered;
};
