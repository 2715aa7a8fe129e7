#include "client/exitcode.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

struct Row {
    DWORD code;
    bool greeted;
    ExitKind kind;
    const char* text;
    bool asked = false;
};

class ExitCodeTest : public testing::TestWithParam<Row> {};

TEST_P(ExitCodeTest, SaysWhatTheCodeMeans) {
    const Row& row = GetParam();
    EXPECT_EQ(ClassifyExit(row.code, row.greeted, row.asked), row.kind);
    EXPECT_EQ(DescribeExit(row.code, row.greeted, row.asked), row.text);
}

constexpr ExitKind kOrderly = ExitKind::kOrderly;
constexpr ExitKind kByItself = ExitKind::kByItself;
constexpr ExitKind kHost = ExitKind::kHostFailure;
constexpr ExitKind kCrash = ExitKind::kCrash;

INSTANTIATE_TEST_SUITE_P(
    BeforeTheHello, ExitCodeTest,
    testing::Values(
        Row{0, false, kByItself, "ended without a hello (0)"},
        Row{0, false, kOrderly, "ended in order (0)", true},
        Row{1, false, kHost, "did not start: the host ended with exit code (1)"},
        Row{2, false, kHost, "did not start: the host found no library (2)"},
        Row{3, false, kHost,
            "did not start: the host says that a library which the library needs is missing (3)"},
        Row{4, false, kHost, "did not start: the library has no export ZorvaneProcess (4)"},
        Row{5, false, kHost, "did not start: the host could not load the library (5)"},
        Row{8, false, kHost, "did not start: the host does not understand its command line (8)"},
        Row{0xC0000135, false, kHost, "could not load: a DLL is missing (0xC0000135)"},
        Row{0xC0000005, false, kCrash, "crashed: access violation (0xC0000005)"},
        Row{0xC0001234, false, kCrash, "crashed: exception (0xC0001234)"}));

INSTANTIATE_TEST_SUITE_P(
    AfterTheHello, ExitCodeTest,
    testing::Values(Row{0, true, kByItself, "ended by itself (0)"},
                    Row{0, true, kOrderly, "ended in order (0)", true},
                    Row{3, true, kCrash, "died with exit code (3)", true},
                    Row{3, true, kCrash, "died with exit code (3)"},
                    Row{0xC0000005, true, kCrash, "crashed: access violation (0xC0000005)"},
                    Row{0xC00000FD, true, kCrash, "crashed: stack overflow (0xC00000FD)"},
                    Row{0xC000013A, true, kCrash, "was ended by Ctrl+C (0xC000013A)"},
                    Row{0xE06D7363, true, kCrash, "crashed: uncaught C++ exception (0xE06D7363)"},
                    Row{0x20474343, true, kCrash, "crashed: uncaught C++ exception (0x20474343)"}));

// Whatever a code means, it means the same before and after the hello; only its kind differs where
// the host could not load the library.
INSTANTIATE_TEST_SUITE_P(
    LoadFailures, ExitCodeTest,
    testing::Values(
        Row{0xC000007B, false, kHost, "could not load: not a valid image (0xC000007B)"},
        Row{0xC0000138, false, kHost,
            "could not load: an ordinal is missing in a DLL (0xC0000138)"},
        Row{0xC0000139, false, kHost,
            "could not load: an entry point is missing in a DLL (0xC0000139)"},
        Row{0xC0000142, false, kHost, "could not load: a DLL failed to initialise (0xC0000142)"},
        Row{0xC0000142, true, kCrash, "could not load: a DLL failed to initialise (0xC0000142)"}));

INSTANTIATE_TEST_SUITE_P(
    Crashes, ExitCodeTest,
    testing::Values(
        Row{0x80000003, false, kCrash, "crashed: breakpoint (0x80000003)"},
        Row{0xC0000006, false, kCrash, "crashed: in-page error (0xC0000006)"},
        Row{0xC000001D, false, kCrash, "crashed: illegal instruction (0xC000001D)"},
        Row{0xC0000094, false, kCrash, "crashed: integer division by zero (0xC0000094)"},
        Row{0xC0000096, false, kCrash, "crashed: privileged instruction (0xC0000096)"},
        Row{0xC0000374, false, kCrash, "crashed: heap corruption (0xC0000374)"},
        Row{0xC0000409, false, kCrash, "crashed: fast fail (0xC0000409)"},
        Row{0xE06D7363, false, kCrash, "crashed: uncaught C++ exception (0xE06D7363)"},
        Row{0x20474343, false, kCrash, "crashed: uncaught C++ exception (0x20474343)"},
        Row{0x10000, false, kHost, "did not start: the host ended with exit code (0x00010000)"},
        Row{0xFFFF, true, kCrash, "died with exit code (65535)"}));

}  // namespace
}  // namespace zorvane
