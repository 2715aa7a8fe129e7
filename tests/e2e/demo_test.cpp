// The demo's folder: the shipped library and host, and no hardware.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"

using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

const std::wstring& Bin() {
    static const std::wstring kBin = BuildFolder(L"bin");
    return kBin;
}

}  // namespace

TEST(Demo, ShowsSimulatedGpusAndSaysSo) {
    const CChildProcess monitor(Bin() + L"\\zorvanemon.exe", L"--demo --count 1");
    EXPECT_EQ(monitor.Wait(), 0u) << monitor.Errors();
    EXPECT_THAT(monitor.Output(), HasSubstr("  SIMULATED  worker "));
    EXPECT_THAT(monitor.Output(), HasSubstr("00000000:01:00.0  NVIDIA GeForce RTX 4090"));
}

TEST(Demo, IsSimulatedForProgramsToo) {
    const CChildProcess monitor(Bin() + L"\\zorvanemon.exe", L"--demo --count 1 --format json");
    EXPECT_EQ(monitor.Wait(), 0u) << monitor.Errors();
    std::istringstream lines(monitor.Output());
    std::string first;
    ASSERT_TRUE(std::getline(lines, first));
    EXPECT_EQ(nlohmann::json::parse(first).at("simulated"), true);
}

TEST(Demo, BringsItsOwnHost) {
    const CChildProcess monitor(Bin() + L"\\zorvanemon.exe", L"--demo --host other.exe");
    EXPECT_EQ(monitor.Wait(), 2u);
    EXPECT_THAT(monitor.Errors(), HasSubstr("--host"));
}

// As the package's README tells authors without a GPU.
TEST(Demo, ServesProgramsOnTheClientLibrary) {
    const CChildProcess stub(
        BuildFolder(L"examples") + L"\\kit_stub.exe", L"\"" + Bin() + L"\\demo\\zorvanehost.exe\"",
        {{L"ProgramW6432", Bin() + L"\\demo\\ProgramFiles"}, {L"PATH", Bin()}});
    EXPECT_EQ(stub.Wait(), 0u) << stub.Errors();
    EXPECT_THAT(stub.Output(), ContainsRegex("00000000:01:00.0  NVIDIA GeForce RTX 4090  "
                                             "GPU \\d+ %  \\d+ C  fan \\d+ %"));
    const std::string text = stub.Output();
    EXPECT_GE(std::count(text.begin(), text.end(), '\n'), 10);
    EXPECT_THAT(stub.Errors(), HasSubstr("worker_exit  ended in order (0)"));
}
