#include "Sys/Sys_TaskQueue.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using vfltest::ScriptedTask;
using vfltest::StCountAsserts;

// Tasks that write their name into a shared log at each slice.
struct Log
{
    std::string order;

    ScriptedTask::Handle Task(char name, Sys_Task::EResult result = Sys_Task::kResultCompleted)
    {
        return ScriptedTask::Make([this, name, result](ScriptedTask&) {
            order += name;
            return result;
        });
    }
};

std::string Drain(Sys_TaskQueue& queue, Log const& log)
{
    while (!queue.IsEmpty())
        queue.ExecTop();
    return log.order;
}

TEST(Sys_TaskQueue, OrderIsPriorityThenAge)
{
    struct Case
    {
        char const* name;
        std::vector<std::pair<char, int32>> added; // name and priority, in order of AddTask
        char const* order;
        int32 top;
    };
    Case const cases[] = {
        {"equal priorities in order of adding", {{'a', 0}, {'b', 0}, {'c', 0}, {'d', 0}}, "abcd", 0},
        {"higher priority first, even when added later", {{'a', 0}, {'b', 1}}, "ba", 1},
        {"mixed", {{'a', 0}, {'b', 5}, {'c', -3}, {'d', 5}, {'e', 0}, {'f', 7}}, "fbdaec", 7},
        {"extreme priorities", {{'a', 0}, {'b', INT32_MIN}, {'c', INT32_MAX}}, "cab", INT32_MAX},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_TaskQueue queue;
        Log log;
        for (auto const& [name, priority] : c.added)
            queue.AddTask(log.Task(name), priority);
        EXPECT_EQ(queue.PeekAtTopPriority(), c.top);
        EXPECT_EQ(Drain(queue, log), c.order);
    }
}

TEST(Sys_TaskQueue, ABlockedTaskKeepsItsPlace)
{
    Sys_TaskQueue queue;
    Log log;
    auto blocker = ScriptedTask::Make([&](ScriptedTask& self) {
        log.order += 'x';
        return self.Slices() < 3 ? Sys_Task::kResultBlocked : Sys_Task::kResultCompleted;
    });
    queue.AddTask(blocker, 0);
    queue.AddTask(log.Task('a'), 0);
    // Comes back after its slice with its old sequence number, so still
    // ahead of 'a', which was added after it.
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusBlocked);
    queue.AddTask(log.Task('b'), 1);
    EXPECT_EQ(Drain(queue, log), "xbxxa");
}

TEST(Sys_TaskQueue, ARepeatingTaskIsResetAndKeepsItsPlace)
{
    Sys_TaskQueue queue;
    Log log;
    auto repeater = ScriptedTask::Make([&](ScriptedTask& self) {
        log.order += 'r';
        return self.Slices() < 2 ? Sys_Task::kResultRepeat : Sys_Task::kResultCompleted;
    });
    queue.AddTask(repeater, 0);
    queue.AddTask(log.Task('a'), 0);
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusRepeat);
    EXPECT_EQ(repeater->GetStatus(), Sys_Task::kStatusReady);
    EXPECT_EQ(Drain(queue, log), "rra");
}

TEST(Sys_TaskQueue, AReadyTaskLeavesTheQueueAndMayStandInItManyTimes)
{
    Sys_TaskQueue queue;
    Log log;
    ScriptedTask::Handle twice = log.Task('t', Sys_Task::kResultReady);
    queue.AddTask(twice, 0);
    queue.AddTask(log.Task('a'), 0);
    queue.AddTask(twice, 0);
    queue.AddTask(twice, 2);
    EXPECT_EQ(Drain(queue, log), "ttat");
    EXPECT_EQ(twice->Slices(), 3);
    EXPECT_EQ(twice->GetStatus(), Sys_Task::kStatusReady);
}

TEST(Sys_TaskQueue, AddTaskSetsTheQueueEvent)
{
    Sys_TaskQueue queue;
    Log log;
    Sys_Event::Handle event = queue.GetQueueEvent();
    EXPECT_FALSE(event->IsSet());
    queue.AddTask(log.Task('a'), 0);
    queue.AddTask(log.Task('b'), 0);
    // Automatic reset: one pass for any number of tasks added.
    EXPECT_EQ(event->Wait(0), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(event->Wait(0), Sys_SyncObject::kWaitTimedOut);
}

TEST(Sys_TaskQueue, ExecTopAndPeekOnAnEmptyQueueAreAssertions)
{
    Sys_TaskQueue queue;
    StCountAsserts asserts;
    queue.ExecTop();
    queue.PeekAtTopPriority();
    EXPECT_EQ(asserts.Failed(), 2);
}

TEST(Sys_TaskQueue, QueuedTasksLiveAsLongAsTheyAreQueued)
{
    Sys_TaskQueue queue;
    Log log;
    ScriptedTask* raw = nullptr;
    {
        ScriptedTask::Handle task = log.Task('a');
        raw = task.Get();
        queue.AddTask(task, 0);
    }
    EXPECT_EQ(raw->GetRefCount(), 1);
    EXPECT_EQ(queue.ExecTop(), Sys_Task::kStatusCompleted);
    EXPECT_EQ(log.order, "a");
}

} // namespace
