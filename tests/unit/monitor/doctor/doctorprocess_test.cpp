// zorvanemon doctor as a process, and the process in which it asks NVML.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "base/modulepath.h"
#include "base/systemfolder.h"
#include "monitor/doctor/probe.h"
#include "monitor/outcome.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace zorvane {

using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

class DoctorProcessTest : public testing::Test {
  protected:
    // Everything of a worker in a folder of its own, with NVML at the fixed path.
    void SetUp() override {
        for (const wchar_t* file : {L"bin\\Zorvane.dll", L"bin\\zorvanehost.exe",
                                    L"bin\\platform-standin\\Platform.dll"}) {
            std::filesystem::copy_file(
                BuildFolder(file),
                std::filesystem::path(m_folder.Path()) / std::filesystem::path(file).filename());
        }
    }

    static std::wstring Program() { return BuildFolder(L"bin") + L"\\zorvanemon.exe"; }

    std::optional<DWORD> Run(const std::wstring& options, const std::string& scenario = "{}") {
        WriteFileBytes(m_folder.PathOf(L"scenario.json"), scenario);
        m_doctor = std::make_unique<CChildProcess>(
            Program(),
            L"doctor " + options + L" --host \"" + m_folder.PathOf(L"zorvanehost.exe") + L"\"",
            std::vector<EnvironmentChange>{
                {L"ProgramW6432", m_programFiles},
                {L"ZORVANE_SIM_SCENARIO", m_folder.PathOf(L"scenario.json")}});
        return m_doctor->Wait();
    }

    // The check of the JSON report.
    nlohmann::json CheckOf(const std::string& id) const {
        const auto report = nlohmann::json::parse(m_doctor->Output());
        for (const nlohmann::json& check : report.at("checks")) {
            if (check.at("id") == id) {
                return check;
            }
        }
        return {};
    }

    CTempFolder m_folder;
    std::wstring m_programFiles = BuildFolder(L"sim") + L"\\ProgramFiles";
    std::unique_ptr<CChildProcess> m_doctor;
};

TEST_F(DoctorProcessTest, NvmlAloneCanBeReportedWithTheStandIn) {
    EXPECT_EQ(Run(L""), kExitDone);
    EXPECT_THAT(m_doctor->Output(), StartsWith("Can be reported now:\n  NVIDIA GPUs\n"));
}

TEST_F(DoctorProcessTest, NothingCanBeReportedWithoutTheLibrary) {
    std::filesystem::remove(m_folder.PathOf(L"Zorvane.dll"));
    EXPECT_EQ(Run(L""), kExitNoReading);
    EXPECT_THAT(m_doctor->Output(), StartsWith("Nothing can be reported now.\n"));
}

TEST_F(DoctorProcessTest, OnlyTheNamedChecksCountAndAreShown) {
    EXPECT_EQ(Run(L"--json --only NVML.fixed,files.host"), kExitDone);
    EXPECT_THAT(nlohmann::json::parse(m_doctor->Output()).at("checks"), SizeIs(2));
    std::filesystem::remove(m_folder.PathOf(L"Zorvane.dll"));
    EXPECT_EQ(Run(L"--json --only files.host"), kExitDone);
    EXPECT_EQ(Run(L"--json --only files.library"), kExitNoReading);
}

TEST_F(DoctorProcessTest, UnknownCheckIsAnErrorThatNamesTheKnownOnes) {
    EXPECT_EQ(Run(L"--only nvml.fixed,nvml.sistem"), kExitUsage);
    EXPECT_THAT(m_doctor->Errors(), HasSubstr("there is no check \"nvml.sistem\"; there are "
                                              "files.host, "));
    EXPECT_THAT(m_doctor->Errors(), HasSubstr("Did you mean nvml.system?"));
    EXPECT_EQ(Run(L"--only \"\""), kExitUsage);
    EXPECT_EQ(Run(L"--only nvml.fixed,,cpu.vbs"), kExitUsage);
}

TEST_F(DoctorProcessTest, ReportIsWrittenOnceUnlessItMayBeReplaced) {
    const std::wstring report = m_folder.PathOf(L"doctor.html");
    const std::wstring option = L"--report \"" + report + L"\"";
    EXPECT_EQ(Run(option), kExitDone);
    EXPECT_THAT(ReadFileBytes(report), StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(ReadFileBytes(report), HasSubstr("Zorvane.dll"));
    WriteFileBytes(report, "mine");
    EXPECT_EQ(Run(option), kExitOutput);
    EXPECT_THAT(m_doctor->Errors(), HasSubstr("exists already"));
    EXPECT_EQ(ReadFileBytes(report), "mine");
    EXPECT_EQ(Run(option + L" --overwrite --no-mask"), kExitDone);
    EXPECT_THAT(ReadFileBytes(report), Not(HasSubstr("[computer]")));
}

TEST_F(DoctorProcessTest, ProbeGivesTheCodesOfEveryGpu) {
    EXPECT_EQ(Run(L"--probe --json", R"({"gpus": [{"name": "GeForce", "fanSpeed": 30},
                                        {"name": "A2000", "fault": {"result": 15}}]})"),
              kExitDone);
    const nlohmann::json gpus = nlohmann::json::parse(m_doctor->Output()).at("probed_gpus");
    ASSERT_THAT(gpus, SizeIs(2));
    EXPECT_EQ(gpus.at(0).at("name"), "GeForce");
    EXPECT_EQ(gpus.at(0).at("codes").at("nvmlDeviceGetFanSpeed"), 0);
    EXPECT_EQ(gpus.at(0).at("codes").at("nvmlDeviceGetTemperature"), 3);
    EXPECT_EQ(gpus.at(1).at("codes").at("nvmlDeviceGetHandleByIndex"), 15);
    EXPECT_EQ(CheckOf("nvml.probe").at("result"), "WARN");
    EXPECT_THAT(CheckOf("nvml.probe").at("seen"), HasSubstr("a GPU has fallen off the bus"));
}

TEST_F(DoctorProcessTest, CrashOfNvmlIsAnAnswer) {
    EXPECT_EQ(Run(L"--probe --json --only nvml.probe",
                  R"({"gpus": [{"name": "A"}], "results": {"nvmlDeviceGetName": "crash"}})"),
              kExitNoReading);
    EXPECT_EQ(CheckOf("nvml.probe").at("seen"),
              "NVML crashes in nvmlDeviceGetName (code 0xC0000005).");
}

TEST_F(DoctorProcessTest, HangOfNvmlIsAnAnswer) {
    EXPECT_EQ(Run(L"--probe --json --only nvml.probe", R"({"results": {"nvmlInit": "hang"}})"),
              kExitNoReading);
    EXPECT_EQ(CheckOf("nvml.probe").at("seen"), "NVML hangs in nvmlInit; its process was ended.");
}

TEST_F(DoctorProcessTest, NvmlThatIsNoLibraryIsAnAnswer) {
    m_programFiles = BuildFolder(L"sim") + L"\\variants\\not-a-library";
    EXPECT_EQ(Run(L"--probe --json --only nvml.probe"), kExitNoReading);
    EXPECT_THAT(CheckOf("nvml.probe").at("seen"), HasSubstr("Windows cannot load "));
}

TEST_F(DoctorProcessTest, ProcessThatCannotBeStartedIsAnAnswer) {
    const ProbeFacts probe = ProbeNvml(L"C:\\no such program.exe", L"C:\\Nvml.dll", kProbeLimit);
    EXPECT_EQ(probe.outcome, ProbeFacts::Outcome::kFailed);
    EXPECT_EQ(probe.error, DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(DoctorProcessTest, WindowsThatGivesNoPipeOrJobIsAnAnswer) {
    const auto probe = [] { return ProbeNvml(Program(), L"C:\\Nvml.dll", kProbeLimit); };
    {
        PATCH_IMPORT(pipe, CreatePipe, [](auto...) -> WINBOOL {
            SetLastError(ERROR_TOO_MANY_OPEN_FILES);
            return FALSE;
        });
        EXPECT_EQ(probe().outcome, ProbeFacts::Outcome::kFailed);
        EXPECT_EQ(probe().error, DWORD{ERROR_TOO_MANY_OPEN_FILES});
    }
    PATCH_IMPORT(job, CreateJobObjectW, [](auto...) -> HANDLE {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    EXPECT_EQ(probe().outcome, ProbeFacts::Outcome::kFailed);
    EXPECT_EQ(probe().error, DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(DoctorProcessTest, AProcessThatEndsWithAnErrorIsNoAnswerOfNvml) {
    const ProbeFacts probe = ProbeNvml(SystemFolder() + L"reg.exe", L"C:\\Nvml.dll", kProbeLimit);
    EXPECT_EQ(probe.outcome, ProbeFacts::Outcome::kFailed);
    EXPECT_NE(probe.error, 0u);
}

TEST_F(DoctorProcessTest, NvmlMayLackFunctions) {
    const struct {
        const wchar_t* variant;
        int exitCode;
        const char* seen;
    } rows[] = {
        {L"no-init", kExitNoReading, "lacks the functions that start NVML or count the GPUs."},
        {L"no-count", kExitNoReading, "lacks the functions that start NVML or count the GPUs."},
        {L"minimal", kExitNoReading, "lacks the function that finds a GPU."},
        {L"no-fan", kExitDone, "GPU 0, "},
        {L"old-names", kExitDone, "GPU 0, "},
    };
    for (const auto& row : rows) {
        m_programFiles = BuildFolder(L"sim") + L"\\variants\\" + row.variant;
        EXPECT_EQ(Run(L"--probe --json --only nvml.probe", R"({"gpus": [{"name": "GeForce"}]})"),
                  DWORD(row.exitCode))
            << row.seen;
        EXPECT_THAT(CheckOf("nvml.probe").at("seen"), HasSubstr(row.seen));
    }
}

TEST_F(DoctorProcessTest, NvmlMayFailToStartOrToCount) {
    EXPECT_EQ(Run(L"--probe --json --only nvml.probe", R"({"results": {"nvmlInit": 9}})"),
              kExitNoReading);
    EXPECT_EQ(CheckOf("nvml.probe").at("seen"),
              "NVML does not start: NVML code 9: NVIDIA's driver is not loaded.");
    EXPECT_EQ(
        Run(L"--probe --json --only nvml.probe", R"({"results": {"nvmlDeviceGetCount": 999}})"),
        kExitNoReading);
    EXPECT_EQ(CheckOf("nvml.probe").at("seen"),
              "NVML starts and cannot count the GPUs: NVML code 999: unknown error.");
}

TEST_F(DoctorProcessTest, WithoutNvmlThereIsNothingToAsk) {
    m_programFiles = m_folder.Path();
    EXPECT_EQ(Run(L"--probe --json --only nvml.probe"), kExitDone);
    EXPECT_EQ(CheckOf("nvml.probe").at("seen"), "There is no NVML to ask.");
}

}  // namespace
}  // namespace zorvane
