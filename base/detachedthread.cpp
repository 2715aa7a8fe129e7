#include "base/detachedthread.h"

#include <windows.h>

#include <memory>
#include <system_error>
#include <utility>

#include "base/handle.h"

namespace zorvane {
namespace {

DWORD WINAPI RunWork(void* work) {
    const std::unique_ptr<std::function<void()>> owned(static_cast<std::function<void()>*>(work));
    (*owned)();
    return 0;
}

}  // namespace

// Not a detached std::thread: the compiler's runtime hands the record of one that is just ending to
// the next, which then ends without having run.
void RunDetached(std::function<void()> work) {
    auto owned = std::make_unique<std::function<void()>>(std::move(work));
    const CUniqueHandle thread(CreateThread(nullptr, 0, &RunWork, owned.get(), 0, nullptr));
    if (!thread) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                "CreateThread");
    }
    static_cast<void>(owned.release());
}

}  // namespace zorvane
