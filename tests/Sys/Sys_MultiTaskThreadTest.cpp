#include "Sys/Sys_MultiTaskThread.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using vfltest::BlockOn;
using vfltest::Eventually;
using vfltest::kFinalStates;
using vfltest::ScriptedTask;

TEST(Sys_MultiTaskThread, EndsOnceNobodyHoldsItAndTheQueueIsEmpty)
{
    std::string id;
    {
        Sys_MultiTaskThread::Handle thread = Sys_MultiTaskThread::Create();
        auto task = ScriptedTask::Make(
            [&](ScriptedTask&)
            {
                id = vfltest::IdOfThisThread();
                return Sys_Task::kResultCompleted;
            });
        Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
        thread->AddTask(task, 0);
        EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
        EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadRunning);
    }
    // Found at the latest when its one-second wait runs out.
    EXPECT_TRUE(Eventually([&] { return !vfltest::ThreadExists(id); }));
}

// The hop of every block of a process chain: a task on one thread hands
// work to a task on another, which hands it back.
TEST(Sys_MultiTaskThread, TasksHandWorkBackAndForthBetweenTwoThreads)
{
    constexpr int kHops = 200;
    Sys_MultiTaskThread::Handle threads[2] = {Sys_MultiTaskThread::Create(), Sys_MultiTaskThread::Create()};
    ScriptedTask::Handle tasks[2];
    std::atomic<int> hops{0};
    for (int i = 0; i < 2; ++i)
        tasks[i] = ScriptedTask::Make(
            [&, other = 1 - i](ScriptedTask&)
            {
                if (++hops == kHops)
                    return Sys_Task::kResultCompleted;
                threads[other]->AddTask(tasks[other], 0);
                return Sys_Task::kResultReady;
            });
    Sys_Event::HandleList done{tasks[0]->GetNotificationEvent(Sys_Task::kStatusCompleted),
                               tasks[1]->GetNotificationEvent(Sys_Task::kStatusCompleted)};
    threads[0]->AddTask(tasks[0], 0);
    EXPECT_EQ(Sys_Event::WaitForMultipleEvents(done, Sys_SyncObject::kWaitForAny), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(tasks[0]->Slices() + tasks[1]->Slices(), kHops);
    tasks[0] = tasks[1] = nullptr; // the tasks hold each other through the captured array
}

// Thousands of tasks over four threads: slices that requeue, block on a
// shared pool, fail or complete, and aborts from outside at random. Every
// task must end in a final state.
TEST(Sys_MultiTaskThread, StressEveryTaskEndsInAFinalState)
{
    constexpr int kThreads = 4;
    constexpr int kTasks = 4000;
    std::vector<Sys_MultiTaskThread::Handle> threads;
    std::vector<std::string> ids(kThreads);
    for (int i = 0; i < kThreads; ++i)
        threads.push_back(Sys_MultiTaskThread::Create());
    Sys_Semaphore::Handle pool = Sys_Semaphore::Create(0, 1 << 30);

    std::mt19937 random(7);
    std::vector<ScriptedTask::Handle> tasks;
    Sys_Event::HandleList done;
    for (int i = 0; i < kTasks; ++i)
    {
        int const home = static_cast<int>(random() % kThreads);
        int const slices = 1 + static_cast<int>(random() % 6);
        bool const fails = random() % 4 == 0;
        tasks.push_back(ScriptedTask::Make(
            [=, &threads, &ids, &pool](ScriptedTask& self)
            {
                ids[home] = vfltest::IdOfThisThread();
                if (self.IsAbortRequested())
                    return Sys_Task::kResultAborted;
                if (self.Slices() >= slices)
                    return fails ? throw std::runtime_error("planned") : Sys_Task::kResultCompleted;
                if ((self.Slices() + home) % 2 == 0)
                    return BlockOn(pool);
                // Back on its own thread, which is busy with this slice until it is over.
                threads[home]->AddTask(Sys_Task::Handle(&self), self.Slices() % 3);
                return Sys_Task::kResultReady;
            }));
        done.push_back(tasks.back()->GetNotificationEvent(kFinalStates));
        threads[home]->AddTask(tasks.back(), 0);
    }

    for (int finished = 0, i = 0; finished < kTasks; ++i)
    {
        pool->Release(4);
        tasks[random() % kTasks]->Abort();
        while (finished < kTasks && done[finished]->Wait(i % 8 == 0 ? 1 : 0) == Sys_SyncObject::kWaitSignalled)
            ++finished;
        ASSERT_LT(i, 10000000) << "tasks never finished";
    }
    int counts[3] = {};
    for (auto const& task : tasks)
    {
        Sys_Task::EStatus const status = task->GetStatus();
        ASSERT_NE(status & kFinalStates, 0) << status;
        ++counts[status == Sys_Task::kStatusAborted ? 0 : status == Sys_Task::kStatusFailed ? 1 : 2];
    }
    EXPECT_GT(counts[0], 0);
    EXPECT_GT(counts[1], 0);
    EXPECT_GT(counts[2], 0);

    tasks.clear();
    threads.clear();
    for (std::string const& id : ids)
        EXPECT_TRUE(Eventually([&] { return !vfltest::ThreadExists(id); }));
}

} // namespace
