#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <filesystem>
#include <new>

#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "src/module.h"
#include "src/process/msgloopprocess.h"
#include "src/zorvaneprocess.h"
#include "tests/support/allocationrecord.h"
#include "tests/support/baremachine.h"
#include "tests/support/fakeplatform.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/support/testlog.h"
#include "tests/unit/process/logfiles.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);
extern "C" void ZorvaneProcess(wchar_t* commandLine);

namespace {

constexpr char kLogSource[] = "tests\\dllmain_test.cpp";

const auto kModule = reinterpret_cast<HINSTANCE>(ULONG_PTR{0x180000000});

std::vector<std::string> MessagesFrom(const std::vector<std::string>& messages,
                                      const std::string& source) {
    std::vector<std::string> found;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(found),
                 [&](const std::string& message) { return message.starts_with(source); });
    return found;
}

}  // namespace

TEST(DllMain, OpensTheLogBesideTheModuleInOrder) {
    CLogFiles files;
    CTempFolder folder;
    std::filesystem::create_directory(folder.PathOf(L"Log"));
    std::vector<std::string> calls;
    PATCH_IMPORT(disable, DisableThreadLibraryCalls, [&](HMODULE module) -> BOOL {
        EXPECT_EQ(module, kModule);
        EXPECT_EQ(ModuleInstance(), nullptr) << "the handle is kept after this";
        calls.emplace_back("disable");
        return TRUE;
    });
    PATCH_IMPORT(name, GetModuleFileNameW, [&](HMODULE module, wchar_t* buffer, DWORD size) {
        EXPECT_EQ(module, kModule);
        EXPECT_EQ(ModuleInstance(), kModule);
        EXPECT_EQ(size, 260u);
        EXPECT_TRUE(std::all_of(buffer, buffer + size, [](wchar_t c) { return c == 0; }));
        const std::wstring path = folder.PathOf(L"Zorvane.dll");
        path.copy(buffer, size);
        calls.emplace_back("name");
        return static_cast<DWORD>(path.size());
    });
    PATCH_IMPORT(strip, PathRemoveFileSpecW, [&](wchar_t* path) {
        calls.emplace_back("strip");
        return strip.Original(path);
    });
    PATCH_IMPORT(append, PathAppendW, [&](wchar_t* path, const wchar_t* more) {
        EXPECT_STREQ(more, L"Log\\Qorvella_HardwareDll.log");
        calls.emplace_back("append");
        return append.Original(path, more);
    });
    EXPECT_EQ(DllMain(kModule, DLL_PROCESS_ATTACH, nullptr), TRUE);
    EXPECT_THAT(calls, ElementsAre("disable", "name", "strip", "append"));
    const std::wstring log = folder.PathOf(L"Log\\Qorvella_HardwareDll.log");
    EXPECT_THAT(ReadFileBytes(log), IsEmpty()) << "nothing is written before the first message";
    LOG_INFO(L"first");
    const std::string text = ReadFileBytes(log);
    EXPECT_THAT(text, HasSubstr("[E]-------log start\r\n"));
    EXPECT_THAT(text, HasSubstr("[E][I]["));
    ZorLog::ShutdownLogger();
}

TEST(DllMain, AnswersTrueAlsoWhenThePathIsUnknown) {
    PATCH_IMPORT(disable, DisableThreadLibraryCalls, [](HMODULE) -> BOOL { return FALSE; });
    PATCH_IMPORT(name, GetModuleFileNameW, [](auto...) -> DWORD { return 0; });
    PATCH_IMPORT(strip, PathRemoveFileSpecW, [](wchar_t*) -> BOOL { return FALSE; });
    PATCH_IMPORT(append, PathAppendW, [](auto...) -> BOOL { return FALSE; });
    EXPECT_EQ(DllMain(kModule, DLL_PROCESS_ATTACH, nullptr), TRUE);
    EXPECT_EQ(ModuleInstance(), kModule);
    ZorLog::ShutdownLogger();
}

TEST(DllMain, DoesNothingForOtherReasons) {
    int calls = 0;
    PATCH_IMPORT(disable, DisableThreadLibraryCalls, [&](HMODULE) -> BOOL { return ++calls; });
    PATCH_IMPORT(name, GetModuleFileNameW,
                 [&](auto...) -> DWORD { return static_cast<DWORD>(++calls); });
    for (const DWORD reason : {DWORD{DLL_PROCESS_DETACH}, DWORD{DLL_THREAD_ATTACH},
                               DWORD{DLL_THREAD_DETACH}, DWORD{4}}) {
        EXPECT_EQ(DllMain(kModule, reason, nullptr), TRUE) << reason;
    }
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(ModuleInstance(), nullptr);
}

TEST(Export, LeavesTheHostAndTheManagerAliveAndClosesTheLog) {
    CLogFiles files;
    CTestLog log;
    const CBareMachine machine;
    wchar_t commandLine[] = L"--entry=%s";
    CAllocationRecord allocations;
    ZorvaneProcess(commandLine);
    allocations.StopCounting();
    ASSERT_GE(allocations.Count(), 2u);
    EXPECT_GE(allocations.Size(0), sizeof(CMsgLoopProcess));
    EXPECT_FALSE(allocations.IsReleased(0)) << "the host";
    EXPECT_GE(allocations.Size(1), sizeof(CZorvaneProcess));
    EXPECT_FALSE(allocations.IsReleased(1)) << "the task manager";
    EXPECT_STREQ(commandLine, L"--entry=%s") << "only read";
    const size_t lines = log.Lines().size();
    LOG_INFO(L"after the end");
    EXPECT_EQ(log.Lines().size(), lines);
}

TEST(Export, RunsTheTaskManagerOnceAndEndsWhenItHasNoTask) {
    CLogFiles files;
    CTestLog log;
    const CBareMachine machine;
    wchar_t commandLine[] = L"--entry=e";
    ZorvaneProcess(commandLine);
    EXPECT_THAT(FakePlatform::Instance().calls, IsEmpty()) << "the temperature task is off";
    auto messages = log.Messages();
    // From the loop thread, at any place among those of the work thread.
    ASSERT_EQ(std::erase(messages, "[msgloopprocess] Send msg to stub wnd failed, msg=3343"), 1u);
    EXPECT_EQ(messages.front(), "[msgloopprocess] cmd:--entry=e");
    EXPECT_THAT(MessagesFrom(messages, "[zorvaneprocess]"),
                ElementsAre("[zorvaneprocess] CZorvaneProcess::Init",
                            "[zorvaneprocess] add NvmlInfoTask failed",
                            "[zorvaneprocess] sdk_flag is off...",
                            "[zorvaneprocess] ZorvaneProcess Uninit. size:0"));
    ASSERT_GE(messages.size(), 3u);
    EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
                ElementsAre("[msgloopprocess] WorkThreadFun process quit.",
                            "[msgloopprocess] CMsgLoopProcess OnClose.",
                            "[msgloopthread] CMsgLoopThread quit msg loop."));
    for (const std::string& line : log.Lines()) {
        EXPECT_THAT(line, Not(HasSubstr("-------log end")));
    }
}

TEST(Export, DestroysTheTaskManagerThenTheHostWithoutACommandLine) {
    CLogFiles files;
    CTestLog log;
    const CBareMachine machine;
    CAllocationRecord allocations;
    ZorvaneProcess(nullptr);
    allocations.StopCounting();
    ASSERT_GE(allocations.Count(), 2u);
    EXPECT_GE(allocations.Size(0), sizeof(CMsgLoopProcess));
    EXPECT_GE(allocations.Size(1), sizeof(CZorvaneProcess));
    EXPECT_TRUE(allocations.IsReleased(0));
    EXPECT_TRUE(allocations.IsReleased(1));
    EXPECT_LT(allocations.ReleaseOrder(1), allocations.ReleaseOrder(0));
    auto messages = log.Messages();
    ASSERT_EQ(messages.size(), 4u);
    std::sort(messages.begin(), messages.begin() + 2);
    EXPECT_THAT(messages, ElementsAre("[msgloopprocess] Send msg to stub wnd failed, msg=3343",
                                      "[msgloopprocess] WorkThreadFun process quit.",
                                      "[msgloopprocess] CMsgLoopProcess OnClose.",
                                      "[msgloopthread] CMsgLoopThread quit msg loop."))
        << "the task manager is not run";
}

TEST(Export, EndsWithTheExceptionWhenThereIsNoMemory) {
    CTestLog log;
    wchar_t commandLine[] = L"--entry=e";
    // The host, the task manager, the work function.
    for (const size_t failing : {0u, 1u, 2u}) {
        CAllocationRecord allocations({failing, true});
        EXPECT_THROW(ZorvaneProcess(commandLine), std::bad_alloc) << failing;
        allocations.StopCounting();
        for (size_t made = 0; made < failing; ++made) {
            EXPECT_TRUE(allocations.IsReleased(made)) << failing << made;
        }
    }
    EXPECT_THAT(log.Messages(), IsEmpty());
}
