#include "src/process/window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "src/module.h"
#include "tests/support/importpatch.h"
#include "tests/unit/process/testevent.h"

using testing::Contains;

namespace {

// A window that records its messages.
class CTestedWindow : public CWindowBase {
  public:
    using CWindowBase::CreateHidden;
    using CWindowBase::Destroy;
    using CWindowBase::RethrowException;
    using CWindowBase::Window;

    BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT& result) override {
        messages.push_back(message);
        knewItsHandle = knewItsHandle && window == Window();
        return onMessage && onMessage(message, wParam, lParam, result);
    }

    void OnFinalMessage(HWND window) override {
        finalWindow = window;
        windowAtFinalMessage = Window();
        ++finalMessages;
    }

    std::function<BOOL(UINT, WPARAM, LPARAM, LRESULT&)> onMessage;
    std::vector<UINT> messages;
    bool knewItsHandle = true;
    int finalMessages = 0;
    HWND finalWindow = nullptr;
    HWND windowAtFinalMessage = nullptr;
};

// As in a library. In a program the kept handle is null, which is also what a forgotten one is.
class CAttachedModule {
  public:
    CAttachedModule() { SetModuleInstance(GetModuleHandleW(nullptr)); }
    ~CAttachedModule() { SetModuleInstance(nullptr); }
    CAttachedModule(const CAttachedModule&) = delete;
    CAttachedModule& operator=(const CAttachedModule&) = delete;
};

}  // namespace

TEST(WindowClass, IsRegisteredOnceWithItsFields) {
    const CAttachedModule module;
    std::vector<WNDCLASSEXW> registered;
    std::wstring name;
    PATCH_IMPORT(registration, RegisterClassExW, [&](const WNDCLASSEXW* description) {
        registered.push_back(*description);
        name = description->lpszClassName;
        return registration.Original(description);
    });
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    EXPECT_NE(atom, 0);
    EXPECT_EQ(windowClass.Register(), atom);
    ASSERT_EQ(registered.size(), 1u);
    const WNDCLASSEXW& fields = registered[0];
    EXPECT_EQ(fields.style, 11u) << "redrawn on both changes of size, double clicks";
    EXPECT_EQ(fields.hbrBackground, reinterpret_cast<HBRUSH>(INT_PTR{6}));
    EXPECT_EQ(fields.hCursor, LoadCursorW(nullptr, IDC_ARROW));
    EXPECT_EQ(fields.hIcon, nullptr);
    EXPECT_EQ(fields.hIconSm, nullptr);
    EXPECT_EQ(fields.lpszMenuName, nullptr);
    EXPECT_EQ(fields.cbClsExtra, 0);
    EXPECT_EQ(fields.cbWndExtra, 0);
    EXPECT_EQ(fields.hInstance, ModuleInstance());
    wchar_t expected[32] = {};
    _snwprintf(expected, 31, L"ATL:%p", static_cast<void*>(&windowClass));
    EXPECT_EQ(name, expected);
}

TEST(WindowClass, TriesAgainAfterARefusal) {
    CWindowClass windowClass;
    {
        PATCH_IMPORT(registration, RegisterClassExW, [](auto...) -> ATOM { return 0; });
        EXPECT_EQ(windowClass.Register(), 0);
    }
    EXPECT_NE(windowClass.Register(), 0);
}

TEST(WindowClass, GoesWithItsObject) {
    const CAttachedModule module;
    std::optional<std::wstring> unregistered;
    PATCH_IMPORT(unregistration, UnregisterClassW, [&](const wchar_t* name, HINSTANCE instance) {
        unregistered = std::to_wstring(reinterpret_cast<ULONG_PTR>(name));
        EXPECT_EQ(instance, ModuleInstance());
        return unregistration.Original(name, instance);
    });
    ATOM atom = 0;
    {
        CWindowClass windowClass;
        atom = windowClass.Register();
    }
    EXPECT_EQ(unregistered, std::to_wstring(atom));
}

TEST(WindowClass, UnregistersNothingWhenItWasNotRegistered) {
    int unregistrations = 0;
    PATCH_IMPORT(unregistration, UnregisterClassW, [&](auto... arguments) {
        ++unregistrations;
        return unregistration.Original(arguments...);
    });
    { const CWindowClass windowClass; }
    EXPECT_EQ(unregistrations, 0);
}

TEST(Window, IsCreatedAsAHiddenPopUpOfNoSize) {
    const CAttachedModule module;
    int calls = 0;
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    PATCH_IMPORT(creation, CreateWindowExW,
                 [&](DWORD extendedStyle, const wchar_t* name, const wchar_t* title, DWORD style,
                     int x, int y, int width, int height, HWND parent, HMENU menu,
                     HINSTANCE instance, void* extra) {
                     ++calls;
                     EXPECT_EQ(extendedStyle, 0x80u);
                     EXPECT_EQ(reinterpret_cast<ULONG_PTR>(name), ULONG_PTR{atom});
                     EXPECT_EQ(title, nullptr);
                     EXPECT_EQ(style, 0x80000000u);
                     EXPECT_EQ(x, CW_USEDEFAULT);
                     EXPECT_EQ(y, CW_USEDEFAULT);
                     EXPECT_EQ(width, CW_USEDEFAULT);
                     EXPECT_EQ(height, CW_USEDEFAULT);
                     EXPECT_EQ(parent, nullptr);
                     EXPECT_EQ(menu, nullptr);
                     EXPECT_EQ(instance, ModuleInstance());
                     EXPECT_EQ(extra, nullptr);
                     return creation.Original(extendedStyle, name, title, style, x, y, width,
                                              height, parent, menu, instance, extra);
                 });
    CTestedWindow window;
    const HWND handle = window.CreateHidden(atom);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(IsWindowVisible(handle));
    const LONG_PTR style = GetWindowLongPtrW(handle, GWL_STYLE);
    EXPECT_EQ(style & (WS_POPUP | WS_CHILD | WS_VISIBLE), LONG_PTR{WS_POPUP} & 0xFFFFFFFF);
    EXPECT_EQ(GetWindowLongPtrW(handle, GWL_EXSTYLE) & WS_EX_TOOLWINDOW, WS_EX_TOOLWINDOW);
    DestroyWindow(handle);
}

TEST(Window, KnowsItsHandleFromItsFirstMessageToItsLast) {
    CWindowClass windowClass;
    CTestedWindow window;
    EXPECT_EQ(window.Window(), nullptr);
    const HWND handle = window.CreateHidden(windowClass.Register());
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(window.Window(), handle);
    EXPECT_THAT(window.messages, Contains(UINT{WM_NCCREATE}));
    EXPECT_THAT(window.messages, Contains(UINT{WM_CREATE}));
    EXPECT_EQ(window.finalMessages, 0);
    window.Destroy();
    EXPECT_TRUE(window.knewItsHandle);
    EXPECT_EQ(window.messages.back(), UINT{WM_NCDESTROY});
    EXPECT_EQ(window.Window(), nullptr);
    EXPECT_EQ(window.finalMessages, 1);
    EXPECT_EQ(window.finalWindow, handle);
    EXPECT_EQ(window.windowAtFinalMessage, nullptr) << "forgotten before the final call";
}

TEST(Window, AnswersWithTheMessageMapOrElseWithTheDefault) {
    CWindowClass windowClass;
    CTestedWindow window;
    ASSERT_NE(window.CreateHidden(windowClass.Register()), nullptr);
    std::vector<UINT> defaults;
    PATCH_IMPORT(fallback, DefWindowProcW, [&](HWND handle, UINT message, WPARAM w, LPARAM l) {
        defaults.push_back(message);
        return message == WM_APP + 1 ? 77 : fallback.Original(handle, message, w, l);
    });
    window.onMessage = [](UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) -> BOOL {
        result = static_cast<LRESULT>(wParam) * 100 + lParam;
        return message == WM_APP;
    };
    EXPECT_EQ(SendMessageW(window.Window(), WM_APP, 3, 4), 304);
    EXPECT_TRUE(defaults.empty());
    EXPECT_EQ(SendMessageW(window.Window(), WM_APP + 1, 3, 4), 77);
    EXPECT_EQ(defaults, std::vector<UINT>{WM_APP + 1});
    window.onMessage = nullptr;
    window.Destroy();
}

TEST(Window, MayCreateAnotherWhileItIsCreated) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    CTestedWindow outer;
    CTestedWindow inner;
    outer.onMessage = [&](UINT message, WPARAM, LPARAM, LRESULT&) -> BOOL {
        if (message == WM_CREATE) {
            inner.CreateHidden(atom);
        }
        return FALSE;
    };
    ASSERT_NE(outer.CreateHidden(atom), nullptr);
    ASSERT_NE(inner.Window(), nullptr);
    EXPECT_NE(inner.Window(), outer.Window());
    EXPECT_TRUE(inner.knewItsHandle && outer.knewItsHandle);
    inner.Destroy();
    outer.Destroy();
}

TEST(Window, LeavesNoTraceOfAFailedCreationAndKeepsItsError) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    CTestedWindow failed;
    {
        PATCH_IMPORT(creation, CreateWindowExW, [](auto...) -> HWND {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        });
        EXPECT_EQ(failed.CreateHidden(atom), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    }
    EXPECT_EQ(failed.Window(), nullptr);
    // A window of this class that was created without an object.
    const HWND plain = CreateWindowExW(0, MAKEINTATOM(atom), nullptr, WS_POPUP, 0, 0, 0, 0, nullptr,
                                       nullptr, ModuleInstance(), nullptr);
    EXPECT_NE(plain, nullptr);
    EXPECT_TRUE(failed.messages.empty());
    DestroyWindow(plain);
}

TEST(Window, GoesOnWithoutItsObject) {
    CWindowClass windowClass;
    std::optional<CTestedWindow> window(std::in_place);
    const HWND handle = window->CreateHidden(windowClass.Register());
    window.reset();
    // Whoever still believed in the first object would meet this one, which has taken its place.
    window.emplace();
    EXPECT_TRUE(IsWindow(handle));
    EXPECT_EQ(SendMessageW(handle, WM_APP, 0, 0), 0);
    DestroyWindow(handle);
    EXPECT_FALSE(IsWindow(handle));
    EXPECT_TRUE(window->messages.empty());
    EXPECT_EQ(window->finalMessages, 0);
}

TEST(Window, BelongsToItsOwnObjectWhenTwoThreadsCreateAtOnce) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    std::atomic<int> creating{0};
    CTestEvent bothCreate;
    // Both have named their objects before either window gets its first message.
    PATCH_IMPORT(creation, CreateWindowExW, [&](auto... arguments) {
        if (++creating == 2) {
            bothCreate.Set();
        }
        EXPECT_TRUE(bothCreate.Wait());
        return creation.Original(arguments...);
    });
    const auto create = [atom] {
        CTestedWindow window;
        const HWND handle = window.CreateHidden(atom);
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(window.Window(), handle);
        EXPECT_EQ(GetWindowThreadProcessId(handle, nullptr), GetCurrentThreadId());
        window.Destroy();
        EXPECT_EQ(window.finalMessages, 1);
    };
    std::thread other(create);
    create();
    other.join();
    EXPECT_EQ(creating, 2);
}

TEST(Window, DoesNotBelieveStrangersThatItIsCreatedOrDestroyed) {
    CWindowClass windowClass;
    CTestedWindow window;
    const HWND handle = window.CreateHidden(windowClass.Register());
    ASSERT_NE(handle, nullptr);
    window.messages.clear();
    int defaults = 0;
    {
        PATCH_IMPORT(fallback, DefWindowProcW, [&](auto...) -> LRESULT { return ++defaults; });
        for (const UINT message :
             std::array<UINT, 4>{WM_NCCREATE, WM_CREATE, WM_DESTROY, WM_NCDESTROY}) {
            EXPECT_EQ(SendMessageW(handle, message, 0, 0), 0) << message;
        }
    }
    EXPECT_TRUE(window.messages.empty());
    EXPECT_EQ(defaults, 0);
    EXPECT_EQ(window.Window(), handle);
    EXPECT_EQ(window.finalMessages, 0);
    SendMessageW(handle, WM_APP, 0, 0);
    EXPECT_EQ(window.messages, std::vector<UINT>{WM_APP}) << "it still reaches its object";
    window.Destroy();
    EXPECT_FALSE(IsWindow(handle));
    EXPECT_EQ(window.finalMessages, 1);
}

TEST(Window, IsCreatedOnceHoweverOftenItIsToldSoMeanwhile) {
    CWindowClass windowClass;
    CTestedWindow window;
    int creations = 0;
    window.onMessage = [&](UINT message, WPARAM, LPARAM, LRESULT&) -> BOOL {
        if (message == WM_CREATE && ++creations == 1) {
            SendMessageW(window.Window(), WM_CREATE, 0, 0);
        }
        return FALSE;
    };
    ASSERT_NE(window.CreateHidden(windowClass.Register()), nullptr);
    EXPECT_EQ(creations, 1);
    window.Destroy();
}

TEST(Window, CanBeCreatedAgainAfterItsEndAndAfterAFailure) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    CTestedWindow window;
    for (const LRESULT answer : {0, -1, 0}) {
        window.onMessage = [&](UINT message, WPARAM, LPARAM, LRESULT& result) -> BOOL {
            result = answer;
            return message == WM_CREATE;
        };
        window.finalMessages = 0;
        const HWND handle = window.CreateHidden(atom);
        EXPECT_EQ(handle != nullptr, answer == 0);
        EXPECT_EQ(window.Window(), handle);
        window.Destroy();
        EXPECT_EQ(window.Window(), nullptr);
        EXPECT_EQ(window.finalMessages, 1) << "told once that it is gone, by whatever end";
    }
}

TEST(Window, EndsAsItBeganWhenItsObjectRefusesItsFirstMessage) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    CTestedWindow window;
    window.onMessage = [](UINT message, WPARAM, LPARAM, LRESULT&) -> BOOL {
        return message == WM_NCCREATE;  // with the answer 0
    };
    EXPECT_EQ(window.CreateHidden(atom), nullptr);
    EXPECT_EQ(window.Window(), nullptr);
    EXPECT_EQ(window.finalMessages, 1);
    window.onMessage = nullptr;
    EXPECT_NE(window.CreateHidden(atom), nullptr);
    window.Destroy();
}

TEST(WindowException, IsKeptAndTheWindowToldToClose) {
    CWindowClass windowClass;
    CTestedWindow window;
    const HWND handle = window.CreateHidden(windowClass.Register());
    ASSERT_NE(handle, nullptr);
    window.RethrowException();
    window.onMessage = [&](UINT message, WPARAM wParam, LPARAM, LRESULT&) -> BOOL {
        if (message == WM_APP) {
            throw static_cast<int>(wParam);
        }
        return FALSE;
    };
    EXPECT_EQ(SendMessageW(handle, WM_APP, 7, 0), 0);
    EXPECT_EQ(SendMessageW(handle, WM_APP, 8, 0), 0);
    MSG close{};
    EXPECT_TRUE(PeekMessageW(&close, handle, 0, 0, PM_REMOVE));
    EXPECT_EQ(close.message, UINT{WM_CLOSE});
    int caught = 0;
    try {
        window.RethrowException();
    } catch (int number) {
        caught = number;
    }
    EXPECT_EQ(caught, 7) << "the first one";
    EXPECT_FALSE(IsWindow(handle));
    EXPECT_EQ(window.finalMessages, 1);
    EXPECT_NO_THROW(window.RethrowException());
    while (PeekMessageW(&close, nullptr, 0, 0, PM_REMOVE)) {
        EXPECT_NE(close.message, UINT{WM_QUIT});
    }
}

TEST(WindowException, FailsTheCreationThatItHappensIn) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    for (const UINT failing : std::array<UINT, 2>{WM_NCCREATE, WM_CREATE}) {
        CTestedWindow window;
        window.onMessage = [&](UINT message, WPARAM, LPARAM, LRESULT&) -> BOOL {
            if (message == failing) {
                throw std::bad_alloc();
            }
            return FALSE;
        };
        EXPECT_EQ(window.CreateHidden(atom), nullptr) << failing;
        EXPECT_EQ(window.Window(), nullptr) << failing;
        EXPECT_THROW(window.RethrowException(), std::bad_alloc) << failing;
        MSG quit{};
        EXPECT_FALSE(PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE))
            << "no loop is there to be ended";
    }
}

TEST(WindowException, EndsTheLoopWhenTheWindowCannotBeToldToClose) {
    CWindowClass windowClass;
    const ATOM atom = windowClass.Register();
    for (const UINT failing : std::array<UINT, 2>{WM_CLOSE, WM_APP}) {
        CTestedWindow window;
        window.CreateHidden(atom);
        window.onMessage = [&](UINT message, WPARAM, LPARAM, LRESULT&) -> BOOL {
            if (message == failing) {
                throw std::bad_alloc();
            }
            return FALSE;
        };
        {
            PATCH_IMPORT(post, PostMessageW, [](auto...) -> BOOL { return FALSE; });
            EXPECT_EQ(SendMessageW(window.Window(), failing, 0, 0), 0);
        }
        MSG quit{};
        EXPECT_TRUE(PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) << failing;
        EXPECT_THROW(window.RethrowException(), std::bad_alloc) << failing;
    }
}

TEST(Window, UsesTheProcedureThatItsObjectNames) {
    class CWindowWithProcedure final : public CTestedWindow {
      public:
        WNDPROC GetWindowProc() override {
            return [](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                return message == WM_APP ? 55 : DefWindowProcW(window, message, wParam, lParam);
            };
        }
    };
    CWindowClass windowClass;
    CWindowWithProcedure window;
    const HWND handle = window.CreateHidden(windowClass.Register());
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(SendMessageW(handle, WM_APP, 0, 0), 55);
    EXPECT_TRUE(window.messages.empty());
    DestroyWindow(handle);
}

TEST(Window, IsNotCreatedWhenItCannotBeToldOfItsObject) {
    for (const int failing : {1, 2}) {
        SCOPED_TRACE(failing);
        CWindowClass windowClass;
        CTestedWindow window;
        HWND made = nullptr;
        int calls = 0;
        PATCH_IMPORT(creation, CreateWindowExW, [&](auto... arguments) {
            made = creation.Original(arguments...);
            return made;
        });
        PATCH_IMPORT(tell, SetWindowLongPtrW, [&](auto... arguments) -> LONG_PTR {
            return ++calls == failing ? 0 : tell.Original(arguments...);
        });
        const ATOM atom = windowClass.Register();
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(window.CreateHidden(atom), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
        EXPECT_NE(made, nullptr);
        EXPECT_FALSE(IsWindow(made));
        EXPECT_EQ(window.Window(), nullptr);
    }
}

TEST(HandledScope, GivesTheMarkItsOldValueBack) {
    for (const BOOL before : {FALSE, TRUE}) {
        SCOPED_TRACE(before);
        BOOL handled = before;
        {
            const CHandledScope scope(handled);
            EXPECT_TRUE(handled);
            handled = !before;
        }
        EXPECT_EQ(handled, before);
    }
}
