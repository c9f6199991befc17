#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_MultiTaskThread.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vfltest::Eventually;
using vfltest::IdOfThisThread;
using vfltest::ScriptedTask;
using vfltest::ThreadExists;
using vfltest::ThreadsOfProcess;
using vfltest::WaitersOn;

constexpr int32 kFinalStates = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

TEST(Sys_MultiTaskThread, RunsQueuedTasksByPriorityThenAge)
{
    Sys_MultiTaskThread::Handle thread = Sys_MultiTaskThread::Create();
    // A first task holds the thread in its wait while the others are queued.
    Sys_Event::Handle go = Sys_Event::Create(0);
    std::mutex lock;
    std::string order;
    auto blocker = ScriptedTask::Make([&](ScriptedTask& self) {
        if (self.Slices() == 2)
            return Sys_Task::kResultCompleted;
        Sys_Thread::GetCurrentThread()->Block(go);
        return Sys_Task::kResultBlocked;
    });
    thread->AddTask(blocker, 100);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*go) == 1; }));

    std::vector<Sys_Event::Handle> done;
    for (auto [name, priority] : {std::pair{'a', 0}, {'b', 1}, {'c', 0}, {'d', 2}, {'e', 1}})
    {
        auto task = ScriptedTask::Make([&, name](ScriptedTask&) {
            std::lock_guard<std::mutex> guard(lock);
            order += name;
            return Sys_Task::kResultCompleted;
        });
        done.push_back(task->GetNotificationEvent(kFinalStates));
        thread->AddTask(task, priority);
    }
    go->Set();
    EXPECT_EQ(Sys_Event::WaitForMultipleEvents(done, Sys_SyncObject::kWaitForAll), Sys_SyncObject::kWaitSignalled);
    std::lock_guard<std::mutex> guard(lock);
    EXPECT_EQ(order, "dbeac");
}

TEST(Sys_MultiTaskThread, EndsOnceNobodyHoldsItAndTheQueueIsEmpty)
{
    std::string id;
    {
        Sys_MultiTaskThread::Handle thread = Sys_MultiTaskThread::Create();
        auto task = ScriptedTask::Make([&](ScriptedTask&) {
            id = IdOfThisThread();
            return Sys_Task::kResultCompleted;
        });
        Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
        thread->AddTask(task, 0);
        EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
        EXPECT_TRUE(ThreadExists(id));
    }
    // Found at the latest when its one-second wait runs out.
    EXPECT_TRUE(Eventually([&] { return !ThreadExists(id); }));
}

TEST(Sys_MultiTaskThread, KeepsRunningWhileHeldWithAnEmptyQueue)
{
    Sys_MultiTaskThread::Handle thread = Sys_MultiTaskThread::Create();
    for (int round = 0; round < 3; ++round)
    {
        auto task = ScriptedTask::Make([](ScriptedTask&) { return Sys_Task::kResultCompleted; });
        Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
        thread->AddTask(task, 0);
        EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
        EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadRunning);
    }
}

TEST(Sys_MultiTaskThread, AFailureOnTheThreadIsThrownAgainByTheOwner)
{
    Sys_MultiTaskThread::Handle thread = Sys_MultiTaskThread::Create();
    auto task = ScriptedTask::Make([](ScriptedTask&) -> Sys_Task::EResult { throw std::logic_error("on the thread"); });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    thread->AddTask(task, 0);
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    ASSERT_EQ(task->GetStatus(), Sys_Task::kStatusFailed);
    try
    {
        task->GetException()->Throw();
    }
    catch (Cmn_TypedException<Cmn_TStringXData> const& e)
    {
        EXPECT_TRUE(e.GetCode() == XC_Cmn_ANSIexception);
        EXPECT_EQ(e.GetData().GetString(), "on the thread");
        return;
    }
    ADD_FAILURE() << "not thrown with its type";
}

// The hop of every block of a process chain: a task on one thread hands
// work to a task on another, which hands it back.
TEST(Sys_MultiTaskThread, TasksHandWorkBackAndForthBetweenTwoThreads)
{
    constexpr int kHops = 200;
    Sys_MultiTaskThread::Handle left = Sys_MultiTaskThread::Create();
    Sys_MultiTaskThread::Handle right = Sys_MultiTaskThread::Create();
    std::atomic<int> hops{0};
    ScriptedTask::Handle ping, pong;
    auto step = [&](Sys_MultiTaskThread::Handle& other, ScriptedTask::Handle& partner) {
        return [&](ScriptedTask&) {
            if (++hops >= kHops)
                return Sys_Task::kResultCompleted;
            other->AddTask(partner, 0);
            return Sys_Task::kResultReady;
        };
    };
    ping = ScriptedTask::Make(step(right, pong));
    pong = ScriptedTask::Make(step(left, ping));
    Sys_Event::Handle pingDone = ping->GetNotificationEvent(Sys_Task::kStatusCompleted);
    Sys_Event::Handle pongDone = pong->GetNotificationEvent(Sys_Task::kStatusCompleted);
    left->AddTask(ping, 0);
    EXPECT_EQ(Sys_Event::WaitForMultipleEvents({pingDone, pongDone}, Sys_SyncObject::kWaitForAny),
              Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(hops.load(), kHops);
    EXPECT_EQ(ping->Slices() + pong->Slices(), kHops);
    // Break the cycle of handles between the two tasks.
    ping = nullptr;
    pong = nullptr;
}

// Thousands of tasks over four threads: slices that requeue, block on a
// shared pool, fail or complete, and aborts from outside at random. Every
// task must end in a final state.
TEST(Sys_MultiTaskThread, StressEveryTaskEndsInAFinalState)
{
    constexpr int kThreads = 4;
    constexpr int kTasks = 4000;
    std::vector<Sys_MultiTaskThread::Handle> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.push_back(Sys_MultiTaskThread::Create());
    Sys_Semaphore::Handle pool = Sys_Semaphore::Create(0, 1 << 30);

    std::mt19937 random(7);
    std::vector<ScriptedTask::Handle> tasks;
    std::vector<Sys_Event::Handle> done;
    for (int i = 0; i < kTasks; ++i)
    {
        Sys_MultiTaskThread* home = threads[random() % kThreads].Get();
        int const slices = 1 + static_cast<int>(random() % 6);
        int const kind = static_cast<int>(random() % 4);
        tasks.push_back(ScriptedTask::Make([=, &pool](ScriptedTask& self) {
            if (self.IsAbortRequested())
                return Sys_Task::kResultAborted;
            if (self.Slices() >= slices)
            {
                if (kind == 0)
                    throw std::runtime_error("planned failure");
                return Sys_Task::kResultCompleted;
            }
            if (self.Slices() % 2 == kind % 2)
            {
                Sys_Thread::GetCurrentThread()->Block(pool);
                return Sys_Task::kResultBlocked;
            }
            // Put back on its own thread, which is busy with this slice
            // until the slice is over.
            home->AddTask(Sys_Task::Handle(&self), static_cast<int32>(self.Slices() % 3));
            return Sys_Task::kResultReady;
        }));
        done.push_back(tasks.back()->GetNotificationEvent(kFinalStates));
        home->AddTask(tasks.back(), 0);
    }

    int finished = 0;
    for (int i = 0; finished < kTasks; ++i)
    {
        pool->Release(4);
        tasks[random() % kTasks]->Abort();
        while (finished < kTasks && done[finished]->Wait(i % 8 == 0 ? 1 : 0) == Sys_SyncObject::kWaitSignalled)
            ++finished;
        ASSERT_LT(i, 2000000) << "tasks never finished";
    }

    int const final = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;
    int counts[3] = {};
    for (auto const& task : tasks)
    {
        Sys_Task::EStatus const status = task->GetStatus();
        ASSERT_NE(status & final, 0) << status;
        ++counts[status == Sys_Task::kStatusAborted ? 0 : status == Sys_Task::kStatusFailed ? 1 : 2];
        if (status == Sys_Task::kStatusFailed)
        {
            EXPECT_TRUE(task->GetException()->GetCode() == XC_Cmn_ANSIexception);
        }
    }
    EXPECT_GT(counts[0], 0);
    EXPECT_GT(counts[1], 0);
    EXPECT_GT(counts[2], 0);

    int const before = ThreadsOfProcess() - kThreads;
    threads.clear();
    EXPECT_TRUE(Eventually([&] { return ThreadsOfProcess() <= before; }));
}

} // namespace
