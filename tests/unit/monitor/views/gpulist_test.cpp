#include "monitor/views/gpulist.h"

#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

TEST(GpuListTest, ShowsWhatDoesNotChange) {
    EXPECT_EQ("\n" + GpuBlock(FullStatic()), R"(
GPU 1: NVIDIA GeForce RTX 4090
  PCI bus id        00000000:01:00.0
  PCI device        2684, vendor 10DE
  Serial number     1320
  VBIOS version     95.02
  Driver version    551.86
  Memory            24564 MiB
  Highest clocks    graphics 3105 MHz, SM 3105 MHz, memory 10501 MHz, video n/a
)");
}

TEST(GpuListTest, ShowsNothingAsReadThatWasNot) {
    EXPECT_EQ("\n" + GpuBlock(GpuStatic()), R"(
GPU 0: n/a
  PCI bus id        n/a
  PCI device        n/a
  Serial number     n/a
  VBIOS version     n/a
  Driver version    n/a
  Memory            n/a
  Highest clocks    graphics n/a, SM n/a, memory n/a, video n/a
)");
}

TEST(GpuListTest, LetsNoTextSteerTheTerminal) {
    GpuStatic fixed = FullStatic();
    fixed.serial = L"1\x1b[2J";
    fixed.first.name = L"\x202Ename";
    EXPECT_NE(GpuBlock(fixed).find("GPU 1: ?name\n"), std::string::npos);
    EXPECT_NE(GpuBlock(fixed).find(" 1?[2J\n"), std::string::npos);
}

}  // namespace
}  // namespace zorvane
