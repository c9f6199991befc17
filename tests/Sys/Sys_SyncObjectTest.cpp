#include "Sys/Sys_Event.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys/Sys_TimerEvent.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

namespace
{

using vfltest::Eventually;
using vfltest::StCountAsserts;
using vfltest::WaitersOn;
using List = Sys_SyncObject::HandleList;

constexpr auto kAny = Sys_SyncObject::kWaitForAny;
constexpr auto kAll = Sys_SyncObject::kWaitForAll;
constexpr auto kSignalled = Sys_SyncObject::kWaitSignalled;
constexpr auto kTimedOut = Sys_SyncObject::kWaitTimedOut;

// Objects described by one letter each: a/A automatic event unset/set,
// m/M manual event unset/set, 0-9 semaphore of that count, t/T timer not
// yet due/due.
List Make(char const* objects)
{
    List list;
    for (char const* c = objects; *c; ++c)
    {
        if (*c >= '0' && *c <= '9')
            list.push_back(Sys_Semaphore::Create(*c - '0', 1 << 20));
        else if (*c == 't' || *c == 'T')
        {
            Sys_TimerEvent::Handle timer = Sys_TimerEvent::Create(false);
            timer->Start(*c == 'T' ? 0 : 60000);
            list.push_back(timer);
        }
        else
            list.push_back(Sys_Event::Create((*c == 'm' || *c == 'M' ? Sys_Event::kEventManualReset : 0) |
                                             (*c == 'A' || *c == 'M' ? Sys_Event::kEventInitiallySet : 0)));
    }
    return list;
}

// How many waiters could still pass each object, counted up to 3 (a set
// manual event answers 3), as a string of digits.
std::string SignalsLeft(List const& list)
{
    std::string left;
    for (auto const& object : list)
    {
        int count = 0;
        while (count < 3 && object->Wait(0) == kSignalled)
            ++count;
        left += static_cast<char>('0' + count);
    }
    return left;
}

TEST(Sys_SyncObject, AWaitTakesExactlyWhatItsModeSays)
{
    struct Case
    {
        char const* objects;
        Sys_SyncObject::EWaitForMultipleObjects mode;
        Sys_SyncObject::EWaitResult result;
        char const* left;
    };
    Case const cases[] = {
        {"A1", kAny, kSignalled, "01"}, // an abort event and a pool slot: only the first is taken
        {"a2", kAny, kSignalled, "01"},   {"M1", kAny, kSignalled, "31"}, {"a0t", kAny, kTimedOut, "000"},
        {"aT", kAny, kSignalled, "00"},   {"tM", kAny, kSignalled, "03"}, {"A0T", kAll, kTimedOut, "101"},
        {"A2T", kAll, kSignalled, "010"}, {"M3", kAll, kSignalled, "32"}, {"at", kAll, kTimedOut, "00"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.objects << (c.mode == kAny ? " any" : " all"));
        List const list = Make(c.objects);
        EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(list, c.mode, 0), c.result);
        EXPECT_EQ(SignalsLeft(list), c.left);
    }
}

TEST(Sys_SyncObject, BadListsAreSystemErrors)
{
    List const event = Make("M");
    for (List const& list : {List{}, List{event[0], nullptr}, List{event[0], Make("a")[0], event[0]}})
    {
        for (auto mode : {kAny, kAll})
        {
            SCOPED_TRACE(::testing::Message() << list.size() << " " << mode);
            EXPECT_EQ(vfltest::SystemErrorOf([&] { Sys_SyncObject::WaitForMultipleObjects(list, mode, 0); }), EINVAL);
        }
    }
}

TEST(Sys_SyncObject, ALimitBelowMinusOneIsAnAssertionAndDoesNotWait)
{
    StCountAsserts asserts;
    EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(Make("a"), kAny, -2), kTimedOut);
    EXPECT_EQ(Make("a")[0]->Wait(-7), kTimedOut);
    EXPECT_EQ(asserts.Failed(), 2);
}

TEST(Sys_SyncObject, TheTimeLimitIsKeptAndNothingIsTaken)
{
    List const list = Make("a1");
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(list, kAll, 40), kTimedOut);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
    EXPECT_EQ(SignalsLeft(list), "01");
}

// A wait for all that sees part of its list signalled holds on to nothing:
// another waiter still finds that part there.
TEST(Sys_SyncObject, AWaitForAllHoldsNothingUntilItHasEverything)
{
    List const list = Make("aa");
    auto set = [&](int i) { dynamic_cast<Sys_Event&>(*list[i]).Set(); };
    std::thread waiter([&] { EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(list, kAll), kSignalled); });
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*list[0]) == 1 && WaitersOn(*list[1]) == 1; }));
    set(0);
    EXPECT_EQ(list[0]->Wait(0), kSignalled);
    set(0);
    set(1);
    waiter.join();
    EXPECT_EQ(SignalsLeft(list), "00");
}

// Two waiters for all on the same two semaphores, in opposite order, and a
// third taking single units: any partial taking would leave two waiters
// each holding what the other needs, which shows as timed-out waits.
TEST(Sys_SyncObject, WaitForAllStress)
{
    constexpr int kRounds = 5000;
    List const pair = Make("00");
    std::atomic<int> timedOut{0};
    auto waits = [&](List list, Sys_SyncObject::EWaitForMultipleObjects mode)
    {
        for (int i = 0; i < kRounds; ++i)
            timedOut += Sys_SyncObject::WaitForMultipleObjects(list, mode, 10000) != kSignalled;
    };
    std::thread x(waits, pair, kAll), y(waits, List{pair[1], pair[0]}, kAll), z(waits, List{pair[0]}, kAny);
    auto release = [&](int i) { dynamic_cast<Sys_Semaphore&>(*pair[i]).Release(1); };
    for (int i = 0; i < kRounds; ++i)
    {
        release(1);
        release(0);
        release(0);
        release(1);
        release(0);
    }
    x.join();
    y.join();
    z.join();
    EXPECT_EQ(timedOut.load(), 0);
    EXPECT_EQ(SignalsLeft(pair), "00");
}

} // namespace
