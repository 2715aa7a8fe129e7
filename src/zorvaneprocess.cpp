#include "src/zorvaneprocess.h"

#include "src/amdsdk/amdsdktask.h"
#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "src/nvmlinfo/nvmlinfotask.h"
#include "src/settings.h"

namespace {

constexpr char kLogSource[] = "src\\zorvaneprocess.cpp";

constexpr DWORD kCyclePauseMs = 1000;

// A process that runs for long logs only its start.
constexpr unsigned kFullyLoggedCycles = 5;

}  // namespace

int CZorvaneProcess::Init() {
    LOG_INFO(L"CZorvaneProcess::Init");
    // A task that is ready must not fail to be added: it would not be ended either.
    m_tasks.reserve(2);
    AddNvmlTask();
    if (IsAmdTaskSwitchedOn()) {
        AddAmdTask();
    } else {
        LOG_INFO(L"sdk_flag is off...");
    }
    return 1;
}

void CZorvaneProcess::AddNvmlTask() {
    const auto task = std::make_shared<CNvmlInfoTask>();
    if (task->Init() == 0) {
        task->Uninit();
        LOG_INFO(L"add NvmlInfoTask failed");
        return;
    }
    m_tasks.push_back(task);
    LOG_INFO(L"add NvmlInfoTask");
}

void CZorvaneProcess::AddAmdTask() {
    const auto task = std::make_shared<CAMDSDKTask>(&GetPlatform());
    if (task->Init() == 0) {
        task->Uninit();
        LOG_INFO(L"add AmdSdkTask failed");
        SwitchAmdTaskOff();
        return;
    }
    m_tasks.push_back(task);
    LOG_INFO(L"add AmdSdkTask");
}

int CZorvaneProcess::IsSupported() {
    int supported = 0;
    for (const std::shared_ptr<IZorvaneTask>& task : m_tasks) {
        supported |= task->IsSupported();
    }
    return supported;
}

int CZorvaneProcess::Execute(std::shared_ptr<IProcess> process) {
    if (!process) {
        return 0;
    }
    IZorvaneTask& self = *this;
    try {
        self.Init();
        if (process->WaitQuit(0)) {
            return 0;
        }
        RunCycles(process);
    } catch (...) {
        // Out of memory. The tasks still end in order; the driver service would stay otherwise.
        self.Uninit();
        throw;
    }
    self.Uninit();
    return 1;
}

void CZorvaneProcess::RunCycles(const std::shared_ptr<IProcess>& process) {
    unsigned cycles = 0;
    do {
        RunCycle(process);
        ++cycles;
        if (cycles > kFullyLoggedCycles) {
            ZorLog::SetLogLevel(ZorLog::kLevelOff);
        }
    } while (!m_tasks.empty() && !process->WaitQuit(kCyclePauseMs));
}

void CZorvaneProcess::RunCycle(const std::shared_ptr<IProcess>& process) {
    for (size_t position = 0; position < m_tasks.size();) {
        std::shared_ptr<IZorvaneTask> task = m_tasks[position];
        if (!task || task->Execute(process) != 0) {
            ++position;
            continue;
        }
        task->Uninit();
        m_tasks.erase(m_tasks.begin() + static_cast<ptrdiff_t>(position));
        task.reset();
        LOG_INFO(L"task erro. size:%d", static_cast<int>(m_tasks.size()));
    }
}

void CZorvaneProcess::Uninit() {
    LOG_INFO(L"ZorvaneProcess Uninit. size:%d", static_cast<int>(m_tasks.size()));
    for (const std::shared_ptr<IZorvaneTask>& task : m_tasks) {
        if (task) {
            task->Uninit();
        }
    }
    m_tasks.clear();
}
