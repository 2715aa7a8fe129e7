#include "tests/campaigns/faults/strangermessages.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <string_view>
#include <vector>

#include "base/handle.h"
#include "base/modulepath.h"
#include "zorvane/wire.h"

namespace {

constexpr int kMessages = 400;
// On a machine that is busy with many runs.
constexpr DWORD kPatienceMs = 300'000;
constexpr UINT kAnswerMs = 60'000;

constexpr int kNoWindow = 10;
constexpr int kWindowGone = 11;
constexpr int kNoAnswer = 12;

// Undocumented; Windows' own timers, carets for instance.
constexpr UINT kSystemTimer = 0x118;

// Those that Windows sends itself, in the life of a window and of a session.
constexpr UINT kOwnMessages[] = {WM_NULL,
                                 WM_CREATE,
                                 WM_DESTROY,
                                 WM_MOVE,
                                 WM_SIZE,
                                 WM_ENABLE,
                                 WM_SETREDRAW,
                                 WM_GETTEXT,
                                 WM_GETTEXTLENGTH,
                                 WM_PAINT,
                                 WM_QUERYENDSESSION,
                                 WM_ERASEBKGND,
                                 WM_SHOWWINDOW,
                                 WM_ENDSESSION,
                                 WM_CANCELMODE,
                                 WM_NCCREATE,
                                 WM_NCDESTROY,
                                 WM_NCPAINT,
                                 WM_TIMER,
                                 kSystemTimer,
                                 WM_HOTKEY,
                                 WM_POWERBROADCAST,
                                 WM_DEVICECHANGE,
                                 WM_DISPLAYCHANGE,
                                 WM_THEMECHANGED,
                                 WM_WTSSESSION_CHANGE,
                                 WM_USER,
                                 WM_APP,
                                 WM_COPYDATA};

// These are to end the worker, or make Windows close or drag the window as its user would.
constexpr UINT kEnds[] = {WM_CLOSE,      WM_QUIT,          WM_SYSCOMMAND,
                          WM_SYSKEYDOWN, WM_NCLBUTTONDOWN, WM_NCLBUTTONDBLCLK};

struct Search {
    DWORD processId;
    HWND found;
};

BOOL CALLBACK TakeHidden(HWND window, LPARAM parameter) {
    auto* const search = reinterpret_cast<Search*>(parameter);
    DWORD owner = 0;
    wchar_t name[32] = {};
    GetWindowThreadProcessId(window, &owner);
    GetClassNameW(window, name, static_cast<int>(std::size(name)));
    if (owner == search->processId && std::wstring_view(name).starts_with(L"ATL:")) {
        search->found = window;
    }
    return !search->found;
}

class CStranger {
  public:
    CStranger(HWND window, unsigned seed) : m_window(window), m_random(seed) {}

    // Whether the window's thread has answered.
    bool SendOne() {
        switch (m_random() % 4) {
            case 0:
                return SendBytes();
            case 1:
                return Send(kOwnMessages[m_random() % std::size(kOwnMessages)], Number());
            case 2:
                Post(kOwnMessages[m_random() % std::size(kOwnMessages)]);
                return true;
            default:
                Post(static_cast<UINT>(m_random() % 0x10000));
                return true;
        }
    }

  private:
    uint64_t Number() {
        const uint64_t numbers[] = {0,
                                    1,
                                    ~uint64_t{0},
                                    0x80000000,
                                    m_random() % 16,
                                    m_random() % 0x10000,
                                    reinterpret_cast<uintptr_t>(m_window),
                                    (uint64_t{m_random()} << 32) + m_random()};
        return numbers[m_random() % std::size(numbers)];
    }

    // Windows refuses to post what would carry a pointer.
    void Post(UINT message) {
        if (std::find(std::begin(kEnds), std::end(kEnds), message) == std::end(kEnds)) {
            PostMessageW(m_window, message, Number(), static_cast<LPARAM>(Number()));
        }
    }

    // Windows reads behind the pointer of some messages, on the sender's side.
    bool Send(UINT message, WPARAM wParam) {
        static wchar_t s_block[0x20000] = {};
        if (message == WM_COPYDATA) {
            return SendBytes();
        }
        const bool hasBlock = message == WM_GETTEXT || m_random() % 2 == 0;
        const WPARAM length = message == WM_GETTEXT ? wParam % std::size(s_block) : wParam;
        return Ask(message, length, hasBlock ? reinterpret_cast<LPARAM>(s_block) : 0);
    }

    bool SendBytes() {
        std::vector<char> bytes(m_random() % 3 == 0 ? m_random() % 0x10000 : m_random() % 600);
        std::generate(bytes.begin(), bytes.end(),
                      [this] { return static_cast<char>(m_random() % 256); });
        COPYDATASTRUCT data{Number(), static_cast<DWORD>(bytes.size()), bytes.data()};
        if (m_random() % 2 == 0) {
            // Its neighbours, and those of which only the lower half is the one that stops.
            constexpr uint64_t kCodes[] = {kCopyDataHello, kCopyDataTaskData, kCopyDataStop + 1,
                                           kCopyDataStop + 0x100000000};
            data.dwData = kCodes[m_random() % std::size(kCodes)];
        }
        if (data.dwData == kCopyDataStop) {
            return true;
        }
        return Ask(WM_COPYDATA, Number(), reinterpret_cast<LPARAM>(&data));
    }

    // Windows refuses some, before they are sent.
    bool Ask(UINT message, WPARAM wParam, LPARAM lParam) const {
        DWORD_PTR answer = 0;
        SetLastError(ERROR_SUCCESS);
        return SendMessageTimeoutW(m_window, message, wParam, lParam, SMTO_NORMAL, kAnswerMs,
                                   &answer) != 0 ||
               GetLastError() != ERROR_TIMEOUT;
    }

    const HWND m_window;
    std::mt19937 m_random;
};

}  // namespace

std::string LetAStrangerSend(unsigned seed) {
    std::wstring line = L"\"" + zorvane::ModulePath(nullptr) + L"\" stranger " +
                        std::to_wstring(GetCurrentProcessId()) + L" " + std::to_wstring(seed);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION created{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &created)) {
        return "the stranger did not start";
    }
    const zorvane::CUniqueHandle thread(created.hThread);
    const zorvane::CUniqueHandle process(created.hProcess);
    DWORD code = 0;
    if (WaitForSingleObject(process.get(), kPatienceMs) != WAIT_OBJECT_0) {
        TerminateProcess(process.get(), 1);
        return "the stranger did not end";
    }
    GetExitCodeProcess(process.get(), &code);
    switch (code) {
        case 0:
            return {};
        case kNoWindow:
            return "the stranger found no window";
        case kWindowGone:
            return "a stranger's messages have ended the window";
        case kNoAnswer:
            return "a stranger's message was not answered";
        default:
            return "the stranger ended with code " + std::to_string(code);
    }
}

int SendAsAStranger(DWORD processId, unsigned seed) {
    Search search{processId, nullptr};
    EnumWindows(&TakeHidden, reinterpret_cast<LPARAM>(&search));
    if (!search.found) {
        return kNoWindow;
    }
    CStranger stranger(search.found, seed);
    for (int message = 0; message < kMessages; ++message) {
        const bool isAnswered = stranger.SendOne();
        if (!IsWindow(search.found)) {
            return kWindowGone;
        }
        if (!isAnswered) {
            return kNoAnswer;
        }
    }
    return 0;
}
