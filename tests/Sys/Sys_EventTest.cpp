#include "Sys/Sys_Event.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace {

using vfltest::Eventually;
using vfltest::WaitersOn;

constexpr int32 kAuto = 0;
constexpr int32 kManual = Sys_Event::kEventManualReset;
constexpr int32 kSet = Sys_Event::kEventInitiallySet;

TEST(Sys_Event, SignalStateAfterEachOperation)
{
    struct Case
    {
        char const* name;
        int32 flags;
        std::function<void(Sys_Event&)> operation;
        bool firstWait;  // Wait(0) after the operation
        bool secondWait; // and once more
    };
    Case const cases[] = {
        {"new, automatic", kAuto, [](Sys_Event&) {}, false, false},
        {"new, manual", kManual, [](Sys_Event&) {}, false, false},
        {"initially set, automatic: one waiter passes", kAuto | kSet, [](Sys_Event&) {}, true, false},
        {"initially set, manual: stays set", kManual | kSet, [](Sys_Event&) {}, true, true},
        {"Set, automatic", kAuto, [](Sys_Event& e) { e.Set(); }, true, false},
        {"Set, manual", kManual, [](Sys_Event& e) { e.Set(); }, true, true},
        {"Set twice, automatic: still one", kAuto, [](Sys_Event& e) { e.Set(); e.Set(); }, true, false},
        {"Set and Reset", kManual, [](Sys_Event& e) { e.Set(); e.Reset(); }, false, false},
        {"Pulse without waiters, manual", kManual, [](Sys_Event& e) { e.Pulse(); }, false, false},
        {"Pulse without waiters, automatic", kAuto, [](Sys_Event& e) { e.Pulse(); }, false, false},
        {"Pulse of a set manual event resets it", kManual | kSet, [](Sys_Event& e) { e.Pulse(); }, false, false},
        {"IsSet takes the signal of an automatic event", kAuto | kSet,
         [](Sys_Event& e) { EXPECT_TRUE(e.IsSet()); }, false, false},
        {"IsSet leaves a manual event set", kManual | kSet, [](Sys_Event& e) { EXPECT_TRUE(e.IsSet()); }, true, true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Event::Handle event = Sys_Event::Create(c.flags);
        c.operation(*event);
        EXPECT_EQ(event->Wait(0), c.firstWait ? Sys_SyncObject::kWaitSignalled : Sys_SyncObject::kWaitTimedOut);
        EXPECT_EQ(event->Wait(0), c.secondWait ? Sys_SyncObject::kWaitSignalled : Sys_SyncObject::kWaitTimedOut);
    }
}

// Several threads wait on one event, each passing once; returns how many passed.
class Waiters
{
public:
    Waiters(Sys_Event::Handle event, int count) : mEvent(std::move(event))
    {
        for (int i = 0; i < count; ++i)
            mThreads.emplace_back([this] {
                mEvent->Wait();
                ++mPassed;
            });
    }
    ~Waiters()
    {
        for (auto& thread : mThreads)
            thread.join();
    }
    int Passed() const { return mPassed.load(); }

private:
    Sys_Event::Handle mEvent;
    std::atomic<int> mPassed{0};
    std::vector<std::thread> mThreads;
};

TEST(Sys_Event, AutomaticResetReleasesExactlyOneWaiterPerSet)
{
    Sys_Event::Handle event = Sys_Event::Create(kAuto);
    Waiters waiters(event, 4);
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*event) == 4; }));
    for (int set = 1; set <= 4; ++set)
    {
        event->Set();
        ASSERT_TRUE(Eventually([&] { return waiters.Passed() == set; }));
        // The waiter that passed is off the list; everyone else still waits.
        EXPECT_EQ(WaitersOn(*event), static_cast<std::size_t>(4 - set));
        EXPECT_EQ(waiters.Passed(), set);
    }
    EXPECT_EQ(event->Wait(0), Sys_SyncObject::kWaitTimedOut);
}

TEST(Sys_Event, PulseReleasesWhoWaitsNowAndLeavesTheEventReset)
{
    struct Case
    {
        char const* name;
        int32 flags;
        int released;
    };
    Case const cases[] = {{"manual: all waiters", kManual, 3}, {"automatic: one waiter", kAuto, 1}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Event::Handle event = Sys_Event::Create(c.flags);
        Waiters waiters(event, 3);
        ASSERT_TRUE(Eventually([&] { return WaitersOn(*event) == 3; }));
        event->Pulse();
        ASSERT_TRUE(Eventually([&] { return waiters.Passed() == c.released; }));
        EXPECT_EQ(WaitersOn(*event), static_cast<std::size_t>(3 - c.released));
        EXPECT_EQ(waiters.Passed(), c.released);
        // Let the rest go, one Set each for automatic reset.
        for (int i = c.released; i < 3; ++i)
            event->Set();
    }
}

TEST(Sys_Event, SetWakesAWaiterWithoutTimeLimit)
{
    Sys_Event::Handle event = Sys_Event::Create(kAuto);
    std::thread setter([&] {
        EXPECT_TRUE(Eventually([&] { return WaitersOn(*event) == 1; }));
        event->Set();
    });
    EXPECT_EQ(event->Wait(), Sys_SyncObject::kWaitSignalled);
    setter.join();
}

TEST(Sys_Event, WaitForMultipleEventsForwardsTheList)
{
    Sys_Event::Handle a = Sys_Event::Create(kManual);
    Sys_Event::Handle b = Sys_Event::Create(kManual | kSet);
    EXPECT_EQ(Sys_Event::WaitForMultipleEvents({a, b}, Sys_SyncObject::kWaitForAny, 0), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(Sys_Event::WaitForMultipleEvents({a, b}, Sys_SyncObject::kWaitForAll, 0), Sys_SyncObject::kWaitTimedOut);
    a->Set();
    EXPECT_EQ(Sys_Event::WaitForMultipleEvents({a, b}, Sys_SyncObject::kWaitForAll, 0), Sys_SyncObject::kWaitSignalled);
}

} // namespace
