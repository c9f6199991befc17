#include "Sys/Sys_Semaphore.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <thread>

namespace
{

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

TEST(Sys_Semaphore, AcquireTakesAllUnitsOrNone)
{
    struct Case
    {
        char const* name;
        int32 initial, maximum, acquire, limit;
        bool got;
        int32 countAfter;
    };
    Case const cases[] = {
        {"one of two", 2, 2, 1, 0, true, 1},
        {"all of three", 3, 5, 3, 0, true, 0},
        {"three of two gives back what it got", 2, 2, 3, 0, false, 2},
        {"the same with a time limit for each unit", 2, 4, 3, 20, false, 2},
        {"none at all", 0, 1, 0, 0, true, 0},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(c.initial, c.maximum);
        EXPECT_EQ(semaphore->Acquire(c.acquire, c.limit) == Sys_SyncObject::kWaitSignalled, c.got);
        EXPECT_EQ(CountOf(*semaphore), c.countAfter);
    }
}

TEST(Sys_Semaphore, BadCountsAreSystemErrorsThatChangeNothing)
{
    Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(1, 2);
    struct Case
    {
        char const* name;
        std::function<void()> operation;
        int32 err;
    };
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
        EXPECT_EQ(vfltest::SystemErrorOf(c.operation), c.err);
        EXPECT_EQ(CountOf(*semaphore), 1);
    }
}

// Acquires of both units of a semaphore of two would deadlock if they could
// interleave with each holding one unit; with a time limit that shows as a
// timed-out acquire.
TEST(Sys_Semaphore, MultiUnitAcquiresDoNotInterleave)
{
    Sys_Semaphore::Handle semaphore = Sys_Semaphore::Create(2, 2);
    std::atomic<int> timedOut{0};
    auto work = [&]
    {
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

} // namespace
