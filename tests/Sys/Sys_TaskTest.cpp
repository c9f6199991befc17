#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_Task.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace {

using vfltest::ScriptedTask;
using vfltest::StCountAsserts;
using S = Sys_Task::EStatus;
using R = Sys_Task::EResult;

char const* const kNameOfResult[] = {"Completed", "Aborted", "Repeat", "Ready", "Blocked"};

// Every (status before the slice, result, abort requested) to the status after.
TEST(Sys_Task, ResultOfASliceGivesTheNextStatus)
{
    struct Case
    {
        R result;
        bool abortRequested;
        S next;
    };
    Case const table[] = {
        {Sys_Task::kResultCompleted, false, Sys_Task::kStatusCompleted},
        {Sys_Task::kResultCompleted, true, Sys_Task::kStatusCompleted},
        {Sys_Task::kResultAborted, false, Sys_Task::kStatusAborted},
        {Sys_Task::kResultAborted, true, Sys_Task::kStatusAborted},
        {Sys_Task::kResultRepeat, false, Sys_Task::kStatusRepeat},
        {Sys_Task::kResultRepeat, true, Sys_Task::kStatusAborted},
        {Sys_Task::kResultReady, false, Sys_Task::kStatusReady},
        {Sys_Task::kResultReady, true, Sys_Task::kStatusAborted},
        {Sys_Task::kResultBlocked, false, Sys_Task::kStatusBlocked},
        {Sys_Task::kResultBlocked, true, Sys_Task::kStatusBlocked},
    };
    for (bool fromBlocked : {false, true})
    {
        for (Case const& c : table)
        {
            SCOPED_TRACE(::testing::Message() << (fromBlocked ? "blocked" : "ready") << ", result "
                                              << kNameOfResult[c.result] << ", abort " << c.abortRequested);
            // From ready the abort comes during the slice; from blocked it
            // comes between the slices, which leaves a blocked task blocked.
            auto task = ScriptedTask::Make([&](ScriptedTask& self) {
                if (fromBlocked && self.Slices() == 1)
                    return Sys_Task::kResultBlocked;
                if (c.abortRequested && !fromBlocked)
                    self.Abort();
                return c.result;
            });
            if (fromBlocked)
            {
                ASSERT_EQ(task->Exec(), Sys_Task::kStatusBlocked);
                if (c.abortRequested)
                    task->Abort();
                EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusBlocked);
            }
            EXPECT_EQ(task->Exec(), c.next);
            EXPECT_EQ(task->GetStatus(), c.next);
            EXPECT_EQ(task->Slices(), fromBlocked ? 2 : 1);
            EXPECT_EQ(task->AbortImpls(), c.abortRequested ? 1 : 0);
        }
    }
}

TEST(Sys_Task, ExecOnAStatusThatMayNotRun)
{
    struct Case
    {
        char const* name;
        R firstResult;   // of the slice that leads there
        bool abortFirst; // abort instead of a first slice
        S status;
        bool asserts;
    };
    Case const cases[] = {
        {"aborted before it started", Sys_Task::kResultCompleted, true, Sys_Task::kStatusAborted, false},
        {"aborted by its result", Sys_Task::kResultAborted, false, Sys_Task::kStatusAborted, false},
        {"completed", Sys_Task::kResultCompleted, false, Sys_Task::kStatusCompleted, true},
        {"waiting for Reset", Sys_Task::kResultRepeat, false, Sys_Task::kStatusRepeat, true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        auto task = ScriptedTask::Make([&](ScriptedTask&) { return c.firstResult; });
        if (c.abortFirst)
            task->Abort();
        else
            task->Exec();
        int const slices = task->Slices();
        StCountAsserts asserts;
        EXPECT_EQ(task->Exec(), c.status);
        EXPECT_EQ(task->Slices(), slices);
        EXPECT_EQ(asserts.Failed(), c.asserts ? 1 : 0);
    }
}

TEST(Sys_Task, FailedTaskIsNotRunAgain)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) -> R { throw std::runtime_error("x"); });
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed);
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed);
    EXPECT_EQ(task->Slices(), 1);
}

TEST(Sys_Task, AbortOfAReadyTaskAbortsAtOnceAndClearsTheRequest)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) { return Sys_Task::kResultCompleted; });
    Sys_Event::Handle aborted = task->GetNotificationEvent(Sys_Task::kStatusAborted | Sys_Task::kStatusFailed);
    Sys_Event::Handle completed = task->GetNotificationEvent(Sys_Task::kStatusCompleted);
    task->Abort();
    EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_FALSE(task->IsAbortRequested());
    EXPECT_TRUE(aborted->IsSet());
    EXPECT_FALSE(completed->IsSet());
    // The cleared request lets one more Abort reach AbortImpl; after that the
    // request stays, and no further Abort does.
    task->Abort();
    task->Abort();
    EXPECT_EQ(task->AbortImpls(), 2);
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusAborted);
    EXPECT_EQ(task->Slices(), 0);
}

TEST(Sys_Task, AbortOfARunningTaskIsSeenInsideTheSlice)
{
    bool seen = false;
    auto task = ScriptedTask::Make([&](ScriptedTask& self) {
        self.Abort();
        self.Abort();
        seen = self.IsAbortRequested();
        EXPECT_EQ(self.GetStatus(), Sys_Task::kStatusRunning);
        return Sys_Task::kResultReady;
    });
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusAborted);
    EXPECT_TRUE(seen);
    EXPECT_EQ(task->AbortImpls(), 1);
}

TEST(Sys_Task, NotificationEventsFireOnTheirMasks)
{
    struct Case
    {
        char const* name;
        int32 mask;
        R result;
        bool askAfterwards; // ask for the event only after the slice
        bool set;
    };
    Case const cases[] = {
        {"completed on completed", Sys_Task::kStatusCompleted, Sys_Task::kResultCompleted, false, true},
        {"completed on completed, asked afterwards", Sys_Task::kStatusCompleted, Sys_Task::kResultCompleted, true,
         true},
        {"final states on aborted", Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted,
         Sys_Task::kResultAborted, false, true},
        {"aborted or failed on completed", Sys_Task::kStatusAborted | Sys_Task::kStatusFailed,
         Sys_Task::kResultCompleted, false, false},
        {"blocked on blocked", Sys_Task::kStatusBlocked, Sys_Task::kResultBlocked, false, true},
        {"repeat on repeat", Sys_Task::kStatusRepeat, Sys_Task::kResultRepeat, false, true},
        {"ready on a new task", Sys_Task::kStatusReady, Sys_Task::kResultReady, false, true},
        {"completed on ready, asked afterwards", Sys_Task::kStatusCompleted, Sys_Task::kResultReady, true, false},
        {"empty mask", 0, Sys_Task::kResultCompleted, false, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        auto task = ScriptedTask::Make([&](ScriptedTask&) { return c.result; });
        Sys_Event::Handle event;
        if (!c.askAfterwards)
            event = task->GetNotificationEvent(c.mask);
        task->Exec();
        if (c.askAfterwards)
            event = task->GetNotificationEvent(c.mask);
        EXPECT_EQ(event->IsSet(), c.set);
    }
}

TEST(Sys_Task, EachNotificationRequestGetsAnEventOfItsOwn)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) { return Sys_Task::kResultCompleted; });
    Sys_Event::Handle a = task->GetNotificationEvent(Sys_Task::kStatusCompleted);
    Sys_Event::Handle b = task->GetNotificationEvent(Sys_Task::kStatusCompleted);
    EXPECT_FALSE(a == b);
    task->Exec();
    EXPECT_TRUE(a->IsSet());
    EXPECT_TRUE(b->IsSet());
}

TEST(Sys_Task, ResetLeadsFromRepeatToReadyAndResetsTheEvents)
{
    auto task = ScriptedTask::Make([](ScriptedTask& self) {
        return self.Slices() == 1 ? Sys_Task::kResultRepeat : Sys_Task::kResultCompleted;
    });
    Sys_Event::Handle repeat = task->GetNotificationEvent(Sys_Task::kStatusRepeat);
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusRepeat);
    EXPECT_TRUE(repeat->IsSet());
    task->Reset();
    EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusReady);
    EXPECT_FALSE(repeat->IsSet());
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
}

TEST(Sys_Task, ResetOutsideRepeatIsAnAssertionAndChangesNothing)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) { return Sys_Task::kResultCompleted; });
    StCountAsserts asserts;
    task->Reset();
    task->Exec();
    task->Reset();
    EXPECT_EQ(asserts.Failed(), 2);
    EXPECT_EQ(task->GetStatus(), Sys_Task::kStatusCompleted);
}

TEST(Sys_Task, FailureIsKeptAsACloneOfItsExactTypeAndThrownAgainElsewhere)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) -> R {
        throw Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError, Sys_OSErrData(5));
    });
    Sys_Event::Handle failed = task->GetNotificationEvent(Sys_Task::kStatusFailed);
    std::thread worker([&] { EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed); });
    EXPECT_EQ(failed->Wait(), Sys_SyncObject::kWaitSignalled);
    worker.join();

    Cmn_Exception const* stored = task->GetException();
    ASSERT_NE(stored, nullptr);
    std::thread owner([&] {
        try
        {
            stored->Throw();
        }
        catch (Cmn_TypedException<Sys_OSErrData> const& e)
        {
            EXPECT_TRUE(e.GetCode() == XC_Sys_SystemError);
            EXPECT_EQ(e.GetData().GetErr(), 5);
            return;
        }
        catch (...)
        {
        }
        ADD_FAILURE() << "not thrown with its type";
    });
    owner.join();
}

TEST(Sys_Task, AStandardExceptionBecomesAnANSIException)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) -> R { throw std::out_of_range("index 7"); });
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed);
    auto const* stored = dynamic_cast<Cmn_TypedException<Cmn_TStringXData> const*>(task->GetException());
    ASSERT_NE(stored, nullptr);
    EXPECT_TRUE(stored->GetCode() == XC_Cmn_ANSIexception);
    EXPECT_EQ(stored->GetData().GetString(), "index 7");
    EXPECT_STREQ(stored->what(), "ANSI exception: index 7");
}

TEST(Sys_Task, ObjectsOutsideTheStandardHierarchyPassThrough)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) -> R { throw 42; });
    EXPECT_THROW(task->Exec(), int);
}

TEST(Sys_Task, AResultOutsideTheTableFailsTheTask)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) { return static_cast<R>(7); });
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed);
    auto const* stored = dynamic_cast<Cmn_TypedException<Sys_Int32ErrData> const*>(task->GetException());
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->GetData().GetValue(), 7);
}

TEST(Sys_Task, NoExceptionWithoutFailure)
{
    auto task = ScriptedTask::Make([](ScriptedTask&) { return Sys_Task::kResultCompleted; });
    task->Exec();
    EXPECT_EQ(task->GetException(), nullptr);
}

} // namespace
