#include "tests/campaigns/faults/watchedresources.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include <oleauto.h>
#include <shellapi.h>

#include "base/importtable.h"

namespace {

// Never destroyed: the library uses them until the process ends. Windows' own lock, because it
// allocates nothing.
SRWLOCK s_lock{};

struct Watched {
    std::map<const char*, std::set<uint64_t>> open;
    std::map<const void*, int> locks;
    std::vector<std::string> wrong;
};

Watched& State() {
    static auto* s_state = new Watched();
    return *s_state;
}

class CKeptError {
  public:
    CKeptError() { AcquireSRWLockExclusive(&s_lock); }
    ~CKeptError() {
        ReleaseSRWLockExclusive(&s_lock);
        SetLastError(m_error);
    }
    CKeptError(const CKeptError&) = delete;
    CKeptError& operator=(const CKeptError&) = delete;

  private:
    DWORD m_error = GetLastError();
};

void Opened(const char* kind, uint64_t value) {
    const CKeptError guard;
    State().open[kind].insert(value);
}

// Called before the release, because the value may be given out again at once.
void Released(const char* kind, const char* function, uint64_t value) {
    const CKeptError guard;
    if (State().open[kind].erase(value) == 0) {
        State().wrong.push_back(std::string(function) + " of what is not open");
    }
}

constexpr char kHandle[] = "handle";
constexpr char kService[] = "service";
constexpr char kMemory[] = "memory";
constexpr char kBstr[] = "text";
constexpr char kLocal[] = "local";
constexpr char kModule[] = "module";
constexpr char kKey[] = "key";
constexpr char kFile[] = "file";

template <typename Value>
uint64_t AsNumber(Value value) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<uintptr_t>(value);
    } else {
        return static_cast<uint64_t>(value);
    }
}

// A function that answers with what it has opened; 0 and -1 are failures.
template <const char* kKind, int kNumber, typename Signature>
struct Opening;

template <const char* kKind, int kNumber, typename Result, typename... Arguments>
struct Opening<kKind, kNumber, Result(Arguments...)> {
    static Result Call(Arguments... arguments) {
        Result result = s_original(arguments...);
        const uint64_t value = AsNumber(result);
        if (value != 0 && value != ~uint64_t{0}) {
            Opened(kKind, value);
        }
        return result;
    }
    inline static Result (*s_original)(Arguments...) = nullptr;
};

// A function whose first argument is what it releases. Nothing may be released where that is
// harmless: null, and the invalid handle.
template <const char* kKind, int kNumber, typename Signature>
struct Releasing;

const char* s_releasing[32];

template <const char* kKind, int kNumber, typename Result, typename First, typename... Arguments>
struct Releasing<kKind, kNumber, Result(First, Arguments...)> {
    static Result Call(First first, Arguments... arguments) {
        const uint64_t value = AsNumber(first);
        if (value != 0) {
            Released(kKind, s_releasing[kNumber], value);
        }
        return s_original(first, arguments...);
    }
    inline static Result (*s_original)(First, Arguments...) = nullptr;
};

// A function that takes (1) or releases (-1) a lock.
template <int kChange, int kNumber, typename Signature>
struct Locking;

template <int kChange, int kNumber, typename Argument>
struct Locking<kChange, kNumber, void(Argument)> {
    static void Call(Argument lock) {
        s_original(lock);
        const CKeptError guard;
        State().locks[lock] += kChange;
    }
    inline static void (*s_original)(Argument) = nullptr;
};

template <typename Function>
void Watch(HMODULE module, const char* function, Function* replacement, Function*& original) {
    if (void** entry = zorvane::FindImport(module, function)) {
        original = reinterpret_cast<Function*>(
            zorvane::ExchangeImport(entry, reinterpret_cast<void*>(replacement)));
    }
}

template <const char* kKind, int kNumber, typename Signature>
void WatchOpening(HMODULE module, const char* function) {
    using Row = Opening<kKind, kNumber, Signature>;
    Watch(module, function, &Row::Call, Row::s_original);
}

template <const char* kKind, int kNumber, typename Signature>
void WatchReleasing(HMODULE module, const char* function) {
    using Row = Releasing<kKind, kNumber, Signature>;
    s_releasing[kNumber] = function;
    Watch(module, function, &Row::Call, Row::s_original);
}

template <int kChange, int kNumber, typename Signature>
void WatchLocking(HMODULE module, const char* function) {
    using Row = Locking<kChange, kNumber, Signature>;
    Watch(module, function, &Row::Call, Row::s_original);
}

LSTATUS (*s_openKey)(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) = nullptr;

LSTATUS OpenKey(HKEY parent, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
    const LSTATUS result = s_openKey(parent, path, options, access, key);
    if (result == ERROR_SUCCESS) {
        Opened(kKey, AsNumber(*key));
    }
    return result;
}

errno_t (*s_openFile)(int*, const wchar_t*, int, int, int) = nullptr;

errno_t OpenFile(int* file, const wchar_t* path, int flags, int share, int permission) {
    const errno_t result = s_openFile(file, path, flags, share, permission);
    if (result == 0) {
        Opened(kFile, AsNumber(*file));
    }
    return result;
}

void* (*s_reallocate)(void*, size_t) = nullptr;

void* Reallocate(void* memory, size_t size) {
    if (memory) {
        Released(kMemory, "realloc", AsNumber(memory));
    }
    void* moved = s_reallocate(memory, size);
    if (moved) {
        Opened(kMemory, AsNumber(moved));
    }
    return moved;
}

}  // namespace

#define WATCH_OPENING(kind, function) \
    WatchOpening<kind, __COUNTER__, decltype(function)>(module, #function)
#define WATCH_RELEASING(kind, function) \
    WatchReleasing<kind, __COUNTER__, decltype(function)>(module, #function)
#define WATCH_LOCKING(change, function) \
    WatchLocking<change, __COUNTER__, decltype(function)>(module, #function)

void WatchResources(HMODULE module) {
    State();
    WATCH_RELEASING(kHandle, CloseHandle);
    WATCH_RELEASING(kService, CloseServiceHandle);
    WATCH_RELEASING(kBstr, SysFreeString);
    WATCH_RELEASING(kLocal, LocalFree);
    WATCH_RELEASING(kModule, FreeLibrary);
    WATCH_RELEASING(kKey, RegCloseKey);
    WatchReleasing<kMemory, __COUNTER__, void(void*)>(module, "free");
    WatchReleasing<kFile, __COUNTER__, int(int)>(module, "_close");
    WATCH_OPENING(kHandle, CreateEventW);
    WATCH_OPENING(kHandle, OpenMutexW);
    WATCH_OPENING(kHandle, CreateMutexW);
    WATCH_OPENING(kHandle, CreateFileW);
    WatchOpening<kHandle, __COUNTER__,
                 uintptr_t(void*, unsigned, unsigned (*)(void*), void*, unsigned, unsigned*)>(
        module, "_beginthreadex");
    WATCH_OPENING(kService, OpenSCManagerW);
    WATCH_OPENING(kService, OpenServiceW);
    WATCH_OPENING(kService, CreateServiceW);
    WATCH_OPENING(kBstr, SysAllocString);
    WATCH_OPENING(kLocal, CommandLineToArgvW);
    WATCH_OPENING(kModule, LoadLibraryW);
    WatchOpening<kMemory, __COUNTER__, void*(size_t)>(module, "malloc");
    WatchOpening<kMemory, __COUNTER__, void*(size_t, size_t)>(module, "calloc");
    Watch(module, "realloc", &Reallocate, s_reallocate);
    Watch(module, "RegOpenKeyExW", &OpenKey, s_openKey);
    Watch(module, "_wsopen_s", &OpenFile, s_openFile);
    WATCH_LOCKING(1, EnterCriticalSection);
    WATCH_LOCKING(-1, LeaveCriticalSection);
    WATCH_LOCKING(1, AcquireSRWLockExclusive);
    WATCH_LOCKING(-1, ReleaseSRWLockExclusive);
    WATCH_LOCKING(1, AcquireSRWLockShared);
    WATCH_LOCKING(-1, ReleaseSRWLockShared);
}

std::vector<std::string> WrongReleases() {
    const CKeptError guard;
    return State().wrong;
}

std::vector<OpenResources> OpenNow() {
    const CKeptError guard;
    std::vector<OpenResources> open;
    for (const auto& [kind, values] : State().open) {
        open.push_back({kind, values.size()});
    }
    return open;
}

bool AreAllLocksFree() {
    const CKeptError guard;
    const auto& locks = State().locks;
    return std::all_of(locks.begin(), locks.end(),
                       [](const auto& lock) { return lock.second == 0; });
}
