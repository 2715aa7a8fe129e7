/** A kind of hardware information that the worker gathers. */
#pragma once

#include <memory>

#include "src/process/iprocess.h"

/**
 * One task. Always owned by a std::shared_ptr that was made for the concrete type, which is why
 * there is no virtual destructor. All operations run on the work thread; 0 means failure.
 */
class IZorvaneTask {
  public:
    /** Prepares the task; 0: it cannot work on this machine. Uninit follows in either case. */
    virtual int Init() = 0;
    /** Whether the task could work here, found out cheaply and without preparing anything. */
    virtual int IsSupported() = 0;
    /** One cycle of work, results to `process`; 0: the task failed or was told to stop. */
    virtual int Execute(std::shared_ptr<IProcess> process) = 0;
    /** Releases what Init prepared; called when the task is dropped and at the end. */
    virtual void Uninit() = 0;

  protected:
    ~IZorvaneTask() = default;
};
