#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <thread>
#include <vector>

namespace {

using vfltest::Eventually;
using vfltest::WaitersOn;

// The count of a semaphore, found by taking everything and giving it back.
int32 CountOf(Sys_Semaphore& semaphore)
{
    int32 count = 0;
    while (semaphore.Wait(0) == Sys_SyncObject::kWaitSignalled)
        ++count;
    if (count > 0)
        semaphore.Release(count);
    return count;
}

int32 ErrnoOf(std::function<void()> const& operation)
{
    try
    {
        operation();
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        EXPECT_TRUE(e.GetCode() == XC_Sys_SystemError);
        return e.GetData().GetErr();
    }
    return 0;
}

TEST(Sys_Semaphore, AcquireAndReleaseChangeTheCount)
{
    struct Case
    {
        char const* name;
        int32 initial, maximum;
        int32 acquire, limit;
        Sys_SyncObject::EWaitResult result;
        int32 countAfter;
    };
    Case const cases[] = {
        {"one of two", 2, 2, 1, 0, Sys_SyncObject::kWaitSignalled, 1},
        {"all of three", 3, 5, 3, 0, Sys_SyncObject::kWaitSignalled, 0},
        {"three of two gives back what it got", 2, 2, 3, 0, Sys_SyncObject::kWaitTimedOut, 2},
        {"three of two, with a short limit", 2, 4, 3, 20, Sys_SyncObject::kWaitTimedOut, 2},
        {"one of none", 0, 1, 1, 0, Sys_SyncObject::kWaitTimedOut, 0},
        {"none at all", 0, 1, 0, 0, Sys_SyncObject::kWaitSignalled, 0},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(c.initial, c.maximum);
        EXPECT_EQ(semaphore->Acquire(c.acquire, c.limit), c.result);
        EXPECT_EQ(CountOf(*semaphore), c.countAfter);
    }
}

TEST(Sys_Semaphore, BadCountsAreSystemErrorsThatChangeNothing)
{
    struct Case
    {
        char const* name;
        std::function<void()> operation;
        int32 err;
    };
    Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(1, 2);
    Case const cases[] = {
        {"maximum 0", [] { Sys_Semaphore::Create(0, 0); }, EINVAL},
        {"negative initial", [] { Sys_Semaphore::Create(-1, 2); }, EINVAL},
        {"initial over maximum", [] { Sys_Semaphore::Create(3, 2); }, EINVAL},
        {"release over maximum", [&] { semaphore->Release(2); }, EOVERFLOW},
        {"release of 0", [&] { semaphore->Release(0); }, EINVAL},
        {"acquire of -1", [&] { semaphore->Acquire(-1, 0); }, EINVAL},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(ErrnoOf(c.operation), c.err);
        EXPECT_EQ(CountOf(*semaphore), 1);
    }
}

TEST(Sys_Semaphore, ReleaseWakesOneWaiterPerUnit)
{
    Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(0, 10);
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            semaphore->Wait();
            ++passed;
        });
    ASSERT_TRUE(Eventually([&] { return WaitersOn(*semaphore) == 3; }));
    semaphore->Release(2);
    ASSERT_TRUE(Eventually([&] { return passed.load() == 2; }));
    EXPECT_EQ(WaitersOn(*semaphore), 1u);
    semaphore->Release(1);
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(CountOf(*semaphore), 0);
}

// Threads that each need both units of a semaphore of two would deadlock
// if their acquires could interleave and each held one unit; with a time
// limit, that shows as a timed-out acquire.
TEST(Sys_Semaphore, MultiUnitAcquiresDoNotInterleave)
{
    Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(2, 2);
    std::atomic<int> timedOut{0};
    auto work = [&] {
        for (int i = 0; i < 2000; ++i)
        {
            if (semaphore->Acquire(2, 10000) == Sys_SyncObject::kWaitSignalled)
                semaphore->Release(2);
            else
                ++timedOut;
        }
    };
    std::thread a(work), b(work), c(work);
    a.join();
    b.join();
    c.join();
    EXPECT_EQ(timedOut.load(), 0);
    EXPECT_EQ(CountOf(*semaphore), 2);
}

TEST(Sys_Semaphore, AcquireWaitsForUnitsReleasedLater)
{
    Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(1, 3);
    std::thread releaser([&] {
        EXPECT_TRUE(Eventually([&] { return WaitersOn(*semaphore) == 1; }));
        semaphore->Release(2);
    });
    EXPECT_EQ(semaphore->Acquire(3), Sys_SyncObject::kWaitSignalled);
    releaser.join();
    EXPECT_EQ(CountOf(*semaphore), 0);
}

} // namespace
