#include "monitor/doctor/pendinganswer.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace zorvane {
namespace {

TEST(PendingAnswerTest, AnswerComesFromAnotherThread) {
    CPendingAnswer<std::thread::id> question([] { return std::this_thread::get_id(); });
    const auto answer = question.Within(std::chrono::minutes(1));
    ASSERT_TRUE(answer);
    EXPECT_NE(*answer, std::this_thread::get_id());
}

TEST(PendingAnswerTest, WhatIsLateIsLeftToItself) {
    const auto release = std::make_shared<std::promise<void>>();
    const auto ended = std::make_shared<std::promise<void>>();
    {
        CPendingAnswer<int> question([release, ended] {
            release->get_future().wait();
            ended->set_value();
            return 1;
        });
        EXPECT_EQ(question.Within(std::chrono::milliseconds(0)), std::nullopt);
    }
    release->set_value();
    ended->get_future().wait();
}

}  // namespace
}  // namespace zorvane
