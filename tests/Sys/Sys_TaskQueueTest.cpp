#include "Sys/Sys_TaskQueue.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{

using vfltest::ScriptedTask;
using vfltest::StCountAsserts;

// Tasks that write their name into one log at each slice.
struct Log
{
    std::string order;

    ScriptedTask::Handle Task(char name, Sys_Task::EResult result = Sys_Task::kResultCompleted)
    {
        return ScriptedTask::Make(
            [this, name, result](ScriptedTask&)
            {
                order += name;
                return result;
            });
    }
    std::string Drain(Sys_TaskQueue& queue)
    {
        while (!queue.IsEmpty())
            queue.ExecTop();
        return order;
    }
};

TEST(Sys_TaskQueue, OrderIsPriorityThenAge)
{
    struct Case
    {
        std::vector<std::pair<char, int32>> added; // name and priority, in the order of AddTask
        char const* order;
        int32 top;
    };
    Case const cases[] = {
        {{{'a', 0}, {'b', 0}, {'c', 0}, {'d', 0}}, "abcd", 0},
        {{{'a', 0}, {'b', 1}}, "ba", 1},
        {{{'a', 0}, {'b', 5}, {'c', -3}, {'d', 5}, {'e', 0}, {'f', 7}}, "fbdaec", 7},
        {{{'a', 0}, {'b', INT32_MIN}, {'c', INT32_MAX}}, "cab", INT32_MAX},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.order);
        Sys_TaskQueue queue;
        Log log;
        for (auto const& [name, priority] : c.added)
            queue.AddTask(log.Task(name), priority);
        EXPECT_EQ(queue.PeekAtTopPriority(), c.top);
        EXPECT_EQ(log.Drain(queue), c.order);
        // Nothing left: asking for the top is an assertion.
        StCountAsserts asserts;
        queue.ExecTop();
        queue.PeekAtTopPriority();
        EXPECT_EQ(asserts.Failed(), 2);
    }
}

TEST(Sys_TaskQueue, BlockedAndRepeatingTasksKeepTheirPlace)
{
    Sys_TaskQueue queue;
    Log log;
    auto twoSlices = [&](char name, Sys_Task::EResult first)
    {
        return ScriptedTask::Make(
            [&log, name, first](ScriptedTask& self)
            {
                log.order += name;
                return self.Slices() == 1 ? first : Sys_Task::kResultCompleted;
            });
    };
    ScriptedTask::Handle blocked = twoSlices('x', Sys_Task::kResultBlocked);
    ScriptedTask::Handle repeat = twoSlices('r', Sys_Task::kResultRepeat);
    queue.AddTask(blocked, 0);
    queue.AddTask(repeat, 0);
    queue.AddTask(log.Task('a'), 0);
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusBlocked);
    queue.AddTask(log.Task('b'), 1);
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusCompleted);
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusCompleted); // x again, still ahead of r and a
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusRepeat);
    EXPECT_EQ(repeat->GetStatus(), Sys_Task::kStatusReady); // reset when it went back
    EXPECT_EQ(log.Drain(queue), "xbxrra");
}

TEST(Sys_TaskQueue, AReadyTaskLeavesTheQueueAndMayStandInItManyTimes)
{
    Sys_TaskQueue queue;
    Log log;
    ScriptedTask::Handle many = log.Task('t', Sys_Task::kResultReady);
    queue.AddTask(many, 0);
    queue.AddTask(log.Task('a'), 0);
    queue.AddTask(many, 0);
    queue.AddTask(many, 2);
    EXPECT_EQ(queue.GetQueueEvent()->Wait(0), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(log.Drain(queue), "ttat");
    EXPECT_EQ(many->GetStatus(), Sys_Task::kStatusReady);
}

} // namespace
