// Threads and the threads that run many tasks: start, names, priorities,
// blocking, suspension, their end, and the processors they run on.
#include "Sys/Sys_Thread.h"
#include "Sys/Posix/Sys_ThreadPosix.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_MultiTaskThread.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <mutex>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using vfltest::BlockOn;
using vfltest::Eventually;
using vfltest::kFinalStates;
using vfltest::ScriptedTask;
using vfltest::WaitersOn;

std::string ReadFile(char const* path)
{
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The nice value of the calling thread, field 19 of its stat line.
int NiceOfThisThread()
{
    std::string const stat = ReadFile("/proc/thread-self/stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string field;
    for (int i = 3; i <= 19; ++i)
        fields >> field;
    return std::stoi(field);
}

// Runs step as a task on a new thread, set up by prepare before it starts,
// and waits until the task is final. The thread starts suspended, as asked,
// and knows itself as the current one, which the test's thread is not.
void RunOnThread(ScriptedTask::Step const& step, std::function<void(Sys_Thread&)> const& prepare)
{
    EXPECT_FALSE(Sys_Thread::GetCurrentThread());
    Sys_Thread* current = nullptr;
    auto task = ScriptedTask::Make(
        [&](ScriptedTask& self)
        {
            current = Sys_Thread::GetCurrentThread().Get();
            return step(self);
        });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Handle thread = Sys_Thread::Create(task, true);
    EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadSuspended);
    EXPECT_EQ(task->Slices(), 0);
    prepare(*thread);
    thread->Resume();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(current, thread.Get());
}

TEST(Sys_Thread, TheSystemSeesTheNameCutTo15CharactersAndPrioritiesAsNiceValues)
{
    for (std::string const name : {"short", "exactly 15 char", "FF_AudioProcess: Driver Thread"})
    {
        SCOPED_TRACE(name);
        std::string comm;
        RunOnThread(
            [&](ScriptedTask&)
            {
                comm = ReadFile("/proc/thread-self/comm");
                return Sys_Task::kResultCompleted;
            },
            [&](Sys_Thread& thread) { thread.SetName(name); });
        EXPECT_EQ(comm, name.substr(0, 15) + "\n");
    }

    // Priorities become nice values, and a refused raise is ignored.
    int const processNice = NiceOfThisThread();
    int const offsets[] = {19, 10, 5, 0, -5, -10, -20};
    for (int priority = Sys_Thread::kPriorityIdle; priority <= Sys_Thread::kPriorityTimeCritical; ++priority)
    {
        SCOPED_TRACE(priority);
        auto const p = static_cast<Sys_Thread::EPriority>(priority);
        EXPECT_EQ(Sys_ThreadPosix::NiceOffsetOf(p), offsets[priority]);
        int nice = 99;
        RunOnThread(
            [&](ScriptedTask&)
            {
                nice = NiceOfThisThread();
                return Sys_Task::kResultCompleted;
            },
            [&](Sys_Thread& thread) { thread.SetPriority(p); });
        int const wanted = std::clamp(processNice + offsets[priority], -20, 19);
        // A raise is granted or refused, as the privileges of the test allow.
        EXPECT_TRUE(nice == wanted || (wanted < processNice && nice == processNice)) << nice;
    }
}

TEST(Sys_Thread, BlockRegistersAndTheLoopWaitsAfterTheSlice)
{
    Sys_Event::Handle a = Sys_Event::Create(0);
    Sys_Event::Handle b = Sys_Event::Create(0);
    auto task = ScriptedTask::Make(
        [&](ScriptedTask& self)
        {
            switch (self.Slices())
            {
            case 1: return BlockOn(a);
            case 2:
                Sys_Thread::GetCurrentThread()->Block({a, b}, Sys_SyncObject::kWaitForAll);
                EXPECT_EQ(WaitersOn(*a), 0u); // registered, not waiting yet
                return Sys_Task::kResultBlocked;
            default: return Sys_Task::kResultCompleted;
            }
        });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*a) == 1; }));
    EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusBlocked);
    a->Set();
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*b) == 1; }));
    b->Set();
    EXPECT_EQ(task->Slices(), 2);
    a->Set();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
}

// What reaches the end of a thread's loop goes to the fatal handler, and
// the thread ends.
TEST(Sys_Thread, AFailureOfTheLoopEndsTheThreadThroughTheFatalHandler)
{
    static std::mutex sLock;
    static std::exception_ptr sFailure;
    Sys_Thread::SetFatalExceptionMethod(
        [](Sys_Thread*, std::exception_ptr failure)
        {
            std::lock_guard<std::mutex> lock(sLock);
            sFailure = failure;
        });
    struct Case
    {
        char const* name;
        ScriptedTask::Step step;
        int32 err; // -1: not a system error
    };
    Case const cases[] = {
        {"blocked without Block", [](ScriptedTask&) { return Sys_Task::kResultBlocked; }, EINVAL},
        {"ready on a plain thread", [](ScriptedTask&) { return Sys_Task::kResultReady; }, EINVAL},
        {"not a standard exception", [](ScriptedTask&) -> Sys_Task::EResult { throw 3; }, -1},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Thread::Handle thread = Sys_Thread::Create(ScriptedTask::Make(c.step), false);
        ASSERT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
        std::lock_guard<std::mutex> lock(sLock);
        ASSERT_TRUE(sFailure != nullptr);
        EXPECT_EQ(vfltest::SystemErrorOf([] { std::rethrow_exception(sFailure); }), c.err);
        sFailure = nullptr;
    }
    Sys_Thread::SetFatalExceptionMethod(nullptr);
}

TEST(Sys_Thread, SuspendTakesEffectBetweenRounds)
{
    Sys_Event::Handle go = Sys_Event::Create(0);
    Sys_Event::Handle sliced = Sys_Event::Create(0);
    auto task = ScriptedTask::Make(
        [&](ScriptedTask& self)
        {
            sliced->Set();
            return self.Slices() == 2 ? Sys_Task::kResultCompleted : BlockOn(go);
        });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_EQ(sliced->Wait(), Sys_SyncObject::kWaitSignalled);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*go) == 1; }));
    thread->Suspend();
    EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadSuspended);
    go->Set(); // ends the wait under way, but no round follows
    EXPECT_EQ(sliced->Wait(50), Sys_SyncObject::kWaitTimedOut);
    EXPECT_EQ(task->Slices(), 1);
    thread->Resume();
    EXPECT_EQ(sliced->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
}

TEST(Sys_Thread, AThreadOutlivesTheHandleOfItsCreatorAndEnds)
{
    Sys_Event::Handle go = Sys_Event::Create(0);
    std::string id;
    auto task = ScriptedTask::Make(
        [&](ScriptedTask& self)
        {
            id = vfltest::IdOfThisThread();
            return self.Slices() == 2 ? Sys_Task::kResultCompleted : BlockOn(go);
        });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*go) == 1; }));
    go->Set();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_TRUE(Eventually([&] { return !vfltest::ThreadExists(id); }));
}

// The processors a thread may run on.
std::string AllowedProcessors(std::string const& threadId)
{
    std::ifstream status("/proc/self/task/" + threadId + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("Cpus_allowed_list:", 0) == 0)
            return line.substr(line.find_first_not_of(" \t", 18));
    return "";
}

// A thread kept with its caller runs on one processor, and afterwards again
// on every processor it had before.
TEST(Sys_Thread, KeptWithTheCallerOnOneProcessorThenGivenBackWhatItHad)
{
    Sys_Init::Init();
    std::string id;
    std::atomic<bool> started{false};
    Sys_Event::Handle release = Sys_Event::Create(Sys_Event::kEventManualReset);
    auto task = ScriptedTask::Make(
        [&](ScriptedTask& self)
        {
            if (self.Slices() == 1)
            {
                id = vfltest::IdOfThisThread();
                started = true;
                return BlockOn(release);
            }
            return Sys_Task::kResultCompleted;
        });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return started.load(); }));
    std::string const before = AllowedProcessors(id);
    ASSERT_FALSE(before.empty());

    thread->StayWithCaller(true);
    std::string const kept = AllowedProcessors(id);
    EXPECT_EQ(kept.find_first_of(",-"), std::string::npos) << kept; // one processor
    thread->StayWithCaller(false);
    EXPECT_EQ(AllowedProcessors(id), before);

    release->Set();
    EXPECT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
}

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
