// Sys_ResourcePool: objects made from a prototype, counted by a semaphore
// that clients wait on before they take one.
#include "Sys/Sys_ResourcePool.h"

#include "Sys/Sys_Event.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace
{

struct Resource
{
    Resource() = default;
    Resource(Resource const& prototype) : value(prototype.value), copies(prototype.copies + 1) {}
    int value = 0;
    int copies = 0;
};

TEST(Sys_ResourcePool, SixteenCopiesOfThePrototypeAndASemaphoreThatCountsThem)
{
    Resource prototype;
    prototype.value = 42;
    Sys_ResourcePool<Resource> pool(16, prototype);
    EXPECT_EQ(pool.GetSize(), 16u);

    std::vector<std::unique_ptr<Resource>> taken;
    std::set<Resource*> distinct;
    for (int i = 0; i < 16; ++i)
    {
        ASSERT_EQ(pool.GetSemaphore()->Wait(0), Sys_SyncObject::kWaitSignalled) << i;
        taken.push_back(pool.Get());
        EXPECT_EQ(taken.back()->value, 42);
        EXPECT_EQ(taken.back()->copies, 1);
        distinct.insert(taken.back().get());
    }
    EXPECT_EQ(distinct.size(), 16u);
    {
        vfltest::StCountAsserts asserts;
        pool.Put(nullptr);
        EXPECT_EQ(asserts.Failed(), 1);
    }
    // Empty: a wait blocks until an object comes back.
    EXPECT_EQ(pool.GetSemaphore()->Wait(0), Sys_SyncObject::kWaitTimedOut);
    Resource* const back = taken.back().get();
    pool.Put(std::move(taken.back()));
    ASSERT_EQ(pool.GetSemaphore()->Wait(0), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(pool.Get().get(), back);
}

TEST(Sys_ResourcePool, AWaiterOnTheEmptyPoolWakesOnPutOrOnAnAbortEvent)
{
    Sys_ResourcePool<Resource> pool(1, Resource());
    ASSERT_EQ(pool.GetSemaphore()->Wait(0), Sys_SyncObject::kWaitSignalled);
    std::unique_ptr<Resource> held = pool.Get();
    Sys_Event::Handle const abort = Sys_Event::Create(Sys_Event::kEventManualReset);
    Sys_SyncObject::HandleList const waitList = {abort, pool.GetSemaphore()};

    for (bool byAbort : {false, true})
    {
        SCOPED_TRACE(byAbort ? "abort" : "put");
        bool gotBlock = false;
        std::thread waiter(
            [&]
            {
                Sys_SyncObject::WaitForMultipleObjects(waitList, Sys_SyncObject::kWaitForAny);
                if (!abort->IsSet())
                {
                    held = pool.Get();
                    gotBlock = true;
                }
            });
        ASSERT_TRUE(vfltest::Eventually([&] { return vfltest::WaitersOn(*pool.GetSemaphore()) == 1; }));
        if (byAbort)
            abort->Set();
        else
            pool.Put(std::move(held));
        waiter.join();
        EXPECT_EQ(gotBlock, !byAbort);
        EXPECT_NE(held, nullptr);
    }
}

} // namespace
