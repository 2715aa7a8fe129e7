// What a single check answers, and in which words, where a machine is like few others.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>

#include "monitor/doctor/verdict.h"
#include "tests/unit/monitor/doctor/machines.h"

namespace zorvane {

using testing::HasSubstr;

namespace {

constexpr CheckResult kPass = CheckResult::kPass;
constexpr CheckResult kWarn = CheckResult::kWarn;
constexpr CheckResult kFail = CheckResult::kFail;
constexpr CheckResult kSkip = CheckResult::kSkip;

struct Answer {
    const char* check;
    std::function<void(MachineFacts&)> change;
    CheckResult result;
    /** What is seen; a part of it. */
    const char* seen;
};

void Expect(const std::vector<Answer>& rows) {
    for (const Answer& row : rows) {
        MachineFacts facts = HealthyMachine();
        row.change(facts);
        const Finding finding = Decide(facts, {row.check}).front().finding;
        EXPECT_EQ(finding.result, row.result) << row.check << ": " << finding.seen;
        EXPECT_THAT(finding.seen, HasSubstr(row.seen)) << row.check;
    }
}

// A log of so many bytes that was written so long ago.
std::function<void(MachineFacts&)> Log(uint64_t size, std::chrono::seconds age) {
    return [=](MachineFacts& facts) {
        facts.log.file.exists = true;
        facts.log.file.size = size;
        facts.log.file.written = facts.now - age;
    };
}

TEST(CheckSentences, SizeAndAgeOfTheLog) {
    using namespace std::chrono_literals;
    constexpr uint64_t kKib = 1024;
    Expect({
        {"log.file", Log(1, 59s), kPass, ".log, 1 KiB, last written within the last minute."},
        {"log.file", Log(kKib, 60s), kPass, ", 1 KiB, last written 1 minutes ago."},
        {"log.file", Log(kKib + 1, 119min), kPass, ", 2 KiB, last written 119 minutes ago."},
        {"log.file", Log(kKib * kKib, 120min), kPass, ", 1 MiB, last written 2 hours ago."},
        {"log.file", Log(5 * kKib * kKib, 47h), kPass, ", 5 MiB, last written 47 hours ago."},
        {"log.file", Log(100 * kKib * kKib, 48h), kPass, ", 100 MiB, last written 2 days ago."},
        {"log.file",
         [](MachineFacts& facts) {
             facts.log.file.exists = true;
             facts.log.keptOn = true;
         },
         kPass, ", last written at an unknown time; it is kept on by the .on file beside it."},
    });
}

TEST(CheckSentences, WhoWritesTheLog) {
    Expect({
        {"log.writers", [](MachineFacts&) {}, kPass,
         "Nobody; a worker that starts now writes the log anew."},
        {"log.writers", [](MachineFacts& facts) { facts.log.mutex = MutexState::kInUse; }, kPass,
         "A process of this session; a worker that starts now writes behind it."},
        {"log.writers",
         [](MachineFacts& facts) {
             facts.log.writers = {{7, "zorvanehost.exe", 1, {}}, {8, "utility.exe", {}, {}}};
         },
         kPass, "zorvanehost.exe (7), utility.exe (8); a worker that starts now writes behind it."},
        {"log.writers",
         [](MachineFacts& facts) {
             facts.log.mutex = MutexState::kDenied;
             facts.log.writers = {{7, "zorvanehost.exe", 0, {}}};
         },
         kWarn, "A worker with other rights writes it: zorvanehost.exe (7); one that is started"},
    });
}

TEST(CheckSentences, WhatSwitchesTheCpuTemperatureOffAndWhy) {
    Expect({
        {"run.switch", [](MachineFacts& facts) { facts.amdSwitch.written = facts.now; }, kPass,
         "On, in C:\\Zorvane\\Qorvella.set."},
        {"run.switch", [](MachineFacts& facts) { facts.amdSwitch.on = false; }, kFail,
         "that could not read the temperature. The log does not tell why."},
    });
}

TEST(CheckSentences, WhoTakesAStopMessage) {
    const ProcessFacts medium{17, "zorvanehost.exe", 1, uint32_t{SECURITY_MANDATORY_MEDIUM_RID}};
    const ProcessFacts untold{18, "zorvanehost.exe", 1, {}};
    Expect({
        {"run.stop", [&](MachineFacts& facts) { facts.workers = {medium}; }, kPass,
         "zorvanehost.exe (17) takes the stop message of a program that runs like this one."},
        {"run.stop",
         [&](MachineFacts& facts) {
             facts.workers = {medium, untold};
         },
         kWarn, "zorvanehost.exe (18) has more rights than this process"},
        {"run.stop",
         [&](MachineFacts& facts) {
             facts.workers = {medium};
             facts.rights.integrity.reset();
         },
         kPass, "zorvanehost.exe (17) takes the stop message"},
    });
}

std::function<void(MachineFacts&)> RunThatEnded(RunEnd end) {
    return [end](MachineFacts& facts) {
        facts.log.lastRun.emplace();
        facts.log.lastRun->processId = 42;
        facts.log.lastRun->began = "11-21 19:48:39";
        facts.log.lastRun->end = end;
    };
}

TEST(CheckSentences, HowTheLastRunEnded) {
    Expect({
        {"run.last", RunThatEnded(RunEnd::kRunning), kPass,
         "Process 42 of 11-21 19:48:39 still runs."},
        {"run.last", RunThatEnded(RunEnd::kOrderly), kPass, " ended in order."},
        {"run.last", RunThatEnded(RunEnd::kUntold), kPass,
         " ended after its log was switched off, so how is not known."},
        {"run.last", RunThatEnded(RunEnd::kBrokenOff), kWarn,
         " broke off within its first cycles: "},
    });
}

TEST(LastRunCheck, NamesEachRemedyOnce) {
    MachineFacts facts = HealthyMachine();
    RunThatEnded(RunEnd::kOrderly)(facts);
    MissingReadings& missing = facts.log.lastRun->missing;
    const auto remedy = [&] { return Decide(facts, {"run.last"}).front().finding.remedy; };
    missing.cpu = Meaning("amd.sdk", "AMD's library does not start.");
    EXPECT_EQ(Decide(facts, {"run.last"}).front().finding.result, kWarn);
    EXPECT_EQ(remedy(), "");
    missing.gpu = Meaning("nvml.init.9", "NVML does not start.", "Restart the PC.");
    missing.cpu->remedy = "Restart the PC.";
    EXPECT_EQ(remedy(), "Restart the PC.");
    missing.cpu->remedy = "Wait.";
    EXPECT_EQ(remedy(), "Restart the PC. Wait.");
}

TEST(CheckSentences, ProcessorsAndTheirWindows) {
    const auto old = [](MachineFacts& facts) {
        facts.cpu.processor.support = ProcessorSupport::kVbsMustBeOff;
    };
    Expect({
        {"cpu.processor", [](MachineFacts& facts) { facts.cpu.processor.name = ""; }, kPass,
         "AuthenticAMD (package type 2, CPUID 870F10)."},
        {"cpu.processor", old, kPass, "; of a generation that is read with VBS off only."},
        {"cpu.windows", [](MachineFacts& facts) { facts.windows.edition = ""; }, kPass,
         "version 10.0.19045."},
        {"cpu.product", [](MachineFacts& facts) { facts.cpu.product.reset(); }, kPass,
         "The firmware gives no product name."},
        {"cpu.vbs", old, kPass, "Off."},
        {"cpu.vbs",
         [&](MachineFacts& facts) {
             old(facts);
             facts.cpu.vbs = 1;
         },
         kFail, "Switched on, and not running. This generation"},
        {"cpu.vbs", [](MachineFacts& facts) { facts.windows.supported = false; }, kSkip,
         "is not read on this Windows."},
        {"cpu.vbs", [](MachineFacts& facts) { facts.cpu.processor.vendor = "HygonGenuine"; }, kSkip,
         "does not read this processor's temperature."},
    });
}

TEST(CheckSentences, RightsAndIntegrity) {
    const struct {
        std::optional<uint32_t> level;
        const char* word;
    } rows[] = {{{}, "unknown"},
                {SECURITY_MANDATORY_SYSTEM_RID, "system"},
                {SECURITY_MANDATORY_HIGH_RID, "high"},
                {SECURITY_MANDATORY_MEDIUM_RID, "medium"},
                {SECURITY_MANDATORY_LOW_RID, "low"}};
    for (const auto& row : rows) {
        const std::string seen = std::string("its integrity is ") + row.word + ";";
        Expect({{"cpu.rights", [&](MachineFacts& facts) { facts.rights.integrity = row.level; },
                 kPass, seen.c_str()}});
    }
}

std::function<void(MachineFacts&)> Service(uint32_t state, uint32_t error = 0) {
    return [=](MachineFacts& facts) {
        facts.driver.service.installed = true;
        facts.driver.service.state = state;
        facts.driver.service.error = error;
        facts.driver.signature = {SignatureState::kUnsigned, 0x800B0100};
    };
}

TEST(CheckSentences, DriversServiceAsWindowsTellsIt) {
    Expect({
        {"driver.service", Service(SERVICE_RUNNING), kPass, "Installed and running."},
        {"driver.service", Service(SERVICE_STOP_PENDING), kWarn,
         "Installed and stopping. A driver that stays so hangs."},
        {"driver.service", Service(SERVICE_PAUSED), kPass, "Installed and paused."},
        {"driver.service", Service(99), kPass, "Installed and in state 99."},
        {"driver.service", Service(SERVICE_RUNNING, 5), kSkip, "Windows does not tell (error 5)."},
        {"driver.service",
         [](MachineFacts& facts) {
             Service(SERVICE_STOPPED)(facts);
             facts.driver.service.imagePath = "C:\\old\\AMDRyzenMasterDriver.sys";
         },
         kPass, "Installed and stopped, from C:\\old\\AMDRyzenMasterDriver.sys. A worker deletes"},
        // What is not known to run does not excuse a file.
        {"driver.signature", Service(SERVICE_RUNNING, 5), kFail, "Windows does not load it."},
        {"driver.signature", Service(SERVICE_STOPPED), kFail, "Windows does not load it."},
    });
}

TEST(CheckSentences, DriversFileAndWhatWindowsLetsIn) {
    const auto damaged = [](MachineFacts& facts) { facts.driver.file.isImage = false; };
    Expect({
        {"driver.file", damaged, kFail, "is damaged, or no 64-bit driver."},
        {"driver.file",
         [&](MachineFacts& facts) {
             damaged(facts);
             Service(SERVICE_RUNNING)(facts);
         },
         kWarn, "The driver runs already, so it is not needed now."},
        {"driver.signature",
         [](MachineFacts& facts) {
             facts.driver.signature = {SignatureState::kUnknown, 0x102};
         },
         kSkip, "Windows does not tell (0x00000102)."},
        {"driver.signature",
         [](MachineFacts& facts) {
             facts.driver.signature = {SignatureState::kInvalid, 0x800B0109};
             facts.driver.testSigning = true;
         },
         kWarn, "or not trusted (0x800B0109). Windows is in its test mode."},
        {"driver.integrity", [](MachineFacts& facts) { facts.driver.memoryIntegrity.reset(); },
         kSkip, "Windows does not tell."},
        {"driver.blocklist", [](MachineFacts& facts) { facts.driver.blocklist.reset(); }, kPass,
         "Neither switched on nor off"},
    });
}

TEST(CheckSentences, FilesOfThePackage) {
    Expect({
        {"files.library", [](MachineFacts& facts) { facts.library.isImage = false; }, kFail,
         "The library is damaged, or not for 64-bit Windows: C:\\Zorvane\\Zorvane.dll"},
        {"files.versions", [](MachineFacts& facts) { facts.host.exists = false; }, kSkip,
         "A file is missing."},
        {"files.versions", [](MachineFacts& facts) { facts.library.exists = false; }, kSkip,
         "A file is missing."},
        {"files.versions",
         [](MachineFacts& facts) { facts.host.version = facts.library.version = ""; }, kWarn,
         "zorvanemon 1.0.0, the host without a version, the library without a version."},
    });
}

TEST(PlatformCheck, TellsHowToReadTheGpusWhereTheCpuIsOut) {
    MachineFacts facts = HealthyMachine();
    facts.platform.kind = PlatformKind::kMissing;
    facts.cpu.processor.vendor = "GenuineIntel";
    EXPECT_THAT(Decide(facts, {"files.platform"}).front().finding.remedy,
                testing::StartsWith("For the GPUs unpack the package again: "));
}

TEST(CheckSentences, CardsAndNvml) {
    const auto noNvml = [](MachineFacts& facts) {
        facts.gpu.fixedNvml.exists = facts.gpu.fixedNvml.isImage = false;
        facts.gpu.systemNvml.exists = facts.gpu.systemNvml.isImage = false;
    };
    Expect({
        {"gpu.adapters", [](MachineFacts& facts) { facts.gpu.adapters.reset(); }, kSkip,
         "Windows gives no list of its display adapters."},
        {"gpu.adapters", [](MachineFacts& facts) { facts.gpu.adapters->clear(); }, kWarn,
         "only: none. NVML is installed all the same."},
        {"gpu.adapters", [](MachineFacts& facts) { facts.gpu.adapters->front().service = ""; },
         kFail, "(without NVIDIA's driver)"},
        // Where Windows does not tell, there may be a card.
        {"nvml.fixed",
         [&](MachineFacts& facts) {
             noNvml(facts);
             facts.gpu.adapters.reset();
         },
         kFail, "The file that the library loads is missing: "},
        {"nvml.fixed",
         [&](MachineFacts& facts) {
             noNvml(facts);
             facts.gpu.adapters->clear();
         },
         kSkip, "There is no NVIDIA card."},
        {"nvml.system", [](MachineFacts& facts) { facts.gpu.systemNvml.isImage = false; }, kWarn,
         "is damaged, or not a 64-bit library."},
        {"nvml.system", [](MachineFacts& facts) { facts.gpu.systemNvml.exists = false; }, kPass,
         "the library does not need it there."},
        {"nvml.probe", noNvml, kSkip, "There is no NVML to ask."},
    });
}

}  // namespace
}  // namespace zorvane
