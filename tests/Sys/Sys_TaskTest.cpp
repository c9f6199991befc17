// Tasks: the status each slice leads to, aborts, notification events,
// failures, and the queue that orders them.
#include "Sys/Sys_Task.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_TaskQueue.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using vfltest::ScriptedTask;
using vfltest::StCountAsserts;
using S = Sys_Task;

// Every (status before the slice, result, abort requested) to the status after.
TEST(Sys_Task, TheResultOfASliceGivesTheNextStatus)
{
    struct Case
    {
        S::EResult result;
        bool abort;
        S::EStatus next;
    };
    Case const table[] = {
        {S::kResultCompleted, false, S::kStatusCompleted}, {S::kResultCompleted, true, S::kStatusCompleted},
        {S::kResultAborted, false, S::kStatusAborted},     {S::kResultAborted, true, S::kStatusAborted},
        {S::kResultRepeat, false, S::kStatusRepeat},       {S::kResultRepeat, true, S::kStatusAborted},
        {S::kResultReady, false, S::kStatusReady},         {S::kResultReady, true, S::kStatusAborted},
        {S::kResultBlocked, false, S::kStatusBlocked},     {S::kResultBlocked, true, S::kStatusBlocked},
    };
    for (bool fromBlocked : {false, true})
    {
        for (Case const& c : table)
        {
            SCOPED_TRACE(::testing::Message()
                         << "blocked " << fromBlocked << ", result " << c.result << ", abort " << c.abort);
            // From ready the abort comes during the slice; from blocked it
            // comes between the slices, and leaves a blocked task blocked.
            auto task = ScriptedTask::Make(
                [&](ScriptedTask& self)
                {
                    if (fromBlocked && self.Slices() == 1)
                        return S::kResultBlocked;
                    if (c.abort && !fromBlocked)
                        self.Abort();
                    return c.result;
                });
            if (fromBlocked)
            {
                ASSERT_EQ(task->Exec(), S::kStatusBlocked);
                if (c.abort)
                    task->Abort();
                EXPECT_EQ(task->GetStatus(), S::kStatusBlocked);
            }
            EXPECT_EQ(task->Exec(), c.next);
            EXPECT_EQ(task->Slices(), fromBlocked ? 2 : 1);
            EXPECT_EQ(task->AbortImpls(), c.abort ? 1 : 0);
        }
    }
}

TEST(Sys_Task, ExecOnAStatusThatMayNotRunRunsNothing)
{
    struct Case
    {
        char const* name;
        ScriptedTask::Step first; // the slice that leads there; none: Abort instead
        S::EStatus status;
        bool asserts;
    };
    Case const cases[] = {
        {"aborted before it started", nullptr, S::kStatusAborted, false},
        {"aborted by its result", [](ScriptedTask&) { return S::kResultAborted; }, S::kStatusAborted, false},
        {"failed", [](ScriptedTask&) -> S::EResult { throw std::runtime_error("x"); }, S::kStatusFailed, false},
        {"completed", [](ScriptedTask&) { return S::kResultCompleted; }, S::kStatusCompleted, true},
        {"waiting for Reset", [](ScriptedTask&) { return S::kResultRepeat; }, S::kStatusRepeat, true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        auto task = ScriptedTask::Make(c.first);
        if (c.first)
            task->Exec();
        else
            task->Abort();
        StCountAsserts asserts;
        EXPECT_EQ(task->Exec(), c.status);
        EXPECT_EQ(task->Slices(), c.first ? 1 : 0);
        EXPECT_EQ(asserts.Failed(), c.asserts ? 1 : 0);
    }
}

TEST(Sys_Task, AbortOfAReadyTaskAbortsAtOnceAndResetLeadsOnlyFromRepeatToReady)
{
    auto task = ScriptedTask::Make(nullptr);
    task->Abort();
    EXPECT_EQ(task->GetStatus(), S::kStatusAborted);
    EXPECT_FALSE(task->IsAbortRequested());
    // The cleared request lets a second Abort reach AbortImpl; that one
    // stays, and no further Abort does.
    task->Abort();
    task->Abort();
    EXPECT_EQ(task->AbortImpls(), 2);
    EXPECT_TRUE(task->IsAbortRequested());

    // Reset leads only from repeat to ready, and resets the events.
    auto repeating = ScriptedTask::Make([](ScriptedTask& self)
                                        { return self.Slices() == 1 ? S::kResultRepeat : S::kResultCompleted; });
    Sys_Event::Handle repeat = repeating->GetNotificationEvent(S::kStatusRepeat);
    StCountAsserts asserts;
    repeating->Reset();
    EXPECT_EQ(asserts.Failed(), 1);
    EXPECT_EQ(repeating->Exec(), S::kStatusRepeat);
    EXPECT_TRUE(repeat->IsSet());
    repeating->Reset();
    EXPECT_EQ(repeating->GetStatus(), S::kStatusReady);
    EXPECT_FALSE(repeat->IsSet());
    EXPECT_EQ(repeating->Exec(), S::kStatusCompleted);
    EXPECT_EQ(asserts.Failed(), 1);
}

TEST(Sys_Task, NotificationEventsFireOnTheirMasks)
{
    struct Case
    {
        int32 mask;
        S::EResult result;
        bool askAfterwards; // ask for the event only after the slice
        bool set;
    };
    Case const cases[] = {
        {S::kStatusCompleted, S::kResultCompleted, false, true},
        {S::kStatusCompleted, S::kResultCompleted, true, true},
        {vfltest::kFinalStates, S::kResultAborted, false, true},
        {S::kStatusAborted | S::kStatusFailed, S::kResultCompleted, false, false},
        {S::kStatusBlocked, S::kResultBlocked, false, true},
        {S::kStatusRepeat, S::kResultRepeat, false, true},
        {S::kStatusReady, S::kResultCompleted, false, true}, // already ready when asked
        {S::kStatusCompleted, S::kResultReady, true, false},
        {0, S::kResultCompleted, false, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(::testing::Message()
                     << "mask " << c.mask << ", result " << c.result << ", after " << c.askAfterwards);
        auto task = ScriptedTask::Make([&](ScriptedTask&) { return c.result; });
        Sys_Event::Handle event = c.askAfterwards ? nullptr : task->GetNotificationEvent(c.mask);
        task->Exec();
        if (c.askAfterwards)
            event = task->GetNotificationEvent(c.mask);
        EXPECT_EQ(event->IsSet(), c.set);
    }
}

TEST(Sys_Task, AFailureIsKeptAsACloneOfItsTypeThrownAgainOnAnotherThreadAndOthersAreWrapped)
{
    auto task =
        ScriptedTask::Make([](ScriptedTask&) -> S::EResult
                           { throw Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError, Sys_OSErrData(5)); });
    std::thread([&] { EXPECT_EQ(task->Exec(), S::kStatusFailed); }).join();
    ASSERT_NE(task->GetException(), nullptr);
    std::thread(
        [&]
        {
            try
            {
                task->GetException()->Throw();
            }
            catch (Cmn_TypedException<Sys_OSErrData> const& e)
            {
                EXPECT_TRUE(e.GetCode() == XC_Sys_SystemError);
                EXPECT_EQ(e.GetData().GetErr(), 5);
            }
        })
        .join();

    // What else leaves the slice: a standard exception, kept as ours.
    auto ansi = ScriptedTask::Make([](ScriptedTask&) -> S::EResult { throw std::out_of_range("index 7"); });
    EXPECT_EQ(ansi->Exec(), S::kStatusFailed);
    auto const* stored = dynamic_cast<Cmn_TypedException<Cmn_TStringXData> const*>(ansi->GetException());
    ASSERT_NE(stored, nullptr);
    EXPECT_TRUE(stored->GetCode() == XC_Cmn_ANSIexception);
    EXPECT_STREQ(stored->what(), "ANSI exception: index 7");

    // No result of the table: the task cannot be trusted to go on.
    auto bad = ScriptedTask::Make([](ScriptedTask&) { return static_cast<S::EResult>(7); });
    EXPECT_EQ(bad->Exec(), S::kStatusFailed);
    EXPECT_TRUE(bad->GetException()->GetCode() == XC_Sys_Error);

    auto foreign = ScriptedTask::Make([](ScriptedTask&) -> S::EResult { throw 42; });
    EXPECT_THROW(foreign->Exec(), int);
}

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

TEST(Sys_TaskQueue, BlockedAndRepeatingTasksKeepTheirPlaceAndReadyOnesLeave)
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

    // A ready task leaves the queue, and may stand in it many times.
    log.order.clear();
    Sys_TaskQueue fresh;
    ScriptedTask::Handle many = log.Task('t', Sys_Task::kResultReady);
    fresh.AddTask(many, 0);
    fresh.AddTask(log.Task('a'), 0);
    fresh.AddTask(many, 0);
    fresh.AddTask(many, 2);
    EXPECT_EQ(fresh.GetQueueEvent()->Wait(0), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(log.Drain(fresh), "ttat");
    EXPECT_EQ(many->GetStatus(), Sys_Task::kStatusReady);
}

} // namespace
