#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys/Sys_SyncObject.h"
#include "Sys/Sys_TimerEvent.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using vfltest::Eventually;
using vfltest::StCountAsserts;
using vfltest::WaitersOn;

constexpr auto kAny = Sys_SyncObject::kWaitForAny;
constexpr auto kAll = Sys_SyncObject::kWaitForAll;
constexpr auto kSignalled = Sys_SyncObject::kWaitSignalled;
constexpr auto kTimedOut = Sys_SyncObject::kWaitTimedOut;

Sys_SyncObject::Handle Event(bool manual, bool set)
{
    return Sys_Event::Create((manual ? Sys_Event::kEventManualReset : 0) | (set ? Sys_Event::kEventInitiallySet : 0));
}

Sys_SyncObject::Handle Semaphore(int32 count)
{
    return Sys_Semaphore::Create(count, 10);
}

Sys_SyncObject::Handle Timer(int32 dueIn)
{
    Sys_TimerEvent::Handle timer = Sys_TimerEvent::Create(false);
    timer->Start(dueIn);
    return timer;
}

// How many waiters could still pass, counted up to 3 (a set manual event
// answers 3).
int SignalsLeft(Sys_SyncObject& object)
{
    int left = 0;
    while (left < 3 && object.Wait(0) == kSignalled)
        ++left;
    return left;
}

TEST(Sys_SyncObject, WaitTakesExactlyWhatItsModeSays)
{
    struct Case
    {
        char const* name;
        std::function<Sys_SyncObject::HandleList()> objects;
        Sys_SyncObject::EWaitForMultipleObjects mode;
        Sys_SyncObject::EWaitResult result;
        std::vector<int> left;
    };
    Case const cases[] = {
        {"any takes only the first signalled: abort event and pool slot",
         [] { return Sys_SyncObject::HandleList{Event(false, true), Semaphore(1)}; }, kAny, kSignalled, {0, 1}},
        {"any takes a later one when the first is not signalled",
         [] { return Sys_SyncObject::HandleList{Event(false, false), Semaphore(2)}; }, kAny, kSignalled, {0, 1}},
        {"any leaves a manual event set", [] { return Sys_SyncObject::HandleList{Event(true, true), Semaphore(1)}; },
         kAny, kSignalled, {3, 1}},
        {"any with nothing signalled", [] { return Sys_SyncObject::HandleList{Event(false, false), Semaphore(0)}; },
         kAny, kTimedOut, {0, 0}},
        {"all takes none when one is missing",
         [] { return Sys_SyncObject::HandleList{Event(false, true), Semaphore(0), Timer(0)}; }, kAll, kTimedOut,
         {1, 0, 1}},
        {"all takes one of each", [] { return Sys_SyncObject::HandleList{Event(false, true), Semaphore(2), Timer(0)}; },
         kAll, kSignalled, {0, 1, 0}},
        {"any with a timer not yet due", [] { return Sys_SyncObject::HandleList{Timer(60000), Event(true, true)}; },
         kAny, kSignalled, {0, 3}},
        {"a due timer counts", [] { return Sys_SyncObject::HandleList{Event(false, false), Timer(0)}; }, kAny,
         kSignalled, {0, 0}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_SyncObject::HandleList const objects = c.objects();
        EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(objects, c.mode, 0), c.result);
        for (std::size_t i = 0; i < objects.size(); ++i)
        {
            SCOPED_TRACE(i);
            EXPECT_EQ(SignalsLeft(*objects[i]), c.left[i]);
        }
    }
}

TEST(Sys_SyncObject, BadListsAreSystemErrors)
{
    Sys_SyncObject::Handle const event = Event(true, true);
    struct Case
    {
        char const* name;
        Sys_SyncObject::HandleList objects;
    };
    Case const cases[] = {
        {"empty", {}},
        {"null handle", {event, nullptr}},
        {"object twice", {event, Event(false, false), event}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        for (auto mode : {kAny, kAll})
        {
            try
            {
                Sys_SyncObject::WaitForMultipleObjects(c.objects, mode, 0);
                ADD_FAILURE() << "no exception";
            }
            catch (Cmn_TypedException<Sys_OSErrData> const& e)
            {
                EXPECT_TRUE(e.GetCode() == XC_Sys_SystemError);
                EXPECT_EQ(e.GetData().GetErr(), EINVAL);
            }
        }
    }
}

TEST(Sys_SyncObject, ALimitBelowMinusOneIsAnAssertionAndDoesNotWait)
{
    StCountAsserts asserts;
    EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects({Event(false, false)}, kAny, -2), kTimedOut);
    EXPECT_EQ(Event(false, false)->Wait(-7), kTimedOut);
    EXPECT_EQ(asserts.Failed(), 2);
}

TEST(Sys_SyncObject, TimeLimitIsKeptWhenNothingComes)
{
    Sys_SyncObject::HandleList const objects{Event(false, false), Semaphore(1)};
    auto const start = Clock::now();
    EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(objects, kAll, 40), kTimedOut);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(40));
    EXPECT_EQ(SignalsLeft(*objects[1]), 1);
}

// A wait for all that sees part of its list signalled must not hold on to
// that part: another waiter still finds it there.
TEST(Sys_SyncObject, WaitForAllHoldsNothingUntilItHasEverything)
{
    Sys_SyncObject::Handle const a = Event(false, false);
    Sys_SyncObject::Handle const b = Event(false, false);
    std::atomic<bool> passed{false};
    std::thread waiter([&] {
        EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects({a, b}, kAll, Sys_SyncObject::kWaitForever), kSignalled);
        passed = true;
    });
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*a) == 1 && WaitersOn(*b) == 1; }));
    dynamic_cast<Sys_Event&>(*a).Set();
    EXPECT_EQ(a->Wait(0), kSignalled);
    EXPECT_FALSE(passed.load());

    dynamic_cast<Sys_Event&>(*a).Set();
    dynamic_cast<Sys_Event&>(*b).Set();
    waiter.join();
    EXPECT_EQ(a->Wait(0), kTimedOut);
    EXPECT_EQ(b->Wait(0), kTimedOut);
}

// Two waiters for all on the same two semaphores, in opposite order, with a
// third taking single units: any partial taking would leave a pair of
// waiters each holding what the other needs, which shows as timed-out waits.
TEST(Sys_SyncObject, WaitForAllStress)
{
    constexpr int kRounds = 3000;
    Sys_Semaphore::Handle const s1 = Sys_Semaphore::Create(0, 1000000);
    Sys_Semaphore::Handle const s2 = Sys_Semaphore::Create(0, 1000000);
    std::atomic<int> timedOut{0};
    auto pairs = [&](Sys_SyncObject::HandleList list) {
        for (int i = 0; i < kRounds; ++i)
        {
            if (Sys_SyncObject::WaitForMultipleObjects(list, kAll, 10000) != kSignalled)
                ++timedOut;
        }
    };
    std::thread x(pairs, Sys_SyncObject::HandleList{s1, s2});
    std::thread y(pairs, Sys_SyncObject::HandleList{s2, s1});
    std::thread z([&] {
        for (int i = 0; i < kRounds; ++i)
        {
            if (Sys_SyncObject::WaitForMultipleObjects({s1}, kAny, 10000) != kSignalled)
                ++timedOut;
        }
    });
    for (int i = 0; i < 2 * kRounds; ++i)
    {
        s2->Release(1);
        s1->Release(1);
    }
    for (int i = 0; i < kRounds; ++i)
        s1->Release(1);
    x.join();
    y.join();
    z.join();
    EXPECT_EQ(timedOut.load(), 0);
    EXPECT_EQ(SignalsLeft(*s1), 0);
    EXPECT_EQ(SignalsLeft(*s2), 0);
}

} // namespace
