#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_ThreadPosix.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Thread.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <string>

namespace {

using vfltest::Eventually;
using vfltest::ScriptedTask;
using vfltest::ThreadExists;
using vfltest::ThreadsOfProcess;
using vfltest::IdOfThisThread;
using vfltest::WaitersOn;

constexpr int32 kFinalStates = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

std::string ReadFile(char const* path)
{
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The nice value of the calling thread, from the kernel's view of it.
int NiceOfThisThread()
{
    std::string const stat = ReadFile("/proc/thread-self/stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string field;
    for (int i = 3; i <= 19; ++i)
        fields >> field;
    return std::stoi(field);
}

// Records what reaches the end of a thread's loop while installed.
class StRecordFatal
{
public:
    StRecordFatal() { Sys_Thread::SetFatalExceptionMethod(&Record); }
    ~StRecordFatal()
    {
        Sys_Thread::SetFatalExceptionMethod(nullptr);
        std::lock_guard<std::mutex> lock(sLock);
        sFailure = nullptr;
        sThread = nullptr;
    }
    std::exception_ptr Failure() const
    {
        std::lock_guard<std::mutex> lock(sLock);
        return sFailure;
    }
    Sys_Thread* Thread() const
    {
        std::lock_guard<std::mutex> lock(sLock);
        return sThread;
    }

private:
    static void Record(Sys_Thread* thread, std::exception_ptr failure)
    {
        std::lock_guard<std::mutex> lock(sLock);
        sThread = thread;
        sFailure = failure;
    }
    static inline std::mutex sLock;
    static inline std::exception_ptr sFailure;
    static inline Sys_Thread* sThread = nullptr;
};

int32 ErrnoOf(std::exception_ptr failure)
{
    try
    {
        std::rethrow_exception(failure);
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        return e.GetData().GetErr();
    }
    catch (...)
    {
    }
    return 0;
}

TEST(Sys_Thread, ASuspendedStartRunsNothingUntilResume)
{
    int const before = ThreadsOfProcess();
    auto task = ScriptedTask::Make([](ScriptedTask&) { return Sys_Task::kResultCompleted; });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Handle thread = Sys_Thread::Create(task, true);
    EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadSuspended);
    EXPECT_LE(ThreadsOfProcess(), before);
    thread->Resume();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusCompleted);
    EXPECT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
    EXPECT_EQ(task->Slices(), 1);
}

TEST(Sys_Thread, GetCurrentThreadKnowsOnlyItsOwnThreads)
{
    EXPECT_FALSE(Sys_Thread::GetCurrentThread());
    Sys_Thread* seen = nullptr;
    auto task = ScriptedTask::Make([&](ScriptedTask&) {
        seen = Sys_Thread::GetCurrentThread().Get();
        return Sys_Task::kResultCompleted;
    });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
    EXPECT_EQ(seen, thread.Get());
}

TEST(Sys_Thread, TheSystemSeesTheNameCutTo15Characters)
{
    struct Case
    {
        char const* name;
        bool beforeStart;
        char const* systemName;
    };
    Case const cases[] = {
        {"short", true, "short"},
        {"exactly 15 char", true, "exactly 15 char"},
        {"FF_AudioProcess: Driver Thread", true, "FF_AudioProcess"},
        {"FF_AudioProcess: Filter thread", false, "FF_AudioProcess"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Event::Handle named = Sys_Event::Create(0);
        std::string comm;
        auto task = ScriptedTask::Make([&](ScriptedTask& self) {
            if (self.Slices() == 1)
            {
                Sys_Thread::GetCurrentThread()->Block(named);
                return Sys_Task::kResultBlocked;
            }
            comm = ReadFile("/proc/thread-self/comm");
            return Sys_Task::kResultCompleted;
        });
        Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
        Sys_Thread::Handle thread = Sys_Thread::Create(task, true);
        if (c.beforeStart)
            thread->SetName(c.name);
        thread->Resume();
        if (!c.beforeStart)
            thread->SetName(c.name);
        named->Set();
        EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
        EXPECT_EQ(comm, std::string(c.systemName) + "\n");
        EXPECT_EQ(thread->GetName(), c.name);
    }
}

TEST(Sys_Thread, BlockRegistersAndTheLoopWaitsAfterTheSlice)
{
    Sys_Event::Handle a = Sys_Event::Create(0);
    Sys_Event::Handle b = Sys_Event::Create(0);
    std::atomic<bool> insideSlice{false};
    auto task = ScriptedTask::Make([&](ScriptedTask& self) {
        insideSlice = true;
        Sys_Thread::Handle current = Sys_Thread::GetCurrentThread();
        Sys_Task::EResult result = Sys_Task::kResultBlocked;
        if (self.Slices() == 1)
            current->Block(a);
        else if (self.Slices() == 2)
            current->Block({a, b}, Sys_SyncObject::kWaitForAll);
        else
            result = Sys_Task::kResultCompleted;
        // Block has not waited: nobody waits on a yet.
        EXPECT_EQ(WaitersOn(*a), 0u);
        insideSlice = false;
        return result;
    });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);

    ASSERT_TRUE(Eventually([&] { return WaitersOn(*a) == 1; }));
    EXPECT_FALSE(insideSlice.load());
    EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusBlocked);
    a->Set();
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*b) == 1; }));
    b->Set();
    EXPECT_EQ(task->Slices(), 2);
    a->Set();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(task->Slices(), 3);
}

TEST(Sys_Thread, ARoundWithNothingToWaitForEndsTheThreadThroughTheFatalHandler)
{
    struct Case
    {
        char const* name;
        Sys_Task::EResult result;
    };
    Case const cases[] = {
        {"blocked without Block", Sys_Task::kResultBlocked},
        {"ready on a plain thread", Sys_Task::kResultReady},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        StRecordFatal fatal;
        auto task = ScriptedTask::Make([&](ScriptedTask&) { return c.result; });
        Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
        ASSERT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
        EXPECT_EQ(fatal.Thread(), thread.Get());
        EXPECT_EQ(ErrnoOf(fatal.Failure()), EINVAL);
        EXPECT_EQ(task->Slices(), 1);
    }
}

TEST(Sys_Thread, AnObjectOutsideTheStandardHierarchyEndsTheThreadThroughTheFatalHandler)
{
    StRecordFatal fatal;
    auto task = ScriptedTask::Make([](ScriptedTask&) -> Sys_Task::EResult { throw 3; });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
    EXPECT_THROW(std::rethrow_exception(fatal.Failure()), int);
}

TEST(Sys_Thread, SuspendTakesEffectBetweenRounds)
{
    Sys_Event::Handle go = Sys_Event::Create(0);
    Sys_Event::Handle sliced = Sys_Event::Create(0);
    auto task = ScriptedTask::Make([&](ScriptedTask& self) {
        sliced->Set();
        if (self.Slices() == 3)
            return Sys_Task::kResultCompleted;
        Sys_Thread::GetCurrentThread()->Block(go);
        return Sys_Task::kResultBlocked;
    });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_EQ(sliced->Wait(), Sys_SyncObject::kWaitSignalled);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*go) == 1; }));

    thread->Suspend();
    EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadSuspended);
    go->Set();
    // The wait under way ends, but the next round does not start.
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*go) == 0 && go->Wait(0) == Sys_SyncObject::kWaitTimedOut; }));
    EXPECT_EQ(sliced->Wait(50), Sys_SyncObject::kWaitTimedOut);
    EXPECT_EQ(task->Slices(), 1);

    thread->Resume();
    EXPECT_EQ(thread->GetStatus(), Sys_Thread::kThreadRunning);
    ASSERT_EQ(sliced->Wait(), Sys_SyncObject::kWaitSignalled);
    go->Set();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(task->Slices(), 3);
}

TEST(Sys_Thread, PrioritiesBecomeNiceValuesAndARefusedRaiseIsIgnored)
{
    int const processNice = NiceOfThisThread();
    struct Case
    {
        Sys_Thread::EPriority priority;
        int offset;
    };
    Case const cases[] = {
        {Sys_Thread::kPriorityIdle, 19},        {Sys_Thread::kPriorityLowest, 10},
        {Sys_Thread::kPriorityBelowNormal, 5},  {Sys_Thread::kPriorityNormal, 0},
        {Sys_Thread::kPriorityAboveNormal, -5}, {Sys_Thread::kPriorityHighest, -10},
        {Sys_Thread::kPriorityTimeCritical, -20},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.priority);
        EXPECT_EQ(Sys_ThreadPosix::NiceOffsetOf(c.priority), c.offset);
        int nice = 99;
        auto task = ScriptedTask::Make([&](ScriptedTask&) {
            nice = NiceOfThisThread();
            return Sys_Task::kResultCompleted;
        });
        Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
        Sys_Thread::Handle thread = Sys_Thread::Create(task, true);
        thread->SetPriority(c.priority);
        thread->Resume();
        EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
        int const wanted = std::clamp(processNice + c.offset, -20, 19);
        if (wanted >= processNice)
            EXPECT_EQ(nice, wanted);
        else // a raise: granted or refused, depending on the privileges of the test
            EXPECT_TRUE(nice == wanted || nice == processNice) << nice;
    }
}

TEST(Sys_Thread, AThreadWithoutATaskFinishesInItsFirstRound)
{
    Sys_Thread::Handle thread = Sys_Thread::Create(nullptr, false);
    EXPECT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
}

TEST(Sys_Thread, AThreadOutlivesTheHandleOfItsCreatorAndEnds)
{
    Sys_Event::Handle go = Sys_Event::Create(0);
    std::string id;
    auto task = ScriptedTask::Make([&](ScriptedTask& self) {
        id = IdOfThisThread();
        if (self.Slices() == 2)
            return Sys_Task::kResultCompleted;
        Sys_Thread::GetCurrentThread()->Block(go);
        return Sys_Task::kResultBlocked;
    });
    Sys_Event::Handle done = task->GetNotificationEvent(kFinalStates);
    Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*go) == 1; }));
    go->Set();
    EXPECT_EQ(done->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_TRUE(Eventually([&] { return !ThreadExists(id); }));
}

} // namespace
