/** The open sessions of the C interface, by number. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <memory>

#include "kit/session.h"

namespace zorvane {

/** Numbers are not used again, so a call with that of a closed session finds none. Any thread. */
class CSessionTable {
  public:
    uint64_t Add(std::shared_ptr<CClientSession> session);

    /** Null when there is none with this number. */
    std::shared_ptr<CClientSession> Find(uint64_t number);

    /** Takes it out of the table; null when there is none. */
    std::shared_ptr<CClientSession> Remove(uint64_t number);

  private:
    SRWLOCK m_lock{};
    uint64_t m_last = 0;
    std::map<uint64_t, std::shared_ptr<CClientSession>> m_sessions;
};

}  // namespace zorvane
