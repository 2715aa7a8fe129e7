// What zorvanemon service says and answers, with a service manager that the test plays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "monitor/outcome.h"
#include "tests/support/fakeservices.h"
#include "tests/support/importpatch.h"
#include "tests/unit/monitor/commands/runcommand.h"

namespace zorvane {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Words = std::vector<std::string>;

SERVICE_STATUS_PROCESS Status(DWORD state, DWORD exitCode = 0, DWORD ownExitCode = 0) {
    SERVICE_STATUS_PROCESS status{};
    status.dwCurrentState = state;
    status.dwWin32ExitCode = exitCode;
    status.dwServiceSpecificExitCode = ownExitCode;
    status.dwProcessId = state == SERVICE_RUNNING ? 4711 : 0;
    return status;
}

class ServiceCommandTest : public testing::Test {
  protected:
    static inline const Words kInstall = {"service", "install", "watch",      "--format",
                                          "csv",     "--out",   "C:\\gpu.csv"};
    static inline const Words kStart = {"service",  "install", "--start", "watch",
                                        "--format", "csv",     "--out",   "C:\\gpu.csv"};
    static inline const Words kRemove = {"service", "remove"};
    static inline const Words kStatus = {"service", "status"};

    BOOL Succeeds(const char* function) {
        const auto failing = m_failing.find(function);
        if (failing == m_failing.end()) {
            return TRUE;
        }
        SetLastError(failing->second);
        return FALSE;
    }

    LSTATUS Code(const char* function) {
        return Succeeds(function) ? ERROR_SUCCESS : static_cast<LSTATUS>(GetLastError());
    }

    // The calls that fail, with their errors; those of CFakeServices have them in a queue of its.
    std::map<std::string, DWORD> m_failing;
    SERVICE_STATUS_PROCESS m_status = Status(SERVICE_RUNNING);
    int m_sleeps = 0;
    std::vector<std::string> m_calls;
    CFakeServices m_services{m_calls};
    PATCH_IMPORT(m_change, ChangeServiceConfigW,
                 [this](auto...) -> WINBOOL { return Succeeds("ChangeServiceConfigW"); });
    PATCH_IMPORT(m_changeDetail, ChangeServiceConfig2W,
                 [this](SC_HANDLE, DWORD level, LPVOID) -> WINBOOL {
                     return Succeeds(("detail " + std::to_string(level)).c_str());
                 });
    PATCH_IMPORT(m_queryStatus, QueryServiceStatusEx,
                 [this](SC_HANDLE, SC_STATUS_TYPE, LPBYTE buffer, DWORD, LPDWORD) -> WINBOOL {
                     *reinterpret_cast<SERVICE_STATUS_PROCESS*>(buffer) = m_status;
                     return Succeeds("QueryServiceStatusEx");
                 });
    PATCH_IMPORT(m_queryConfig, QueryServiceConfigW,
                 [this](SC_HANDLE, LPQUERY_SERVICE_CONFIGW config, DWORD, LPDWORD size) -> WINBOOL {
                     *size = sizeof *config;
                     if (config) {
                         *config = {};
                         config->lpBinaryPathName = m_commandLine;
                         config->lpServiceStartName = m_account;
                     }
                     return Succeeds("QueryServiceConfigW");
                 });
    PATCH_IMPORT(m_setKey, RegSetKeyValueW,
                 [this](HKEY, LPCWSTR, LPCWSTR name, auto...) -> LSTATUS {
                     return Code(ToUtf8(name).c_str());
                 });
    PATCH_IMPORT(m_deleteKey, RegDeleteKeyW,
                 [this](HKEY, LPCWSTR) -> LSTATUS { return Code("RegDeleteKeyW"); });
    PATCH_IMPORT(m_sleep, Sleep, [this](DWORD) { ++m_sleeps; });
    wchar_t m_words[32] = L"zorvanemon.exe service run";
    wchar_t m_user[32] = L"LocalSystem";
    LPWSTR m_commandLine = m_words;
    LPWSTR m_account = m_user;
};

TEST_F(ServiceCommandTest, SaysWhatItMadeAndThatItRuns) {
    const auto result =
        RunCommand({"service", "install", "--name", "gpus", "--account", "localservice", "--start",
                    "watch", "--format", "csv", "--out", "C:\\gpu.csv", "--", "skip_delete"});
    EXPECT_EQ(result.exitCode, kExitDone) << result.errors;
    EXPECT_EQ(result.output,
              "The service \"gpus\" was made; it runs as LocalService and starts with Windows.\n"
              "It runs.\n");
    EXPECT_THAT(m_calls,
                Contains(AllOf(StartsWith("CreateServiceW"), HasSubstr("\"NT AUTHORITY\\Local"),
                               HasSubstr("service run --name gpus watch "),
                               HasSubstr("--out C:\\gpu.csv -- skip_delete\","))));
}

TEST_F(ServiceCommandTest, ChangesTheServiceOfThatNameAndLeavesItAsItRuns) {
    m_services.errors["CreateServiceW"] = {ERROR_SERVICE_EXISTS};
    const auto result = RunCommand(kInstall);
    EXPECT_EQ(result.exitCode, kExitDone) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("The service \"zorvanemon\" was changed; "));
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("StartServiceW"))));
}

struct FailingCall {
    const char* description;
    Words words;
    // What fails, and what CreateServiceW answers before that.
    const char* call;
    DWORD createError;
    const char* sentence;
};

TEST_F(ServiceCommandTest, NamesTheCallThatFails) {
    const FailingCall rows[] = {
        {"install", kInstall, "OpenSCManagerW", 0, "OpenSCManagerW"},
        {"install", kInstall, "CreateServiceW", 0, "CreateServiceW"},
        {"a service that is there", kInstall, "OpenServiceW", ERROR_SERVICE_EXISTS, "OpenServiceW"},
        {"a service that is there", kInstall, "ChangeServiceConfigW", ERROR_SERVICE_EXISTS,
         "ChangeServiceConfigW"},
        {"description", kInstall, "detail 1", 0, "ChangeServiceConfig2W"},
        {"recovery", kInstall, "detail 2", 0, "ChangeServiceConfig2W"},
        {"source of events", kInstall, "EventMessageFile", 0, "RegSetKeyValueW"},
        {"kinds of events", kInstall, "TypesSupported", 0, "RegSetKeyValueW"},
        {"start", kStart, "StartServiceW", 0, "StartServiceW"},
        {"start", kStart, "OpenServiceW", 0, "OpenServiceW"},
        {"remove", kRemove, "OpenSCManagerW", 0, "OpenSCManagerW"},
        {"remove", kRemove, "OpenServiceW", 0, "OpenServiceW"},
        {"remove", kRemove, "ControlService", 0, "ControlService"},
        {"remove", kRemove, "DeleteService", 0, "DeleteService"},
        {"remove", kRemove, "RegDeleteKeyW", 0, "RegDeleteKeyW"},
        {"status", kStatus, "OpenSCManagerW", 0, "OpenSCManagerW"},
        {"status", kStatus, "OpenServiceW", 0, "OpenServiceW"},
        {"status", kStatus, "QueryServiceStatusEx", 0, "QueryServiceStatusEx"},
        {"status", kStatus, "QueryServiceConfigW", 0, "QueryServiceConfigW"},
    };
    for (const FailingCall& row : rows) {
        SCOPED_TRACE(std::string(row.description) + ": " + row.call);
        m_services.state = row.words == kRemove ? SERVICE_STOPPED : SERVICE_RUNNING;
        m_services.errors = {{row.call, {ERROR_DATABASE_DOES_NOT_EXIST}}};
        m_failing = {{row.call, ERROR_DATABASE_DOES_NOT_EXIST}};
        if (row.createError) {
            m_services.errors["CreateServiceW"] = {row.createError};
        }
        const auto result = RunCommand(row.words);
        EXPECT_EQ(result.exitCode, kExitService);
        EXPECT_THAT(result.errors,
                    StartsWith(std::string("zorvanemon: service: ") + row.sentence + ": "));
        EXPECT_THAT(result.errors, EndsWith(" (1065)\n"));
    }
}

TEST_F(ServiceCommandTest, NamesTheManagerThatCannotBeOpenedForTheStart) {
    m_services.errors["OpenSCManagerW"] = {0, ERROR_DATABASE_DOES_NOT_EXIST};
    const auto result = RunCommand(kStart);
    EXPECT_EQ(result.exitCode, kExitService);
    EXPECT_THAT(result.errors, StartsWith("zorvanemon: service: OpenSCManagerW: "));
}

TEST_F(ServiceCommandTest, SaysThatItNeedsAdministratorRights) {
    for (const Words& words : {kInstall, kRemove}) {
        m_services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED};
        const auto result = RunCommand(words);
        EXPECT_EQ(result.exitCode, kExitService);
        EXPECT_THAT(result.errors, StartsWith("zorvanemon: service: this needs administrator "
                                              "rights: OpenSCManagerW: "));
        EXPECT_EQ(result.output, "");
    }
}

TEST_F(ServiceCommandTest, TakesAServiceThatRunsAlreadyForStarted) {
    m_services.errors["StartServiceW"] = {ERROR_SERVICE_ALREADY_RUNNING};
    const auto result = RunCommand(kStart);
    EXPECT_EQ(result.exitCode, kExitDone) << result.errors;
    EXPECT_THAT(result.output, EndsWith("It runs.\n"));
}

TEST_F(ServiceCommandTest, WaitsWhileTheServiceStarts) {
    m_services.state = SERVICE_START_PENDING;
    PATCH_IMPORT(sleep, Sleep, [this](DWORD) { m_services.state = SERVICE_RUNNING; });
    EXPECT_EQ(RunCommand(kStart).exitCode, kExitDone);
}

TEST_F(ServiceCommandTest, SaysThatAServiceDidNotComeUp) {
    for (const DWORD state : {DWORD{SERVICE_START_PENDING}, DWORD{SERVICE_STOPPED}}) {
        m_services.state = state;
        const auto result = RunCommand(kStart);
        EXPECT_EQ(result.exitCode, kExitService);
        EXPECT_THAT(result.errors, StartsWith("zorvanemon: service: starting the service: "));
        EXPECT_THAT(result.output, Not(HasSubstr("It runs.")));
    }
    EXPECT_GT(m_sleeps, 1) << "has waited for the one that was starting";
}

TEST_F(ServiceCommandTest, LeavesAServiceThatDoesNotEndInTheList) {
    m_services.state = SERVICE_STOP_PENDING;
    const auto result = RunCommand(kRemove);
    EXPECT_EQ(result.exitCode, kExitService);
    EXPECT_THAT(result.errors, StartsWith("zorvanemon: service: stopping the service: "));
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService"))));
}

TEST_F(ServiceCommandTest, NamesTheQuestionThatFailsWhileItWaits) {
    m_services.errors["QueryServiceStatus"] = {ERROR_DATABASE_DOES_NOT_EXIST,
                                               ERROR_DATABASE_DOES_NOT_EXIST};
    for (const Words& words : {kStart, kRemove}) {
        const auto result = RunCommand(words);
        EXPECT_EQ(result.exitCode, kExitService);
        EXPECT_THAT(result.errors, StartsWith("zorvanemon: service: QueryServiceStatus: "));
    }
}

TEST_F(ServiceCommandTest, RemovesAServiceThatDoesNotRun) {
    m_services.errors["ControlService"] = {ERROR_SERVICE_NOT_ACTIVE};
    const auto result = RunCommand(kRemove);
    EXPECT_EQ(result.exitCode, kExitDone) << result.errors;
    EXPECT_EQ(result.output, "The service \"zorvanemon\" was stopped and removed.\n");
}

TEST_F(ServiceCommandTest, HasNothingToRemoveOrToTellWithoutAService) {
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST,
                                         ERROR_SERVICE_DOES_NOT_EXIST};
    m_failing["RegDeleteKeyW"] = ERROR_FILE_NOT_FOUND;
    const auto removed = RunCommand(kRemove);
    EXPECT_EQ(removed.exitCode, kExitDone) << removed.errors;
    EXPECT_EQ(removed.output, "There is no service \"zorvanemon\".\n");
    const auto status = RunCommand(kStatus);
    EXPECT_EQ(status.exitCode, kExitService);
    EXPECT_EQ(status.output, "There is no service \"zorvanemon\".\n");
}

TEST_F(ServiceCommandTest, TellsHowAServiceStandsAndHowItEnded) {
    const struct {
        SERVICE_STATUS_PROCESS status;
        const char* words;
        int exitCode;
    } rows[] = {
        {Status(SERVICE_RUNNING), "running (process 4711)", kExitDone},
        {Status(SERVICE_STOPPED, ERROR_SERVICE_NEVER_STARTED),
         "stopped (it has not run since Windows was started)", kExitService},
        {Status(SERVICE_STOPPED, ERROR_SERVICE_SPECIFIC_ERROR, 4),
         "stopped (it ended with exit code 4)", kExitService},
        {Status(SERVICE_STOPPED), "stopped (it ended in order)", kExitService},
        {Status(SERVICE_STOPPED, ERROR_PROCESS_ABORTED), "stopped (it ended: ", kExitService},
        {Status(SERVICE_START_PENDING), "starting (", kExitService},
        {Status(SERVICE_STOP_PENDING), "stopping (", kExitService},
        {Status(SERVICE_PAUSED), "paused (", kExitService},
    };
    for (const auto& row : rows) {
        m_status = row.status;
        const auto result = RunCommand(kStatus);
        EXPECT_EQ(result.exitCode, row.exitCode) << row.words;
        EXPECT_THAT(result.output,
                    StartsWith(std::string("The service \"zorvanemon\" is ") + row.words));
        EXPECT_THAT(result.output, EndsWith(".\n  account  LocalSystem\n"
                                            "  runs     zorvanemon.exe service run\n"));
    }
}

TEST_F(ServiceCommandTest, TellsTheStateOfAServiceWithoutAccountOrCommandLine) {
    m_commandLine = nullptr;
    m_account = nullptr;
    const auto result = RunCommand(kStatus);
    EXPECT_EQ(result.exitCode, kExitDone) << result.errors;
    EXPECT_THAT(result.output, EndsWith("  account  \n  runs     \n"));
}

TEST_F(ServiceCommandTest, SaysThatItsAnswerIsLost) {
    for (const Words& words : {kInstall, kStart, kStatus}) {
        const auto result = RunCommand(words, kUnwritable);
        EXPECT_EQ(result.exitCode, kExitOutput);
        EXPECT_THAT(result.errors, StartsWith("zorvanemon: WriteFile: "));
    }
    EXPECT_THAT(m_calls, Contains(StartsWith("StartServiceW"))) << "the service matters more";
}

TEST_F(ServiceCommandTest, RefusesNamesAndAccountsThatWindowsDoesNotTake) {
    const struct {
        Words words;
        const char* sentence;
    } rows[] = {
        {{"--name", "a/b"}, "--name takes a name without slashes, not \"a/b\""},
        {{"--name", "a\\b"}, "--name takes a name without slashes, not \"a\\b\""},
        {{"--name", ""}, "--name takes a name without slashes, not \"\""},
        {{"--name", std::string(257, 'n')}, "--name takes a name without slashes, not \"nnn"},
        {{"--account", "Bob"},
         "--account takes LocalSystem, LocalService or NetworkService, not \"Bob\""},
    };
    for (const auto& row : rows) {
        Words words = {"service", "install"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        words.insert(words.end(), kInstall.begin() + 2, kInstall.end());
        const auto result = RunCommand(words);
        EXPECT_EQ(result.exitCode, kExitUsage) << row.sentence;
        EXPECT_THAT(result.errors, HasSubstr(row.sentence));
    }
    EXPECT_THAT(m_calls, testing::IsEmpty());
    EXPECT_EQ(RunCommand({"service", "status", "--name", std::string(256, 'n')}).exitCode,
              kExitDone);
}

TEST_F(ServiceCommandTest, RunsOnlyAsAService) {
    PATCH_IMPORT(dispatch, StartServiceCtrlDispatcherW, [](const SERVICE_TABLE_ENTRYW*) -> WINBOOL {
        SetLastError(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
        return FALSE;
    });
    Words words = kInstall;
    words[1] = "run";
    const auto result = RunCommand(words);
    EXPECT_EQ(result.exitCode, kExitService);
    EXPECT_THAT(result.errors, StartsWith("zorvanemon: service: StartServiceCtrlDispatcherW: "));
    EXPECT_EQ(RunCommand({"service", "run", "watch", "--fromat", "csv"}).exitCode, kExitUsage);
}

}  // namespace
}  // namespace zorvane
