// Sys_QueueForInterrupt: what the producer may dispose of, and a producer
// and a consumer on two processors at once.
#include "Sys/Sys_QueueForInterrupt.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{

struct Item
{
    explicit Item(int v, std::atomic<int>* alive = nullptr) : value(v), count(alive)
    {
        if (count)
            ++*count;
    }
    ~Item()
    {
        if (count)
            --*count;
    }
    int value;
    std::atomic<int>* count;
};

TEST(Sys_QueueForInterrupt, DisposesOnlyWhatTheConsumerIsDoneWithAndHasLeft)
{
    std::atomic<int> alive{0};
    Sys_QueueForInterrupt<Item> queue;
    EXPECT_EQ(queue.Front(), nullptr);
    queue.Advance(); // nothing to do
    for (int i = 0; i < 4; ++i)
        queue.Append(std::make_unique<Item>(i, &alive));
    queue.DisposeProcessedElements(); // nothing processed
    EXPECT_EQ(alive.load(), 4);
    ASSERT_NE(queue.Front(), nullptr);
    EXPECT_EQ(queue.Front()->value, 0);
    queue.Advance();
    queue.Advance();
    EXPECT_EQ(queue.Front()->value, 2);
    queue.DisposeProcessedElements();
    // The element the consumer stands on stays until it moves on.
    EXPECT_EQ(alive.load(), 3);
    queue.Advance();
    queue.Advance();
    EXPECT_EQ(queue.Front(), nullptr);
    queue.Append(std::make_unique<Item>(4, &alive)); // found behind the last one done
    EXPECT_EQ(queue.Front()->value, 4);
    queue.DisposeProcessedElements();
    EXPECT_EQ(alive.load(), 2);
    queue.Clear();
    EXPECT_EQ(alive.load(), 0);
    EXPECT_EQ(queue.Front(), nullptr);
    queue.Append(std::make_unique<Item>(5, &alive));
    EXPECT_EQ(queue.Front()->value, 5);
}

// The producer disposes while the consumer runs: ASan and TSan see any read
// of a deleted element, and the consumer sees every element once, in order.
TEST(Sys_QueueForInterrupt, AConsumerOnAnotherProcessorGetsEverythingOnceInOrder)
{
    constexpr int kCount = 50000;
    Sys_QueueForInterrupt<Item> queue;
    std::atomic<int> delivered{0};
    std::atomic<bool> inOrder{true};
    std::thread consumer(
        [&]
        {
            int expected = 0;
            while (expected < kCount)
            {
                if (Item const* item = queue.Front())
                {
                    if (item->value != expected)
                        inOrder = false;
                    ++expected;
                    queue.Advance();
                    delivered.store(expected, std::memory_order_relaxed);
                }
                else
                    std::this_thread::yield();
            }
        });
    for (int i = 0; i < kCount; ++i)
    {
        queue.Append(std::make_unique<Item>(i));
        if (i % 7 == 0)
            queue.DisposeProcessedElements();
    }
    consumer.join();
    queue.DisposeProcessedElements();
    EXPECT_EQ(delivered.load(), kCount);
    EXPECT_TRUE(inOrder.load());
}

} // namespace
