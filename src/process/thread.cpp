#include "src/process/thread.h"

#include <objbase.h>
#include <process.h>

#include "src/process/srwlockguard.h"

namespace {

// Held while a thread is being started, so that a short body cannot clear the handle before it is
// stored, and while a thread says that it has ended, so that the next one does not start halfway.
SRWLOCK s_startLock{};

}  // namespace

void CThread::Start() {
    const CSrwLockGuard starting(s_startLock);
    if (m_handle) {
        return;
    }
    m_handle =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ThreadEntry, this, 0, &m_threadId));
}

LONG CThread::RequestStop() { return m_stopFlag.exchange(1); }

void CThread::Stop(bool wait) {
    m_stopFlag.exchange(1);
    // Read once: the thread clears the member on its own way out.
    const HANDLE handle = m_handle;
    if (m_threadId == GetCurrentThreadId() || !wait || !handle) {
        return;
    }
    WaitForSingleObject(handle, INFINITE);
    const CSrwLockGuard forgetting(s_startLock);
    if (m_handle == handle) {
        m_handle = nullptr;
    }
}

LONG CThread::ResetStop() { return m_stopFlag.exchange(0); }

unsigned __stdcall CThread::ThreadEntry(void* parameter) {
    auto* self = static_cast<CThread*>(parameter);
    { const CSrwLockGuard started(s_startLock); }
    // The apartment ends with the thread; there is no CoUninitialize on purpose.
    static_cast<void>(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    self->m_stopFlag.store(0);
    try {
        self->ThreadMain();
    } catch (...) {
        // Out of memory. There is nobody to tell, and the runtime would end the process.
    }
    const CSrwLockGuard ending(s_startLock);
    self->m_handle = nullptr;
    self->m_threadId = 0;
    self->m_stopFlag.store(1);
    return 1;
}
