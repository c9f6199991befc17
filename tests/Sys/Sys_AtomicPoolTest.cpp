// Sys_AtomicPool: its answers and errors, blocks owned by one thread at a
// time under contention, allocation from a signal handler, and no heap
// allocation on the way.
#include "Sys/Sys_AtomicPool.h"

#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace
{

// Else every "no allocation" check here would pass by itself.
TEST(Sys_AtomicPool, TheAllocationCounterSeesMallocAndNew)
{
    vfltest::AllocationCounter counter;
    auto const* volatile p = new int(1);
    delete p;
    void* volatile q = std::malloc(10);
    std::free(q);
    EXPECT_GE(counter.Count(), 1u);
}

TEST(Sys_AtomicPool, AnswersAndErrorsOfAllocAndFree)
{
    {
        Sys_AtomicPool empty;
        empty.Init(32);
        EXPECT_EQ(empty.Alloc(8), nullptr);
        EXPECT_EQ(empty.GetLastError(), Sys_AtomicPool::kErrAllInUse);
    }
    Sys_AtomicPool pool;
    pool.Init(32);
    auto const reservation = pool.Reserve(2);
    void* a = pool.Alloc(32);
    void* b = pool.Alloc(1);
    ASSERT_TRUE(a && b && a != b);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % 16, 0u);
    EXPECT_EQ(pool.Alloc(4), nullptr);
    EXPECT_EQ(pool.GetLastError(), Sys_AtomicPool::kErrAllInUse);
    pool.Free(a);
    EXPECT_EQ(pool.Alloc(33), nullptr); // too large, though a block is free
    EXPECT_EQ(pool.GetLastError(), Sys_AtomicPool::kErrTooLarge);
    EXPECT_EQ(pool.Alloc(32), a);
    pool.Free(nullptr);
}

TEST(Sys_AtomicPool, ReservationsGrowThePoolWhichNeverShrinks)
{
    Sys_AtomicPool pool;
    auto early = pool.Reserve(2); // before the size is known: made by Init
    EXPECT_EQ(pool.GetNumBlocks(), 0);
    pool.Init(24);
    EXPECT_EQ(pool.GetNumBlocks(), 2);
    void* held = pool.Alloc(24);
    {
        auto more = pool.Reserve(3);
        EXPECT_EQ(pool.GetNumReserved(), 5);
        EXPECT_EQ(pool.GetNumBlocks(), 5);
    }
    EXPECT_EQ(pool.GetNumReserved(), 2);
    auto again = pool.Reserve(1); // within the blocks there are
    EXPECT_EQ(pool.GetNumBlocks(), 5);
    // The blocks spliced in behind the cursor are all reachable.
    std::set<void*> got{held};
    for (int i = 0; i < 4; ++i)
        got.insert(pool.Alloc(24));
    EXPECT_EQ(got.size(), 5u);
    EXPECT_EQ(got.count(nullptr), 0u);
    EXPECT_EQ(pool.Alloc(24), nullptr);
    Sys_AtomicPool::Reservation moved = std::move(early);
    moved = Sys_AtomicPool::Reservation(); // gives up the moved count once
    EXPECT_EQ(pool.GetNumReserved(), 1);
}

// Every owner stamps its block and checks the stamp before it gives the
// block back: two owners of one block at once overwrite each other's.
TEST(Sys_AtomicPool, FourThreadsNeverShareABlockAndLoseNone)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 100000;
    constexpr int kBlocks = 3;
    Sys_AtomicPool pool;
    pool.Init(32);
    auto const reservation = pool.Reserve(kBlocks);
    std::atomic<int> clashes{0};
    std::atomic<u64> allocations{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(
            [&, t]
            {
                vfltest::AllocationCounter counter;
                void* held[2] = {nullptr, nullptr};
                for (u32 i = 0; i < kRounds; ++i)
                {
                    void*& slot = held[i % 2];
                    if (slot)
                    {
                        clashes += *static_cast<u64*>(slot) != (u64{static_cast<u32>(t)} << 32 | (i - 2));
                        pool.Free(slot);
                    }
                    if ((slot = pool.Alloc(8)) != nullptr)
                        *static_cast<u64*>(slot) = u64{static_cast<u32>(t)} << 32 | i;
                }
                pool.Free(held[0]);
                pool.Free(held[1]);
                allocations += counter.Count();
            });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(clashes.load(), 0);
    EXPECT_EQ(allocations.load(), 0u);
    std::set<void*> all;
    for (int i = 0; i < kBlocks; ++i)
        all.insert(pool.Alloc(32));
    EXPECT_EQ(all.size(), static_cast<std::size_t>(kBlocks));
    EXPECT_EQ(all.count(nullptr), 0u);
}

Sys_AtomicPool* sSignalPool = nullptr;
void* volatile sSignalBlocks[3];

void AllocatingHandler(int)
{
    for (auto& block : sSignalBlocks)
        block = sSignalPool->Alloc(16);
    sSignalPool->Free(sSignalBlocks[0]);
}

TEST(Sys_AtomicPool, ASignalHandlerAllocatesAndFrees)
{
    Sys_AtomicPool pool;
    pool.Init(32);
    auto const reservation = pool.Reserve(2);
    void* const held = pool.Alloc(8); // the interrupted code holds one
    sSignalPool = &pool;
    struct sigaction action = {}, old = {};
    action.sa_handler = &AllocatingHandler;
    sigemptyset(&action.sa_mask);
    ASSERT_EQ(sigaction(SIGUSR1, &action, &old), 0);
    ASSERT_EQ(raise(SIGUSR1), 0);
    sigaction(SIGUSR1, &old, nullptr);
    EXPECT_NE(sSignalBlocks[0], nullptr);
    EXPECT_NE(sSignalBlocks[0], held);
    EXPECT_EQ(sSignalBlocks[1], nullptr); // all in use then
    EXPECT_EQ(sSignalBlocks[2], nullptr);
    EXPECT_EQ(pool.Alloc(8), sSignalBlocks[0]); // the handler gave it back
}

} // namespace
