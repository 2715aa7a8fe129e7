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

}  // namespace
}  // namespace zorvane
