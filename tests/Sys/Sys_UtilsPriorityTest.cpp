// The priority ladder of Sys_Utils starts from the priority a thread really
// has, also when its owner set it through Sys_Thread.
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_Thread.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

using vfltest::Eventually;
using vfltest::ScriptedTask;

TEST(Sys_UtilsPriority, LowerStartsFromThePrioritySetByTheThreadsOwner)
{
    std::atomic<int32> seen{99}, lowered{99};
    auto task = ScriptedTask::Make(
        [&](ScriptedTask&)
        {
            seen = Sys_UtilsPosix::GetThreadPriority();
            // Lowering needs no privilege, so this works for any user.
            Sys_UtilsPosix::LowerThreadPriority();
            lowered = Sys_UtilsPosix::GetThreadPriority();
            return Sys_Task::kResultCompleted;
        });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, true);
    thread->SetPriority(Sys_Thread::kPriorityBelowNormal);
    thread->Resume();
    ASSERT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
    // Below normal is the third step of the ladder, lowest the second.
    EXPECT_EQ(seen.load(), -1);
    EXPECT_EQ(lowered.load(), -2);
}
