// Foreign implementations of these interfaces rely on the order of the operations.
#include <gtest/gtest.h>

#include "src/process/iprocess.h"
#include "src/process/msgloopthread.h"
#include "src/process/thread.h"
#include "tests/support/virtualslot.h"

namespace {

// GCC uses two slots for a virtual destructor where other compilers use one.
constexpr size_t kDestructors = 2;

}  // namespace

TEST(Slots, OfTheHostBeginWithItsDestructor) {
    EXPECT_EQ(VirtualSlot(&IProcess::SendCopyData), kDestructors);
    EXPECT_EQ(VirtualSlot(&IProcess::GetEntry), kDestructors + 1);
    EXPECT_EQ(VirtualSlot(&IProcess::Run), kDestructors + 2);
    EXPECT_EQ(VirtualSlot(&IProcess::Quit), kDestructors + 3);
    EXPECT_EQ(VirtualSlot(&IProcess::WaitQuit), kDestructors + 4);
    EXPECT_EQ(VirtualSlot(&IProcess::SendData), kDestructors + 5);
}

TEST(Slots, OfAThreadBeginWithItsDestructor) {
    EXPECT_EQ(VirtualSlot(&CThread::Start), kDestructors);
    EXPECT_EQ(VirtualSlot(&CThread::ThreadMain), kDestructors + 1);
    EXPECT_EQ(VirtualSlot(&CThread::RequestStop), kDestructors + 2);
    EXPECT_EQ(VirtualSlot(&CThread::Stop), kDestructors + 3);
    EXPECT_EQ(VirtualSlot(&CThread::ResetStop), kDestructors + 4);
}

TEST(Slots, OfAWindowHaveTheDestructorBehindTheMessageMap) {
    EXPECT_EQ(VirtualSlot(&CWindowBase::ProcessWindowMessage), 0u);
    EXPECT_EQ(VirtualSlot(&CWindowBase::GetWindowProc), 1 + kDestructors);
    EXPECT_EQ(VirtualSlot(&CWindowBase::OnFinalMessage), 2 + kDestructors);
    EXPECT_EQ(VirtualSlot(&CMsgLoopThread::OnClose), 3 + kDestructors);
}
