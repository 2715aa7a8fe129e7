// Whoever stands in for one of these interfaces relies on the order of its operations.
#include <gtest/gtest.h>

#include <cstring>

#include "process/iprocess.h"
#include "process/msgloopthread.h"
#include "process/thread.h"

namespace {

// A pointer to a virtual member holds the place of its slot.
template <typename Member>
size_t Slot(Member member) {
    size_t offset = 0;
    std::memcpy(&offset, &member, sizeof(offset));
    return (offset - 1) / sizeof(void*);
}

// GCC keeps two destructors side by side where others keep one.
constexpr size_t kDestructors = 2;

}  // namespace

TEST(Slots, OfTheHostBeginWithItsDestructor) {
    EXPECT_EQ(Slot(&IProcess::SendCopyData), kDestructors);
    EXPECT_EQ(Slot(&IProcess::GetEntry), kDestructors + 1);
    EXPECT_EQ(Slot(&IProcess::Run), kDestructors + 2);
    EXPECT_EQ(Slot(&IProcess::Quit), kDestructors + 3);
    EXPECT_EQ(Slot(&IProcess::WaitQuit), kDestructors + 4);
    EXPECT_EQ(Slot(&IProcess::SendData), kDestructors + 5);
}

TEST(Slots, OfAThreadBeginWithItsDestructor) {
    EXPECT_EQ(Slot(&CThread::Start), kDestructors);
    EXPECT_EQ(Slot(&CThread::ThreadMain), kDestructors + 1);
    EXPECT_EQ(Slot(&CThread::RequestStop), kDestructors + 2);
    EXPECT_EQ(Slot(&CThread::Stop), kDestructors + 3);
    EXPECT_EQ(Slot(&CThread::ResetStop), kDestructors + 4);
}

TEST(Slots, OfAWindowHaveTheDestructorBehindTheMessageMap) {
    EXPECT_EQ(Slot(&CWindowBase::ProcessWindowMessage), 0u);
    EXPECT_EQ(Slot(&CWindowBase::GetWindowProc), 1 + kDestructors);
    EXPECT_EQ(Slot(&CWindowBase::OnFinalMessage), 2 + kDestructors);
    EXPECT_EQ(Slot(&CMsgLoopThread::OnClose), 3 + kDestructors);
}
