// Sys_ThreadSafeQueue: order, move-only owners, and use from several threads.
#include "Sys/Sys_ThreadSafeQueue.h"

#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace
{

TEST(Sys_ThreadSafeQueue, PopsOwnersInTheOrderOfPushesAlsoWhenNodesAreReused)
{
    auto const alive = std::make_shared<int>(0);
    struct Counted
    {
        Counted(std::shared_ptr<int> c, int v) : count(std::move(c)), value(v) { ++*count; }
        ~Counted() { --*count; }
        std::shared_ptr<int> count;
        int value;
    };
    {
        Sys_ThreadSafeQueue<std::unique_ptr<Counted>> queue;
        int next = 0, expected = 0;
        // Later pushes go into the nodes that pops have freed.
        for (int round = 0; round < 5; ++round)
        {
            for (int i = 0; i < 3 + round; ++i)
                queue.Push(std::make_unique<Counted>(alive, next++));
            for (int i = 0; i < 2 + round; ++i)
                EXPECT_EQ(queue.Pop()->value, expected++);
        }
        EXPECT_EQ(queue.GetSize(), static_cast<std::size_t>(next - expected));
        EXPECT_EQ(*alive, next - expected); // popped owners are gone, queued ones alive
        vfltest::StCountAsserts asserts;
        while (!queue.IsEmpty())
            EXPECT_EQ(queue.Pop()->value, expected++);
        EXPECT_EQ(queue.Pop(), nullptr);
        EXPECT_EQ(asserts.Failed(), 1); // popping an empty queue
        queue.Push(std::make_unique<Counted>(alive, 0));
    }
    // What was still queued died with the queue.
    EXPECT_EQ(*alive, 0);
}

TEST(Sys_ThreadSafeQueue, ProducersAndAConsumerOnOtherThreadsLoseNothing)
{
    constexpr int kPerThread = 20000;
    Sys_ThreadSafeQueue<std::unique_ptr<int>> queue;
    std::vector<std::thread> producers;
    for (int t = 0; t < 2; ++t)
        producers.emplace_back(
            [&queue, t]
            {
                for (int i = 0; i < kPerThread; ++i)
                    queue.Push(std::make_unique<int>(t * kPerThread + i));
            });
    std::vector<int> lastOf(2, -1);
    int got = 0;
    while (got < 2 * kPerThread)
    {
        if (queue.IsEmpty())
        {
            std::this_thread::yield();
            continue;
        }
        int const v = *queue.Pop();
        int const t = v / kPerThread;
        // Each producer's values come out in its own order.
        EXPECT_GT(v, lastOf[t]);
        lastOf[t] = v;
        ++got;
    }
    for (auto& p : producers)
        p.join();
    EXPECT_TRUE(queue.IsEmpty());
}

} // namespace
