// Whole machines, each with the one right answer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <map>

#include "monitor/doctor/verdict.h"
#include "tests/unit/monitor/doctor/machines.h"

namespace zorvane {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Ids = std::vector<std::string>;

namespace {

struct Situation {
    const char* name;
    std::function<void(MachineFacts&)> change;
    /** The checks that then fail, and those that warn, in their order. */
    Ids fails;
    Ids warns;
    Reporting gpu;
    Reporting cpu;
    /** Part of what is seen by the first check that is named, or by the last run. */
    const char* seen;
    /** Part of what it tells to do; empty: nothing. */
    const char* remedy;
};

[[maybe_unused]] void PrintTo(const Situation& situation, std::ostream* out) {
    *out << situation.name;
}

void RemoveNvidia(MachineFacts& facts) {
    facts.gpu.adapters = {{"Intel UHD Graphics 770", false, "igfx", 0}};
    facts.gpu.fixedNvml.exists = facts.gpu.fixedNvml.isImage = false;
    facts.gpu.systemNvml.exists = facts.gpu.systemNvml.isImage = false;
}

void RemoveFixedNvml(MachineFacts& facts) {
    facts.gpu.fixedNvml.exists = facts.gpu.fixedNvml.isImage = false;
}

void TakeRights(MachineFacts& facts) {
    facts.rights.administrator = facts.rights.elevated = false;
    facts.rights.integrity = SECURITY_MANDATORY_MEDIUM_RID;
}

void MakeIntel(MachineFacts& facts) {
    facts.cpu.processor = {"GenuineIntel", "Intel(R) Core(TM) i7-12700", 0, 0x90672,
                           ProcessorSupport::kNo};
}

void SwitchOff(MachineFacts& facts) {
    facts.amdSwitch.on = false;
    facts.amdSwitch.written = facts.now;
    facts.log.switchReason =
        SwitchReason{"11-21 19:48:39", Meaning("amd.not_admin", "It had no rights.")};
}

void Install(MachineFacts& facts, uint32_t state) {
    facts.driver.service.installed = true;
    facts.driver.service.state = state;
}

constexpr Reporting kNow = Reporting::kNow;
constexpr Reporting kAfterSteps = Reporting::kAfterSteps;
constexpr Reporting kNever = Reporting::kNever;

const Situation kSituations[] = {
    {"Healthy", [](MachineFacts&) {}, {}, {}, kNow, kNow, "", ""},
    {"NvmlInTheSystemFolderOnly", &RemoveFixedNvml, {}, {}, kNow, kNow, "", ""},
    {"NvmlInTheSystemFolderOnlyAndAnotherHost",
     [](MachineFacts& facts) {
         RemoveFixedNvml(facts);
         facts.gpu.hostLends = false;
     },
     {"nvml.fixed"},
     {},
     kAfterSteps,
     kNow,
     "does not lend",
     "copy nvml.dll"},
    {"NoNvml",
     [](MachineFacts& facts) {
         RemoveFixedNvml(facts);
         facts.gpu.systemNvml.exists = facts.gpu.systemNvml.isImage = false;
     },
     {"nvml.fixed"},
     {"nvml.system"},
     kAfterSteps,
     kNow,
     "NVSMI\\Nvml.dll",
     "Install NVIDIA's"},
    {"DamagedNvml",
     [](MachineFacts& facts) { facts.gpu.fixedNvml.isImage = false; },
     {"nvml.fixed"},
     {},
     kAfterSteps,
     kNow,
     "not a 64-bit library",
     "again"},
    {"OldCopyOfNvml",
     [](MachineFacts& facts) { facts.gpu.fixedNvml.version = "8.17.14.0"; },
     {},
     {"nvml.fixed"},
     kNow,
     kNow,
     "older driver",
     "renew it"},
    {"NoNvidiaCard", &RemoveNvidia, {"gpu.adapters"}, {}, kNever, kNow, "only: Intel UHD", ""},
    {"CardWithoutDriver",
     [](MachineFacts& facts) { facts.gpu.adapters->front().service = "BasicDisplay"; },
     {"gpu.adapters"},
     {},
     kAfterSteps,
     kNow,
     "without NVIDIA's driver",
     "Install NVIDIA's"},
    {"CardWithAProblem",
     [](MachineFacts& facts) { facts.gpu.adapters->front().problem = 43; },
     {"gpu.adapters"},
     {},
     kAfterSteps,
     kNow,
     "code 43",
     "again"},
    {"CardSwitchedOff",
     [](MachineFacts& facts) { facts.gpu.adapters->front().problem = 22; },
     {"gpu.adapters"},
     {},
     kAfterSteps,
     kNow,
     "code 22",
     "Enable the card"},
    {"OneCardOfTwoBroken",
     [](MachineFacts& facts) {
         facts.gpu.adapters->push_back({"NVIDIA RTX A2000", true, "nvlddmkm", 43});
     },
     {},
     {"gpu.adapters"},
     kNow,
     kNow,
     "A2000 (does not work",
     "again"},
    {"NotAdministrator",
     &TakeRights,
     {"cpu.rights"},
     {},
     kNow,
     kAfterSteps,
     "integrity is medium",
     "as administrator"},
    {"SwitchedOff",
     &SwitchOff,
     {"run.switch"},
     {},
     kNow,
     kAfterSteps,
     "It had no rights.",
     "zorvanemon reset"},
    {"NotAdministratorAndSwitchedOff",
     [](MachineFacts& facts) {
         TakeRights(facts);
         SwitchOff(facts);
     },
     {"cpu.rights", "run.switch"},
     {},
     kNow,
     kAfterSteps,
     "no administrator rights",
     "as administrator"},
    {"IntelProcessor",
     [](MachineFacts& facts) {
         MakeIntel(facts);
         TakeRights(facts);
         SwitchOff(facts);
         facts.driver.file.exists = false;
     },
     {"cpu.processor"},
     {},
     kNow,
     kNever,
     "i7-12700 is not one of AMD's",
     ""},
    {"UnknownRyzen",
     [](MachineFacts& facts) { facts.cpu.processor.support = ProcessorSupport::kNo; },
     {"cpu.processor"},
     {},
     kNow,
     kNever,
     "870F10) is not known",
     ""},
    {"WindowsServer",
     [](MachineFacts& facts) {
         facts.windows.supported = false;
         facts.windows.isServer = true;
     },
     {"cpu.windows"},
     {},
     kNow,
     kNever,
     "server edition",
     ""},
    {"Windows8",
     [](MachineFacts& facts) { facts.windows = {false, true, false, 6, 3, 9600, "Windows 8.1"}; },
     {"cpu.windows"},
     {},
     kNow,
     kNever,
     "Windows 8.1, version 6.3.9600",
     ""},
    {"SurfaceLaptop",
     [](MachineFacts& facts) {
         facts.cpu.product = "Surface Laptop 3";
         facts.cpu.productSkipped = true;
     },
     {"cpu.product"},
     {},
     kNow,
     kNever,
     "Surface Laptop 3",
     ""},
    {"VbsOnAnOldRyzen",
     [](MachineFacts& facts) {
         facts.cpu.processor.support = ProcessorSupport::kVbsMustBeOff;
         facts.cpu.vbs = 2;
     },
     {"cpu.vbs"},
     {},
     kNow,
     kAfterSteps,
     "Running.",
     "memory integrity"},
    {"VbsOnANewRyzen", [](MachineFacts& facts) { facts.cpu.vbs = 2; }, {}, {}, kNow, kNow, "", ""},
    {"VbsUnknownOnAnOldRyzen",
     [](MachineFacts& facts) {
         facts.cpu.processor.support = ProcessorSupport::kVbsMustBeOff;
         facts.cpu.vbs.reset();
     },
     {},
     {},
     kNow,
     kNow,
     "",
     ""},
    {"VbsThatIsNotTold",
     [](MachineFacts& facts) {
         facts.cpu.vbs.reset();
         facts.cpu.vbsIsLate = true;
     },
     {},
     {"cpu.vbs"},
     kNow,
     kNow,
     "does not answer",
     "Ask again"},
    {"StandIn",
     [](MachineFacts& facts) {
         facts.platform.kind = PlatformKind::kStandIn;
         facts.platform.comesWithHost = true;
     },
     {"files.platform"},
     {},
     kNow,
     kAfterSteps,
     "which the host program brings",
     "of AMD's"},
    {"StandInOnIntel",
     [](MachineFacts& facts) {
         facts.platform.kind = PlatformKind::kStandIn;
         MakeIntel(facts);
     },
     {"cpu.processor"},
     {},
     kNow,
     kNever,
     "not one of AMD's",
     ""},
    {"NoPlatform",
     [](MachineFacts& facts) { facts.platform.kind = PlatformKind::kMissing; },
     {"files.platform"},
     {},
     kAfterSteps,
     kAfterSteps,
     "nor a stand-in that the host program brings",
     "For the GPUs alone unpack the package again"},
    {"UnusablePlatform",
     [](MachineFacts& facts) { facts.platform.kind = PlatformKind::kUnusable; },
     {"files.platform"},
     {},
     kAfterSteps,
     kAfterSteps,
     "is damaged",
     "remove it: the host program then loads its stand-in"},
    {"NoLibrary",
     [](MachineFacts& facts) { facts.library.exists = false; },
     {"files.library"},
     {},
     kAfterSteps,
     kAfterSteps,
     "is missing",
     "Unpack"},
    {"MixedVersions",
     [](MachineFacts& facts) { facts.library.version = "0.9.0"; },
     {},
     {"files.versions"},
     kNow,
     kNow,
     "the library 0.9.0",
     "Unpack"},
    {"NoLogFolder",
     [](MachineFacts& facts) { facts.log.folderExists = false; },
     {},
     {"log.folder"},
     kNow,
     kNow,
     "There is no folder",
     "Make the folder Log"},
    {"LogFolderOfOthers",
     [](MachineFacts& facts) { facts.log.folderWritable = false; },
     {},
     {"log.folder"},
     kNow,
     kNow,
     "may not write",
     "Let the user"},
    {"FolderInPlaceOfTheLog",
     [](MachineFacts& facts) { facts.log.fileIsFolder = true; },
     {},
     {"log.file"},
     kNow,
     kNow,
     "A folder has the log's name",
     "Remove"},
    {"FullLog",
     [](MachineFacts& facts) {
         facts.log.file.exists = true;
         facts.log.file.size = 100 * 1024 * 1024 + 1;
     },
     {},
     {"log.file"},
     kNow,
     kNow,
     "It is full",
     "Delete"},
    {"LogOfAnElevatedWorker",
     [](MachineFacts& facts) { facts.log.mutex = MutexState::kDenied; },
     {},
     {"log.writers"},
     kNow,
     kNow,
     "other rights",
     "End that worker"},
    {"LogOfAnotherSession",
     [](MachineFacts& facts) {
         facts.log.writers = {{4242, "zorvanehost.exe", 0, uint32_t{SECURITY_MANDATORY_HIGH_RID}}};
     },
     {},
     {"log.writers"},
     kNow,
     kNow,
     "another session writes it, zorvanehost.exe (4242)",
     "folder of its own"},
    {"WorkerAboveUs",
     [](MachineFacts& facts) {
         TakeRights(facts);
         MakeIntel(facts);
         facts.workers = {{4242, "zorvanehost.exe", 1, uint32_t{SECURITY_MANDATORY_HIGH_RID}},
                          {17, "zorvanehost.exe", 1, uint32_t{SECURITY_MANDATORY_MEDIUM_RID}}};
     },
     {"cpu.processor"},
     {"run.stop"},
     kNow,
     kNever,
     "",
     ""},
    {"NoDriverFile",
     [](MachineFacts& facts) { facts.driver.file.exists = false; },
     {"driver.file"},
     {},
     kNow,
     kAfterSteps,
     "is missing",
     "beside the host program"},
    {"UnsignedDriver",
     [](MachineFacts& facts) {
         facts.driver.signature = {SignatureState::kUnsigned, 0x800B0100};
     },
     {"driver.signature"},
     {},
     kNow,
     kAfterSteps,
     "not signed",
     "from AMD's"},
    {"TamperedDriver",
     [](MachineFacts& facts) {
         facts.driver.signature = {SignatureState::kInvalid, 0x80096010};
     },
     {"driver.signature"},
     {},
     kNow,
     kAfterSteps,
     "0x80096010",
     "from AMD's"},
    {"UnsignedDriverThatRuns",
     [](MachineFacts& facts) {
         facts.driver.signature.state = SignatureState::kUnsigned;
         Install(facts, SERVICE_RUNNING);
     },
     {},
     {"driver.signature"},
     kNow,
     kNow,
     "runs all the same",
     "from AMD's"},
    {"StoppedService",
     [](MachineFacts& facts) { Install(facts, SERVICE_STOPPED); },
     {},
     {},
     kNow,
     kNow,
     "",
     ""},
    {"MarkedForDelete",
     [](MachineFacts& facts) {
         Install(facts, SERVICE_STOPPED);
         facts.driver.service.markedForDelete = true;
         facts.driver.service.holders = {{77, "mmc.exe", 1, std::nullopt}};
     },
     {"driver.service"},
     {},
     kNow,
     kAfterSteps,
     "held by: mmc.exe (77)",
     "Close Services"},
    {"MarkedForDeleteAndRunning",
     [](MachineFacts& facts) {
         Install(facts, SERVICE_RUNNING);
         facts.driver.service.markedForDelete = true;
     },
     {},
     {"driver.service"},
     kNow,
     kNow,
     "runs until the last program",
     ""},
    {"HungService",
     [](MachineFacts& facts) { Install(facts, SERVICE_START_PENDING); },
     {},
     {"driver.service"},
     kNow,
     kNow,
     "starting",
     "Restart the PC"},
    {"MemoryIntegrity",
     [](MachineFacts& facts) {
         facts.driver.memoryIntegrity = true;
         facts.driver.blocklist = true;
     },
     {},
     {"driver.integrity", "driver.blocklist"},
     kNow,
     kNow,
     "refuses some old drivers",
     "newer AMDRyzenMasterDriver.sys"},
    {"MemoryIntegrityAndARunningDriver",
     [](MachineFacts& facts) {
         facts.driver.memoryIntegrity = true;
         facts.driver.blocklist = true;
         Install(facts, SERVICE_RUNNING);
     },
     {},
     {},
     kNow,
     kNow,
     "",
     ""},
    {"LastRunBrokeOff",
     [](MachineFacts& facts) {
         facts.log.lastRun.emplace();
         facts.log.lastRun->end = RunEnd::kBrokenOff;
     },
     {},
     {"run.last"},
     kNow,
     kNow,
     "it crashed",
     ""},
    {"LastRunWithoutGpus",
     [](MachineFacts& facts) {
         facts.log.lastRun.emplace();
         facts.log.lastRun->missing.gpu =
             Meaning("nvml.init.9", "NVML does not start.", "Restart.");
     },
     {},
     {"run.last"},
     kNow,
     kNow,
     "No GPUs: NVML does not start.",
     "Restart."},
    {"LastRunLackedWhatThisPcCannotHave",
     [](MachineFacts& facts) {
         RemoveNvidia(facts);
         MakeIntel(facts);
         facts.log.lastRun.emplace();
         facts.log.lastRun->missing.gpu = Meaning("nvml.path", "There is no NVML.");
         facts.log.lastRun->missing.cpu = Meaning("amd.vendor", "Not one of AMD's.");
     },
     {"gpu.adapters", "cpu.processor"},
     {},
     kNever,
     kNever,
     "",
     ""},
    {"NothingAtAll",
     [](MachineFacts& facts) {
         RemoveNvidia(facts);
         MakeIntel(facts);
     },
     {"gpu.adapters", "cpu.processor"},
     {},
     kNever,
     kNever,
     "only: Intel UHD",
     ""},
};

class MachinesTest : public testing::TestWithParam<Situation> {
  protected:
    static Ids With(const Findings& findings, CheckResult result) {
        Ids ids;
        for (const auto& [check, finding] : findings) {
            if (finding.result == result) {
                ids.emplace_back(check->id);
            }
        }
        return ids;
    }
};

TEST_P(MachinesTest, HasItsOneRightAnswer) {
    const Situation& situation = GetParam();
    MachineFacts facts = HealthyMachine();
    situation.change(facts);
    const Findings findings = Decide(facts);
    EXPECT_EQ(With(findings, CheckResult::kFail), situation.fails);
    EXPECT_EQ(With(findings, CheckResult::kWarn), situation.warns);
    const std::vector<Verdict> verdicts = Judge(findings);
    EXPECT_EQ(verdicts[0].reporting, situation.gpu);
    EXPECT_EQ(verdicts[1].reporting, situation.cpu);
    EXPECT_EQ(CanReportSomething(verdicts), situation.gpu == kNow || situation.cpu == kNow);

    Ids named = situation.fails;
    named.insert(named.end(), situation.warns.begin(), situation.warns.end());
    if (!named.empty() && *situation.seen) {
        const Finding finding = Decide(facts, {named.front()}).front().finding;
        EXPECT_THAT(finding.seen, HasSubstr(situation.seen));
        EXPECT_EQ(finding.remedy.empty(), !*situation.remedy) << finding.remedy;
        EXPECT_THAT(finding.remedy, HasSubstr(situation.remedy));
    }
}

INSTANTIATE_TEST_SUITE_P(All, MachinesTest, testing::ValuesIn(kSituations),
                         [](const auto& situation) { return std::string(situation.param.name); });

// Every check has decided about the healthy machine, and none of its own accord is left out.
TEST(HealthyMachineTest, PassesEveryCheckThatNeedNotBeAskedFor) {
    for (const auto& [check, finding] : Decide(HealthyMachine())) {
        const std::string id = check->id;
        const bool mayBeSkipped = id == "nvml.probe" || id == "run.last";
        EXPECT_EQ(finding.result, mayBeSkipped ? CheckResult::kSkip : CheckResult::kPass)
            << id << ": " << finding.seen;
        EXPECT_EQ(finding.remedy, "") << id;
    }
}

TEST(VerdictTest, StepsComeInTheOrderOfTheChecksAndOnce) {
    MachineFacts facts = HealthyMachine();
    TakeRights(facts);
    SwitchOff(facts);
    facts.platform.kind = PlatformKind::kStandIn;
    const std::vector<std::string> steps = Judge(Decide(facts))[1].steps;
    EXPECT_THAT(steps, ElementsAre(HasSubstr("Platform.dll"), HasSubstr("as administrator"),
                                   HasSubstr("zorvanemon reset")));
    facts.driver.signature.state = SignatureState::kUnsigned;
    facts.driver.file.isImage = false;
    facts.platform.kind = PlatformKind::kVendor;
    EXPECT_THAT(Judge(Decide(facts))[1].steps, testing::SizeIs(3));
}

TEST(VerdictTest, WhatNobodyCanChangeLeavesNoSteps) {
    MachineFacts facts = HealthyMachine();
    facts.cpu.productSkipped = true;
    facts.driver.file.exists = false;
    const Verdict cpu = Judge(Decide(facts))[1];
    EXPECT_THAT(cpu.steps, IsEmpty());
    EXPECT_THAT(cpu.obstacles, testing::SizeIs(1));
}

TEST(CheckTest, OnlyTheNamedOnesAreDecided) {
    const Findings findings = Decide(HealthyMachine(), {"cpu.vbs", "files.host"});
    ASSERT_THAT(findings, testing::SizeIs(2));
    EXPECT_STREQ(findings[0].check->id, "files.host");
    EXPECT_STREQ(findings[1].check->id, "cpu.vbs");
}

}  // namespace
}  // namespace zorvane
