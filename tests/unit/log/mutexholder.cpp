#include "tests/unit/log/mutexholder.h"

#include <stdexcept>

namespace {

constexpr DWORD kTakeTimeoutMs = 30'000;

}  // namespace

CMutexHolder::CMutexHolder(const std::wstring& name)
    : m_mutex(CreateMutexW(nullptr, FALSE, name.c_str())) {
    std::promise<DWORD> taken;
    std::future<DWORD> result = taken.get_future();
    m_thread = std::thread(&CMutexHolder::Hold, this, std::move(taken));
    if (result.get() != WAIT_OBJECT_0) {
        m_thread.join();
        throw std::runtime_error("the mutex of the log does not come free");
    }
}

CMutexHolder::~CMutexHolder() {
    if (m_thread.joinable()) {
        Release();
    }
}

void CMutexHolder::Hold(std::promise<DWORD> taken) {
    const DWORD result = WaitForSingleObject(m_mutex.get(), kTakeTimeoutMs);
    taken.set_value(result);
    if (result == WAIT_OBJECT_0 && m_release.get_future().get()) {
        ReleaseMutex(m_mutex.get());
    }
}

void CMutexHolder::End(bool release) {
    m_release.set_value(release);
    m_thread.join();
}

bool IsMutexFree(const std::wstring& name) {
    return std::async(std::launch::async,
                      [&name] {
                          const zorvane::CUniqueHandle mutex(
                              OpenMutexW(MUTEX_ALL_ACCESS, FALSE, name.c_str()));
                          const bool taken = WaitForSingleObject(mutex.get(), 0) == WAIT_OBJECT_0;
                          if (taken) {
                              ReleaseMutex(mutex.get());
                          }
                          return taken;
                      })
        .get();
}
