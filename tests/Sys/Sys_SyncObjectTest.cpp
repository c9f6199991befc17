// The objects threads wait on: events, timers, semaphores and mutexes, alone
// and in lists.
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys/Sys_TimerEvent.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
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
// m/M manual event unset/set, 0-9 semaphore of that count, t/T automatic
// timer not yet due/due, k/K automatic/manual timer never started.
List Make(char const* objects)
{
    List list;
    for (char const* c = objects; *c; ++c)
    {
        if (*c >= '0' && *c <= '9')
            list.push_back(Sys_Semaphore::Create(*c - '0', 1 << 20));
        else if (*c == 't' || *c == 'T' || *c == 'k' || *c == 'K')
        {
            Sys_TimerEvent::Handle timer = Sys_TimerEvent::Create(*c == 'K');
            if (*c == 't' || *c == 'T')
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

// One object, a script of operations on it, and Wait(0) twice afterwards.
// The script: s Set, r Reset, p Pulse, i IsSet (which must say yes), and
// for timers z Start(0), n Start(-5), l Start(60000).
TEST(Sys_SyncObject, SignalStateOfEventsAndTimersAfterEachOperation)
{
    struct Case
    {
        char const* name;
        char const* object; // a letter of Make
        char const* script;
        bool first, second;
    };
    Case const cases[] = {
        {"new", "m", "", false, false},
        {"initially set, automatic: one waiter passes", "A", "", true, false},
        {"initially set, manual: stays set", "M", "", true, true},
        {"Set twice, automatic: still one", "a", "ss", true, false},
        {"Set, manual", "m", "s", true, true},
        {"Set and Reset", "m", "sr", false, false},
        {"Pulse without waiters", "a", "p", false, false},
        {"Pulse resets a set manual event", "M", "p", false, false},
        {"IsSet takes an automatic signal", "A", "i", false, false},
        {"IsSet leaves a manual event set", "M", "i", true, true},
        {"timer never started", "k", "", false, false},
        {"timer not yet due", "k", "l", false, false},
        {"timer due, automatic: one waiter passes", "k", "z", true, false},
        {"timer due, manual: stays signalled", "K", "z", true, true},
        {"negative time is due at once", "k", "n", true, false},
        {"Start clears an old signal", "K", "zl", false, false},
        {"Start replaces a later due time", "k", "lz", true, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_SyncObject::Handle const object = Make(c.object)[0];
        auto* const event = dynamic_cast<Sys_Event*>(object.Get());
        auto* const timer = dynamic_cast<Sys_TimerEvent*>(object.Get());
        for (char const* op = c.script; *op; ++op)
        {
            switch (*op)
            {
            case 's': event->Set(); break;
            case 'r': event->Reset(); break;
            case 'p': event->Pulse(); break;
            case 'i': EXPECT_TRUE(event->IsSet()); break;
            case 'z': timer->Start(0); break;
            case 'n': timer->Start(-5); break;
            case 'l': timer->Start(60000); break;
            }
        }
        EXPECT_EQ(object->Wait(0) == kSignalled, c.first);
        EXPECT_EQ(object->Wait(0) == kSignalled, c.second);
    }
}

// Threads that each wait once on an event.
struct Waiters
{
    Waiters(Sys_Event::Handle const& event, int count)
    {
        for (int i = 0; i < count; ++i)
            threads.emplace_back([this, event] { passed += event->Wait() == kSignalled; });
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

TEST(Sys_SyncObject, AnAutomaticEventReleasesOneWaiterPerSetAndPulseReleasesWhoWaitsNow)
{
    Sys_Event::Handle event = Sys_Event::Create(0);
    {
        Waiters waiters(event, 4);
        for (int set = 1; set <= 4; ++set)
        {
            event->Set();
            ASSERT_TRUE(Eventually([&] { return waiters.passed == set; }));
            EXPECT_EQ(WaitersOn(*event), static_cast<std::size_t>(4 - set));
        }
        EXPECT_EQ(event->Wait(0), kTimedOut);
    }
    for (auto [flags, expected] : {std::pair<int32, int>{Sys_Event::kEventManualReset, 3}, {0, 1}})
    {
        int const released = expected;
        SCOPED_TRACE(flags);
        event = Sys_Event::Create(flags);
        Waiters waiters(event, 3);
        event->Pulse();
        ASSERT_TRUE(Eventually([&] { return waiters.passed == released; }));
        EXPECT_EQ(WaitersOn(*event), static_cast<std::size_t>(3 - released));
        EXPECT_EQ(event->Wait(0), kTimedOut);
        for (int i = released; i < 3; ++i)
            event->Set();
    }
}

TEST(Sys_SyncObject, AnEarlierStartWakesAWaiterThatSleepsForTheLaterOne)
{
    Sys_TimerEvent::Handle timer = Sys_TimerEvent::Create(false);
    timer->Start(600000);
    std::thread starter(
        [&]
        {
            EXPECT_TRUE(Eventually([&] { return WaitersOn(*timer) == 1; }));
            timer->Start(1);
        });
    EXPECT_EQ(timer->Wait(), kSignalled);
    starter.join();
}

TEST(Sys_SyncObject, AWaitTakesExactlyWhatItsModeSaysAndKeepsItsTimeLimit)
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

    // A time limit is kept, and nothing is taken.
    List const list = Make("a1");
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(list, kAll, 40), kTimedOut);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
    EXPECT_EQ(SignalsLeft(list), "01");
}

TEST(Sys_SyncObject, SemaphoreAcquireTakesAllUnitsOrNone)
{
    struct Case
    {
        char const* name;
        int32 initial, maximum, acquire, limit;
        bool got;
        char const* left;
    };
    Case const cases[] = {
        {"one of two", 2, 2, 1, 0, true, "1"},
        {"all of three", 3, 5, 3, 0, true, "0"},
        {"three of two gives back what it got", 2, 2, 3, 0, false, "2"},
        {"the same with a time limit for each unit", 2, 4, 3, 20, false, "2"},
        {"none at all", 0, 1, 0, 0, true, "0"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(c.initial, c.maximum);
        EXPECT_EQ(semaphore->Acquire(c.acquire, c.limit) == kSignalled, c.got);
        EXPECT_EQ(SignalsLeft({semaphore}), c.left);
    }
}

// Bad counts and bad lists are system errors, a time limit below -1 an
// assertion that does not wait; none of them changes a count.
TEST(Sys_SyncObject, MisuseIsASystemErrorOrAnAssertionAndChangesNothing)
{
    Sys_Semaphore::Handle semaphore; // made afresh with one unit of two for each case
    List const event = Make("M");
    auto waitOn = [](List const& list)
    { return [list](auto mode) { Sys_SyncObject::WaitForMultipleObjects(list, mode, 0); }; };
    struct Case
    {
        char const* name;
        std::function<void(Sys_SyncObject::EWaitForMultipleObjects)> operation;
        int32 err, assertions;
    };
    Case const cases[] = {
        {"maximum 0", [](auto) { Sys_Semaphore::Create(0, 0); }, EINVAL, 0},
        {"negative initial", [](auto) { Sys_Semaphore::Create(-1, 2); }, EINVAL, 0},
        {"initial over maximum", [](auto) { Sys_Semaphore::Create(3, 2); }, EINVAL, 0},
        {"release over maximum", [&](auto) { semaphore->Release(2); }, EOVERFLOW, 0},
        {"release of 0", [&](auto) { semaphore->Release(0); }, EINVAL, 0},
        {"acquire of -1", [&](auto) { semaphore->Acquire(-1, 0); }, EINVAL, 0},
        {"empty list", waitOn({}), EINVAL, 0},
        {"null in the list", waitOn({event[0], nullptr}), EINVAL, 0},
        {"an object twice in the list", waitOn({event[0], Make("a")[0], event[0]}), EINVAL, 0},
        {"list with a limit of -2",
         [](auto mode) { EXPECT_EQ(Sys_SyncObject::WaitForMultipleObjects(Make("a"), mode, -2), kTimedOut); }, 0, 1},
        {"one object with a limit of -7", [](auto) { EXPECT_EQ(Make("a")[0]->Wait(-7), kTimedOut); }, 0, 1},
    };
    for (Case const& c : cases)
    {
        for (auto mode : {kAny, kAll})
        {
            SCOPED_TRACE(::testing::Message() << c.name << (mode == kAny ? " any" : " all"));
            semaphore = Sys_Semaphore::Create(1, 2);
            StCountAsserts asserts;
            EXPECT_EQ(vfltest::SystemErrorOf([&] { c.operation(mode); }), c.err);
            EXPECT_EQ(asserts.Failed(), c.assertions);
            EXPECT_EQ(SignalsLeft({semaphore}), "1");
        }
    }
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

// Waits that take several units at once, from several threads: any partial
// taking would leave two waiters each holding what the other needs, which
// shows as timed-out waits. Two waiters for all on the same two semaphores,
// in opposite order, with a third taking single units; and three takers of
// both units of a semaphore of two.
TEST(Sys_SyncObject, WaitsForSeveralUnitsNeverHoldPartOfThem)
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
        for (int which : {1, 0, 0, 1, 0})
            release(which);
    for (std::thread* t : {&x, &y, &z})
        t->join();
    EXPECT_EQ(SignalsLeft(pair), "00");

    Sys_Semaphore::Handle two = Sys_Semaphore::Create(2, 2);
    auto work = [&]
    {
        for (int i = 0; i < 2000; ++i)
        {
            if (two->Acquire(2, 10000) == kSignalled)
                two->Release(2);
            else
                ++timedOut;
        }
    };
    std::thread a(work), b(work), c(work);
    for (std::thread* t : {&a, &b, &c})
        t->join();
    EXPECT_EQ(timedOut.load(), 0);
    EXPECT_EQ(SignalsLeft({two}), "2");
}

// ---------------------------------------------------------------- mutexes

bool FreeForOtherThreads(Sys_Mutex& mutex)
{
    bool got = false;
    std::thread(
        [&]
        {
            Sys_StAcquireMutex guard(&mutex, true);
            got = guard.Acquired();
        })
        .join();
    return got;
}

// Free only once every acquire is released; a guard that tries reports
// whether it got the mutex and releases only then.
TEST(Sys_Mutex, IsFreeOnlyOnceEveryAcquireIsReleasedAndMisuseIsAnAssertion)
{
    std::unique_ptr<Sys_Mutex> mutex(Sys_Mutex::Create(Sys_Mutex::kMutexTryAcquire));
    mutex->Acquire();
    mutex->Acquire();
    EXPECT_TRUE(mutex->TryAcquire());
    mutex->Release();
    mutex->Release();
    EXPECT_FALSE(FreeForOtherThreads(*mutex));
    mutex->Release();
    EXPECT_TRUE(FreeForOtherThreads(*mutex));
    {
        Sys_StAcquireMutex guard(mutex.get(), true);
        EXPECT_TRUE(guard.Acquired());
        EXPECT_FALSE(FreeForOtherThreads(*mutex)); // a failed try leaves it held
    }
    EXPECT_TRUE(FreeForOtherThreads(*mutex));

    // Misuse is an assertion that leaves the mutex as it was.
    StCountAsserts asserts;
    std::unique_ptr<Sys_Mutex> plain(Sys_Mutex::Create(Sys_Mutex::kMutexPlain));
    EXPECT_TRUE(plain->TryAcquire()); // TryAcquire is for type 1 only
    EXPECT_EQ(asserts.Failed(), 1);
    std::thread([&] { plain->Release(); }).join(); // not the holder
    EXPECT_EQ(asserts.Failed(), 2);
    plain->Release();
}

} // namespace
