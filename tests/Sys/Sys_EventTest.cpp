#include "Sys/Sys_Event.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace
{

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
        bool first, second; // Wait(0) twice afterwards
    };
    Case const cases[] = {
        {"new", kManual, [](Sys_Event&) {}, false, false},
        {"initially set, automatic: one waiter passes", kAuto | kSet, [](Sys_Event&) {}, true, false},
        {"initially set, manual: stays set", kManual | kSet, [](Sys_Event&) {}, true, true},
        {"Set twice, automatic: still one", kAuto,
         [](Sys_Event& e)
         {
             e.Set();
             e.Set();
         },
         true, false},
        {"Set, manual", kManual, [](Sys_Event& e) { e.Set(); }, true, true},
        {"Set and Reset", kManual,
         [](Sys_Event& e)
         {
             e.Set();
             e.Reset();
         },
         false, false},
        {"Pulse without waiters", kAuto, [](Sys_Event& e) { e.Pulse(); }, false, false},
        {"Pulse resets a set manual event", kManual | kSet, [](Sys_Event& e) { e.Pulse(); }, false, false},
        {"IsSet takes an automatic signal", kAuto | kSet, [](Sys_Event& e) { EXPECT_TRUE(e.IsSet()); }, false, false},
        {"IsSet leaves a manual event set", kManual | kSet, [](Sys_Event& e) { EXPECT_TRUE(e.IsSet()); }, true, true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Event::Handle event = Sys_Event::Create(c.flags);
        c.operation(*event);
        EXPECT_EQ(event->Wait(0) == Sys_SyncObject::kWaitSignalled, c.first);
        EXPECT_EQ(event->Wait(0) == Sys_SyncObject::kWaitSignalled, c.second);
    }
}

// Threads that each wait once on an event.
struct Waiters
{
    Waiters(Sys_Event::Handle const& event, int count)
    {
        for (int i = 0; i < count; ++i)
            threads.emplace_back([this, event] { passed += event->Wait() == Sys_SyncObject::kWaitSignalled; });
        EXPECT_TRUE(Eventually([&] { return WaitersOn(*event) == static_cast<std::size_t>(count); }));
    }
    ~Waiters()
    {
        for (auto& thread : threads)
            thread.join();
    }
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
};

TEST(Sys_Event, AutomaticResetReleasesExactlyOneOfSeveralWaitersPerSet)
{
    Sys_Event::Handle event = Sys_Event::Create(kAuto);
    Waiters waiters(event, 4);
    for (int set = 1; set <= 4; ++set)
    {
        event->Set();
        ASSERT_TRUE(Eventually([&] { return waiters.passed == set; }));
        EXPECT_EQ(WaitersOn(*event), static_cast<std::size_t>(4 - set));
    }
    EXPECT_EQ(event->Wait(0), Sys_SyncObject::kWaitTimedOut);
}

TEST(Sys_Event, PulseReleasesWhoWaitsNowAndLeavesTheEventReset)
{
    for (auto [flags, expected] : {std::pair{kManual, 3}, {kAuto, 1}})
    {
        int const released = expected;
        SCOPED_TRACE(flags);
        Sys_Event::Handle event = Sys_Event::Create(flags);
        Waiters waiters(event, 3);
        event->Pulse();
        ASSERT_TRUE(Eventually([&] { return waiters.passed == released; }));
        EXPECT_EQ(WaitersOn(*event), static_cast<std::size_t>(3 - released));
        EXPECT_EQ(event->Wait(0), Sys_SyncObject::kWaitTimedOut);
        for (int i = released; i < 3; ++i)
            event->Set();
    }
}

} // namespace
