#include "sim/scenario/scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/scenario/jsonplace.h"
#include "sim/scenario/scenariofile.h"
#include "tests/unit/sim/simfixture.h"

namespace {

// The complaint about a scenario; empty when there is none.
std::string ComplaintAbout(const std::string& json) {
    try {
        ParseScenario(json);
        return "";
    } catch (const CScenarioError& error) {
        return error.what();
    }
}

TEST(Scenario, EmptyObjectIsAMachineWithoutGpusAndWithItsOwnProcessor) {
    const Scenario scenario = ParseScenario("{}");
    EXPECT_TRUE(scenario.gpus.empty());
    EXPECT_FALSE(scenario.cpu.has_value());
    EXPECT_FALSE(scenario.driverVersion.has_value());
    EXPECT_FALSE(scenario.deviceCount.has_value());
    EXPECT_FALSE(scenario.garbage.unterminatedTexts);
    EXPECT_FALSE(scenario.garbage.writeOnFailure);
}

TEST(Scenario, EveryKeyOfAGpuIsRead) {
    Scenario scenario = ParseScenario(R"({"gpus": [{
        "name": "N", "serial": "S", "vbios": "V", "boardPartNumber": "B",
        "domain": 2, "bus": 16, "device": 3, "deviceId": "0x1EB810DE", "subsystemId": 7,
        "memoryMiB": 15360, "utilization": {"gpu": 11, "memory": 12}, "temperature": 13,
        "fanSpeed": 14, "clocks": [1, 2, null, 4], "maxClocks": [5, 6, 7, 8]}]})");
    Gpu& gpu = scenario.gpus.at(0);
    EXPECT_EQ(gpu.name, "N");
    EXPECT_EQ(gpu.serial, "S");
    EXPECT_EQ(gpu.vbios, "V");
    EXPECT_EQ(gpu.boardPartNumber, "B");
    EXPECT_EQ(gpu.domain, 2u);
    EXPECT_EQ(gpu.bus, 16u);
    EXPECT_EQ(gpu.device, 3u);
    EXPECT_EQ(gpu.deviceId, 0x1EB810DEu);
    EXPECT_EQ(gpu.subsystemId, 7u);
    EXPECT_EQ(gpu.memoryMiB, 15360u);
    EXPECT_EQ(gpu.gpuUtilization->Read(0), 11);
    EXPECT_EQ(gpu.memoryUtilization->Read(0), 12);
    EXPECT_EQ(gpu.temperature->Read(0), 13);
    EXPECT_EQ(gpu.fanSpeed->Read(0), 14);
    EXPECT_EQ(gpu.clocks[1]->Read(0), 2);
    EXPECT_FALSE(gpu.clocks[2].has_value());
    EXPECT_EQ(gpu.maxClocks[3]->Read(0), 8);
}

TEST(Scenario, BusIdFollowsFromDomainBusAndDeviceUnlessItIsSet) {
    const Scenario scenario = ParseScenario(R"({"gpus": [
        {"name": "a", "domain": 1, "bus": 10, "device": 31}, {"name": "b", "busId": "x"}]})");
    EXPECT_EQ(scenario.gpus[0].busId, "00000001:0A:1F.0");
    EXPECT_EQ(scenario.gpus[0].legacyBusId, "0001:0A:1F.0");
    EXPECT_EQ(scenario.gpus[1].busId, "x");
}

TEST(Scenario, EveryKeyOfTheProcessorIsRead) {
    Scenario scenario = ParseScenario(R"({"cpu": {
        "vendor": "GenuineIntel", "signature": "0x00870F10", "packageType": 15, "name": "Ryz\u00e9n",
        "platformInit": false, "needsDriver": false, "device": false,
        "pmTable": {"status": 1, "temperature": 2}, "currentTemperature": {"status": 3,
        "temperature": 4}, "offset": {"status": 5, "value": 6}}})");
    Cpu& cpu = scenario.cpu.value();
    EXPECT_EQ(cpu.vendor, "GenuineIntel");
    EXPECT_EQ(cpu.signature, 0x870F10u);
    EXPECT_EQ(cpu.packageType, 15u);
    EXPECT_EQ(cpu.name, L"Ryz\u00e9n");
    EXPECT_FALSE(cpu.platformInit);
    EXPECT_FALSE(cpu.needsDriver);
    EXPECT_FALSE(cpu.device);
    EXPECT_EQ(cpu.pmTable.status.Read(0), 1);
    EXPECT_EQ(cpu.pmTable.value.Read(0), 2);
    EXPECT_EQ(cpu.currentTemperature.status.Read(0), 3);
    EXPECT_EQ(cpu.currentTemperature.value.Read(0), 4);
    EXPECT_EQ(cpu.offset->status.Read(0), 5);
    EXPECT_EQ(cpu.offset->value.Read(0), 6);
}

TEST(Scenario, EachFormOfAMovingValueIsRead) {
    Scenario scenario = ParseScenario(R"({"gpus": [{"name": "a", "clocks": [
        {"perRead": [5, 6]}, {"steps": [1, 2], "stepSeconds": 4},
        {"base": 10, "amplitude": 4, "periodSeconds": 8},
        {"wave": "sine", "base": 10, "amplitude": 4, "periodSeconds": 12}]}]})");
    auto& clocks = scenario.gpus[0].clocks;
    EXPECT_EQ(clocks[0]->Read(9), 5);
    EXPECT_EQ(clocks[0]->Read(9), 6);
    EXPECT_EQ(clocks[1]->Read(5), 2);
    EXPECT_DOUBLE_EQ(clocks[2]->Read(1), 12);
    EXPECT_NEAR(clocks[3]->Read(1), 12, 1e-9);
}

struct BadScenario {
    const char* json;
    const char* complaint;
};

class CBadScenarioTest : public testing::TestWithParam<BadScenario> {};

TEST_P(CBadScenarioTest, ComplaintNamesThePlaceAndWhatWasExpected) {
    EXPECT_THAT(ComplaintAbout(GetParam().json), testing::HasSubstr(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Scenario, CBadScenarioTest,
    testing::Values(
        BadScenario{"{\n  \"gpus\": [,]\n}", "line 2, column 12"},
        BadScenario{"", "unexpected end of input"},
        BadScenario{"[]", "(top level): expected an object, found []"},
        BadScenario{R"({"gpu": []})", "/gpu: unknown key, expected one of: description, driver"},
        BadScenario{R"({"gpus": {}})", "/gpus: expected a list, found {}"},
        BadScenario{R"({"gpus": [{}]})", "/gpus/0: a GPU needs \"name\""},
        BadScenario{R"({"gpus": [{"name": 5}]})", "/gpus/0/name: expected a text, found 5"},
        BadScenario{R"({"gpus": [{"name": "a\u0000b"}]})", "/gpus/0/name: a text cannot hold"},
        BadScenario{R"({"gpus": [{"name": "a"}, {"name": "b", "temperature": "hot"}]})",
                    "/gpus/1/temperature: expected a number or an object with \"perRead\""},
        BadScenario{R"({"gpus": [{"name": "a", "temperature": {"amplitude": 1}}]})",
                    "/gpus/0/temperature: expected a number or an object with"},
        BadScenario{R"({"gpus": [{"name": "a", "temperature": {"base": 1}}]})",
                    "/gpus/0/temperature: a wave needs \"amplitude\""},
        BadScenario{R"({"gpus": [{"name": "a", "temperature":
                        {"base": 1, "amplitude": 1, "periodSeconds": 0}}]})",
                    "/gpus/0/temperature/periodSeconds: expected a number above 0, found 0"},
        BadScenario{R"({"gpus": [{"name": "a", "temperature":
                        {"wave": "saw", "base": 1, "amplitude": 1, "periodSeconds": 1}}]})",
                    "/gpus/0/temperature/wave: expected \"triangle\" or \"sine\", found \"saw\""},
        BadScenario{R"({"gpus": [{"name": "a", "fanSpeed": {"perRead": []}}]})",
                    "/gpus/0/fanSpeed/perRead: expected a list of at least one value, found []"},
        BadScenario{R"({"gpus": [{"name": "a", "fanSpeed": {"perRead": [1, "hang"]}}]})",
                    "/gpus/0/fanSpeed/perRead/1: expected a number, found \"hang\""},
        BadScenario{R"({"gpus": [{"name": "a", "fanSpeed": {"steps": [1], "stepSeconds": -1}}]})",
                    "/gpus/0/fanSpeed/stepSeconds: expected a number above 0, found -1"},
        BadScenario{R"({"gpus": [{"name": "a", "clocks": [1, 2, 3]}]})",
                    "/gpus/0/clocks: expected a list of 4, found [1,2,3]"},
        BadScenario{R"({"gpus": [{"name": "a", "utilization": {"gpu": 1}}]})",
                    "/gpus/0/utilization: expected null or an object with \"gpu\" and \"memory\""},
        BadScenario{R"({"gpus": [{"name": "a", "deviceId": "10DE"}]})",
                    "/gpus/0/deviceId: expected a whole number from 0 to 4294967295"},
        BadScenario{R"({"gpus": [{"name": "a", "deviceId": "0x1FFFFFFFF"}]})",
                    "/gpus/0/deviceId: expected a whole number"},
        BadScenario{R"({"gpus": [{"name": "a", "bus": 1.5}]})", "/gpus/0/bus: expected a whole"},
        BadScenario{R"({"gpus": [{"name": "a", "bus": -1}]})", "/gpus/0/bus: expected a whole"},
        BadScenario{R"({"gpus": [{"name": "a", "bus": 18446744073709551615}]})",
                    "/gpus/0/bus: expected a whole"},
        BadScenario{R"({"gpus": [{"name": "a", "busId": "0123456789012345678901234567890x"}]})",
                    "/gpus/0/busId: a bus id has at most 31 characters"},
        BadScenario{R"({"results": {"nvmlDeviceGetPower": 3}})",
                    "/results/nvmlDeviceGetPower: no result can be set here for a function of this "
                    "name, expected one of: nvmlInit_v2, nvmlInit, nvmlShutdown, "},
        BadScenario{R"({"results": {"nvmlInit_v3": 3}})", "/results/nvmlInit_v3: no result can"},
        BadScenario{R"({"results": {"nvmlInit": "hung"}})",
                    "/results/nvmlInit: expected a code, \"hang\", {\"hang\": seconds} or "
                    "\"crash\", found \"hung\""},
        BadScenario{R"({"results": {"nvmlInit": 1.5}})",
                    "/results/nvmlInit: expected a whole number from -2147483648 to 2147483647"},
        BadScenario{R"({"results": {"nvmlInit": {"hang": 0}}})",
                    "/results/nvmlInit/hang: expected a number above 0, found 0"},
        BadScenario{R"({"results": {"nvmlInit": {"perRead": [0, {"hang": 1, "code": 2}]}}})",
                    "/results/nvmlInit/perRead/1/code: unknown key, expected one of: hang, result"},
        BadScenario{R"({"results": {"nvmlErrorString": 3}})",
                    "/results/nvmlErrorString: this function returns no code that could be set"},
        BadScenario{R"({"results": {"nvmlDeviceGetFanSpeed": [0, 0, 0, 3]}})",
                    "/results/nvmlDeviceGetFanSpeed: a list of results is for functions that take"},
        BadScenario{R"({"results": {"nvmlDeviceGetClock": [0, 3]}})",
                    "/results/nvmlDeviceGetClock: expected a list of 4"},
        BadScenario{R"({"gpus": [{"name": "a", "results": {"nvmlInit": 3}}]})",
                    "/gpus/0/results/nvmlInit: no result can be set here for a function of this "
                    "name, expected one of: nvmlDeviceGetHandleByIndex_v2, "},
        BadScenario{R"({"gpus": [{"name": "a", "fault": {"afterCalls": 3}}]})",
                    "/gpus/0/fault: expected an object with \"result\", found"},
        BadScenario{R"({"gpus": [{"name": "a", "fault":
                        {"result": 15, "afterCalls": 3, "forSeconds": 1}}]})",
                    "/gpus/0/fault: a fault lasts a number of calls or of seconds"},
        BadScenario{R"({"gpus": [{"name": "a", "permission": 0}]})",
                    "/gpus/0/permission: expected true or false, found 0"},
        BadScenario{R"({"deviceCount": 4294967296})", "/deviceCount: expected a whole number"},
        BadScenario{R"({"garbage": {"unterminatedTexts": 1}})",
                    "/garbage/unterminatedTexts: expected true or false, found 1"},
        BadScenario{R"({"cpu": {"vendor": "Intel"}})",
                    "/cpu/vendor: expected a text of 12 characters, found \"Intel\""},
        BadScenario{R"({"cpu": {"packageType": 16}})",
                    "/cpu/packageType: expected a whole number from 0 to 15"},
        BadScenario{R"({"cpu": {"offset": {"temperature": 5}}})",
                    "/cpu/offset/temperature: unknown key, expected one of: status, value"},
        BadScenario{R"({"cpu": {"results": {"IPlatform::Init": 1}}})",
                    "/cpu/results/IPlatform::Init: this function returns no code that could be "},
        BadScenario{R"({"cpu": {"results": {"IPlatform::GetDevice": "hang"}}})",
                    "/cpu/results/IPlatform::GetDevice: no result can be set here for a function "
                    "of this name, expected one of: GetPlatform, IPlatform::Init, "},
        BadScenario{R"({"gpus": [{"name": "a"}, {"bus": 1, "name": "b", "bus": 2}]})",
                    "/gpus/1/bus: this key stands twice in its object"},
        BadScenario{R"({"cpu": {}, "gpus": [], "cpu": null})",
                    "/cpu: this key stands twice in its object"},
        BadScenario{R"({"gpus": [{"name": "a", "fanSpeed": 1e999}]})", "number overflow parsing"},
        BadScenario{"{\"description\": \"\xFF\"}", "line 1, column 18"},
        BadScenario{R"({"a/b~c": 1})", "/a~1b~0c: unknown key"}));

TEST(Scenario, EveryShippedScenarioCanBeRead) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SimFolder() / "scenarios")) {
        if (entry.path().extension() == ".json") {
            EXPECT_NO_THROW(LoadScenario(entry.path())) << entry.path();
            ++count;
        }
    }
    EXPECT_GE(count, 20u);
}

}  // namespace
