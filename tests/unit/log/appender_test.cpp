#include "src/log/appender.h"

#include <gtest/gtest.h>
#include <io.h>

#include <optional>

#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/support/virtualslot.h"
#include "tests/unit/log/loglines.h"
#include "tests/unit/log/mutexholder.h"
#include "tests/unit/log/mutexwaits.h"

namespace {

using Texts = std::vector<std::string>;
using WideTexts = std::vector<std::wstring>;

constexpr wchar_t kInstalledPath[] = L"C:\\Program Files\\App\\Log\\Qorvella_HardwareDll.log";
constexpr wchar_t kInstalledMutex[] = L"CProgram FilesAppLogQorvella_HardwareDll.log";

class Appender : public testing::Test {
  protected:
    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    const std::wstring m_mutexName = LogMutexName(m_path);
    std::optional<ZorLog::LogAppender> m_appender;
};

std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t character : text) {
        narrow += static_cast<char>(character);
    }
    return narrow;
}

}  // namespace

TEST(AppenderSlots, AreAppendFlushAndReset) {
    EXPECT_EQ(VirtualSlot(&ZorLog::LogAppender::Append), 0u);
    EXPECT_EQ(VirtualSlot(&ZorLog::LogAppender::Flush), 1u);
    EXPECT_EQ(VirtualSlot(&ZorLog::LogAppender::Reset), 2u);
}

TEST_F(Appender, WhenItIsTheFirstDeletesTheFileMakesTheMutexAndTriesIt) {
    Texts calls;
    PATCH_IMPORT(open, OpenMutexW, [&](DWORD access, BOOL inherit, LPCWSTR name) -> HANDLE {
        EXPECT_EQ(access, 0x1F0001u);
        EXPECT_FALSE(inherit);
        calls.push_back("open " + Narrow(name));
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    });
    PATCH_IMPORT(remove, _wremove, [&](const wchar_t* path) {
        calls.push_back("remove " + Narrow(path));
        return -1;
    });
    HANDLE created = nullptr;
    PATCH_IMPORT(create, CreateMutexW,
                 [&](LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name) {
                     EXPECT_EQ(security, nullptr);
                     EXPECT_FALSE(owned);
                     calls.push_back("create " + Narrow(name));
                     created = create.Original(nullptr, FALSE, nullptr);
                     return created;
                 });
    const CMutexWaits waits([&](HANDLE mutex, DWORD timeoutMs) -> DWORD {
        calls.push_back((mutex == created ? "wait " : "wait for another ") +
                        std::to_string(timeoutMs));
        return WAIT_OBJECT_0;
    });
    PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
        calls.push_back(mutex == created ? "release" : "release another");
        return release.Original(mutex);
    });
    m_appender.emplace(kInstalledPath, L"E");

    const Texts expected = {"open " + Narrow(kInstalledMutex), "remove " + Narrow(kInstalledPath),
                            "create " + Narrow(kInstalledMutex), "wait 0", "release"};
    EXPECT_EQ(calls, expected);
}

TEST_F(Appender, WhenTheMutexExistsNeitherDeletesTheFileNorMakesAMutex) {
    WriteFileBytes(m_path, "older\r\n");
    const HANDLE other = CreateMutexW(nullptr, FALSE, m_mutexName.c_str());
    int removed = 0;
    PATCH_IMPORT(remove, _wremove, [&](const wchar_t*) { return ++removed; });
    int created = 0;
    PATCH_IMPORT(create, CreateMutexW, [&](auto...) -> HANDLE {
        ++created;
        return nullptr;
    });
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_EQ(removed, 0);
    EXPECT_EQ(created, 0);
    EXPECT_EQ(ReadFileBytes(m_path), "older\r\n");
    CloseHandle(other);
}

TEST_F(Appender, DeletesTheFileOfAnEarlierRunAndMakesNoFileYet) {
    WriteFileBytes(m_path, "older\r\n");
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_NE(_waccess(m_path.c_str(), 0), 0);
}

TEST_F(Appender, GivesTheMutexBackAndKeepsItInBeing) {
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_TRUE(IsMutexFree(m_mutexName));
    m_appender.reset();
    EXPECT_TRUE(IsMutexFree(m_mutexName)) << "the handle must stay open until the process ends";
}

TEST_F(Appender, TellsTheDebuggerNothingWhenAllGoesWell) {
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_EQ(messages, WideTexts());
}

TEST_F(Appender, TellsTheDebuggerThatTheMutexCannotBeMade) {
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    PATCH_IMPORT(create, CreateMutexW, [](auto...) -> HANDLE {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    const CMutexWaits waits([](HANDLE, DWORD) -> DWORD { return WAIT_OBJECT_0; });
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_EQ(messages, WideTexts({L"CreateMutex failed with 5\n"}));
}

TEST_F(Appender, TellsOnlyThatTheLockFailedWhenThereIsNoMutexAndReleasesItAllTheSame) {
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    PATCH_IMPORT(create, CreateMutexW, [](auto...) -> HANDLE { return nullptr; });
    std::vector<HANDLE> released;
    PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
        released.push_back(mutex);
        return FALSE;
    });
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_EQ(messages, WideTexts({L"Lock failed\n"}));
    EXPECT_EQ(released, std::vector<HANDLE>({nullptr}));
}

TEST_F(Appender, TellsThatTheLockFailedWhenANeighbourHoldsItAndReleasesAllTheSame) {
    CMutexHolder neighbour(m_mutexName);
    Texts calls;
    PATCH_IMPORT(debugger, OutputDebugStringW,
                 [&](LPCWSTR text) { calls.push_back(Narrow(text)); });
    PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
        calls.push_back("release");
        return release.Original(mutex);
    });
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_EQ(calls, Texts({"Lock failed\n", "release"}));
    EXPECT_FALSE(IsMutexFree(m_mutexName)) << "the neighbour's mutex was taken from it";
}

TEST_F(Appender, ReleasesAMutexThatItMeetsAbandoned) {
    CMutexHolder neighbour(m_mutexName);
    neighbour.Abandon();
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    m_appender.emplace(m_path.c_str(), L"E");
    EXPECT_EQ(messages, WideTexts({L"Lock failed\n"}));
    EXPECT_TRUE(IsMutexFree(m_mutexName));
}

TEST_F(Appender, CountsANullPathAndANullTagAsEmpty) {
    WideTexts names;
    PATCH_IMPORT(open, OpenMutexW, [&](DWORD, BOOL, LPCWSTR name) -> HANDLE {
        names.push_back(name);
        return nullptr;
    });
    PATCH_IMPORT(remove, _wremove, [&](const wchar_t* path) {
        names.push_back(path);
        return -1;
    });
    PATCH_IMPORT(create, CreateMutexW, [&](auto, auto, LPCWSTR name) {
        names.push_back(name);
        return create.Original(nullptr, FALSE, nullptr);
    });
    m_appender.emplace(nullptr, nullptr);
    EXPECT_EQ(names, WideTexts({L"", L"", L""}));
}

TEST_F(Appender, AtItsEndClosesTheFileAndDropsWhatIsQueued) {
    m_appender.emplace(m_path.c_str(), L"E");
    m_appender->Flush(L"written", false);
    m_appender->Append(L"dropped");
    Texts calls;
    PATCH_IMPORT(lock, DeleteCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.push_back("delete lock");
        lock.Original(section);
    });
    PATCH_IMPORT(close, _close, [&](int descriptor) {
        calls.push_back("close");
        return close.Original(descriptor);
    });
    m_appender.reset();
    EXPECT_EQ(calls, Texts({"delete lock", "close"}));
    EXPECT_EQ(LogTexts(m_path), Texts({"written"}));
}

TEST_F(Appender, AtItsEndClosesNothingWhenNoFileIsOpen) {
    m_appender.emplace(m_path.c_str(), L"E");
    int closed = 0;
    PATCH_IMPORT(close, _close, [&](int) { return ++closed; });
    m_appender.reset();
    EXPECT_EQ(closed, 0);
}
