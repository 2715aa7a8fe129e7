/** The task manager. */
#pragma once

#include <vector>

#include "src/izorvanetask.h"

/**
 * Decides which tasks exist and runs them once a second, in the order in which they were added,
 * until the process is to end or no task is left. Work thread only.
 */
class CZorvaneProcess final : public IZorvaneTask {
  public:
    /** Makes the tasks that can work on this machine. Always 1. */
    int Init() override;
    /** The tasks' answers, or-ed together; every task is asked. */
    int IsSupported() override;
    /**
     * Runs the tasks; 1 when their cycles have ended, 0 when they did not begin. An exception,
     * which means that memory ran out, leaves it after the tasks have been dropped.
     */
    int Execute(std::shared_ptr<IProcess> process) override;
    /** Drops all tasks. */
    void Uninit() override;

  private:
    void AddNvmlTask();
    void AddAmdTask();
    void RunCycles(const std::shared_ptr<IProcess>& process);
    void RunCycle(const std::shared_ptr<IProcess>& process);

    std::vector<std::shared_ptr<IZorvaneTask>> m_tasks;
};
