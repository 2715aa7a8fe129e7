#include "monitor/sources/startfacts.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(StartFactsTest, HaveTheEntryAsTheWorkerSendsItBack) {
    WorkerCommand worker;
    worker.entry = std::wstring(31, L'x') + L"more";
    EXPECT_EQ(MakeStart(worker).entry, std::string(31, 'x'));
    EXPECT_EQ(MakeStart(worker).toolVersion, ZORVANE_VERSION);
}

}  // namespace
}  // namespace zorvane
