#include "monitor/report/secretwords.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(SecretWordsTest, LeavesOutWholeWordsInAnyLetterCase) {
    CSecretWords secrets;
    secrets.Hide("PC");
    EXPECT_EQ(secrets.Masked("on pc, PC-2 and Pc"), "on (masked), (masked)-2 and (masked)");
    EXPECT_EQ(secrets.Masked("PCI bus of UPC PC_1"), "PCI bus of UPC PC_1");
}

TEST(SecretWordsTest, LeavesOutSeveralWords) {
    CSecretWords secrets;
    secrets.Hide("BENCH-07");
    secrets.Hide("1320523000001");
    secrets.Hide("");
    EXPECT_EQ(secrets.Masked("bench-07: GPU 1320523000001"), "(masked): GPU (masked)");
}

TEST(SecretWordsTest, TakesBytesBeyondAsciiForLetters) {
    CSecretWords secrets;
    secrets.Hide("b\xC3\xBCro");
    EXPECT_EQ(secrets.Masked("das b\xC3\xBCro"), "das (masked)");
    secrets.Hide("ro");
    EXPECT_EQ(secrets.Masked("B\xC3\xBCrot \xC3\xBCro"), "B\xC3\xBCrot \xC3\xBCro");
}

}  // namespace
}  // namespace zorvane
