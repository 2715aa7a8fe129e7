#include "src/log/locks.h"

namespace _BaseModule {

CCriticalSection g_loggerLock;
CCriticalSection g_moduleLock;

CCriticalSection::CCriticalSection() { InitializeCriticalSection(&m_section); }

CCriticalSection::~CCriticalSection() { DeleteCriticalSection(&m_section); }

bool CCriticalSection::Lock() {
    EnterCriticalSection(&m_section);
    return true;
}

bool CCriticalSection::Unlock() {
    LeaveCriticalSection(&m_section);
    return true;
}

}  // namespace _BaseModule
