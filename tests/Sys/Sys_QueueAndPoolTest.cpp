// The queues, pools and buffers that real-time code uses: what each hands
// out and takes back, use from several threads at once, and no heap
// allocation on the way where the real-time side needs none.
#include "Sys/Sys_AtomicPool.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_QueueForInterrupt.h"
#include "Sys/Sys_RealTimeTraceBuffer.h"
#include "Sys/Sys_RealTimeTraceBuffer_VarLenElem.h"
#include "Sys/Sys_ResourcePool.h"
#include "Sys/Sys_ThreadSafeQueue.h"
#include "Sys_ThreadingTestSupport.h"
#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

// ---------------------------------------------------------------- Sys_AtomicPool

TEST(Sys_AtomicPool, AnswersAndErrorsOfAllocAndFreeAndReservationsThatGrowThePool)
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

    // Reservations grow a pool, which never shrinks.
    Sys_AtomicPool grown;
    auto early = grown.Reserve(2); // before the size is known: made by Init
    EXPECT_EQ(grown.GetNumBlocks(), 0);
    grown.Init(24);
    EXPECT_EQ(grown.GetNumBlocks(), 2);
    void* held = grown.Alloc(24);
    {
        auto more = grown.Reserve(3);
        EXPECT_EQ(grown.GetNumReserved(), 5);
        EXPECT_EQ(grown.GetNumBlocks(), 5);
    }
    EXPECT_EQ(grown.GetNumReserved(), 2);
    auto again = grown.Reserve(1); // within the blocks there are
    EXPECT_EQ(grown.GetNumBlocks(), 5);
    // The blocks spliced in behind the cursor are all reachable.
    std::set<void*> got{held};
    for (int i = 0; i < 4; ++i)
        got.insert(grown.Alloc(24));
    EXPECT_EQ(got.size(), 5u);
    EXPECT_EQ(got.count(nullptr), 0u);
    EXPECT_EQ(grown.Alloc(24), nullptr);
    Sys_AtomicPool::Reservation moved = std::move(early);
    moved = Sys_AtomicPool::Reservation(); // gives up the moved count once
    EXPECT_EQ(grown.GetNumReserved(), 1);
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
    {
        // Else the check of no allocation below would pass by itself.
        vfltest::AllocationCounter counter;
        auto const* volatile p = new int(1);
        delete p;
        void* volatile q = std::malloc(10);
        std::free(q);
        EXPECT_GE(counter.Count(), 1u);
    }
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

// ---------------------------------------------------------------- Sys_RealTimeTraceBuffer

std::string const kFull = "*** Buffer full, some messages lost ***";

// A record of VarLenElem form: its length, then its bytes as text.
void PrintText(Sys_RingBuffer<char>& ring, std::ostream& out)
{
    int32 length = 0;
    ring.Read(&length, sizeof(length));
    std::string text(static_cast<std::size_t>(length), '\0');
    ring.Read(text.data(), length);
    out << text << '\n';
}

void StoreText(Sys_RealTimeTraceBuffer& buffer, std::string const& text)
{
    Sys_RealTimeTraceBuffer_VarLenElem const elem(static_cast<int32>(text.size()), text.data());
    buffer.Store(elem, &PrintText);
}

// Appends the lines that Dump prints.
void DumpInto(Sys_RealTimeTraceBuffer& buffer, std::vector<std::string>* lines)
{
    std::ostringstream out;
    buffer.Dump(&out);
    std::istringstream in(out.str());
    for (std::string line; std::getline(in, line);)
        lines->push_back(line);
}

TEST(Sys_RealTimeTraceBuffer, TheFullLineStandsExactlyWhereRecordsWereLostAndOthersComeBackWhole)
{
    // Room for two records of 8 characters and the full line.
    int32 const roomForTwo =
        static_cast<int32>(2 * Sys_RealTimeTraceBuffer::RecordBytes(4 + 8) + Sys_RealTimeTraceBuffer::RecordBytes(0));
    std::string const kDump = "<dump>"; // a step that dumps rather than stores
    struct Case
    {
        char const* name;
        int32 capacity;
        std::vector<std::string> steps, dumped;
    };
    Case const cases[] = {
        {"empty", 256, {}, {}},
        {"larger than the ring", 64, {std::string(100, 'x'), "b"}, {kFull, "b"}},
        {"ring stays full: one line", roomForTwo, {"one-0000", "two-0000", "3", "4"}, {"one-0000", "two-0000", kFull}},
        {"a line per full episode, and records again after a Dump",
         roomForTwo,
         {"one-0000", "two-0000", "3", kDump, "4", "5-000000", "6-000000", "7"},
         {"one-0000", "two-0000", kFull, "4", "5-000000", kFull}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_RealTimeTraceBuffer buffer(c.capacity);
        std::vector<std::string> dumped;
        for (auto const& step : c.steps)
            step == kDump ? DumpInto(buffer, &dumped) : StoreText(buffer, step);
        DumpInto(buffer, &dumped);
        EXPECT_EQ(dumped, c.dumped);
    }

    // Records of every size come back whole across the ring's end.
    Sys_RealTimeTraceBuffer buffer(257);
    std::mt19937 random(26);
    std::vector<std::string> stored, dumped;
    for (int i = 0; i < 2000; ++i)
    {
        std::string text(random() % 90 + 1, '\0');
        for (auto& ch : text)
            ch = static_cast<char>('a' + random() % 26);
        StoreText(buffer, text);
        stored.push_back(text);
        if (random() % 3 == 0)
            DumpInto(buffer, &dumped);
    }
    DumpInto(buffer, &dumped);
    // Whatever was lost is marked; everything else is whole and in order.
    std::size_t s = 0;
    bool markedSinceLoss = true;
    for (auto const& line : dumped)
    {
        if (line == kFull)
        {
            markedSinceLoss = true;
            continue;
        }
        std::size_t skipped = 0;
        while (s < stored.size() && stored[s] != line)
            ++s, ++skipped;
        ASSERT_LT(s, stored.size()) << "a record that was never stored: " << line;
        EXPECT_TRUE(skipped == 0 || markedSinceLoss) << "records lost without the full line before " << line;
        markedSinceLoss = false;
        ++s;
    }
}

// Two writers and a reader at once. Each record carries its writer, its
// number and a checksum: a torn record fails the sum, and a gap in a
// writer's numbers must have a full line before the record after it.
struct Stamped
{
    u32 writer, seq;
    u32 payload[250]; // long enough for a copy to be caught half done
    u32 sum;
};

u32 SumOf(Stamped const& r)
{
    u32 sum = r.writer * 7919u + r.seq;
    for (u32 p : r.payload)
        sum = sum * 31u + p;
    return sum;
}

void PrintStamped(Sys_RingBuffer<char>& ring, std::ostream& out)
{
    Stamped r;
    ring.Read(&r, sizeof(r));
    out << r.writer << ' ' << r.seq << ' ' << (SumOf(r) == r.sum ? "ok" : "torn") << '\n';
}

TEST(Sys_RealTimeTraceBuffer, TwoWritersAndALiveReaderSeeNoTornRecordAndNoUnmarkedGap)
{
    constexpr u32 kPerWriter = 20000;
    Sys_RealTimeTraceBuffer buffer(16384);
    std::atomic<int> writing{2};
    std::atomic<u64> allocations{0};
    std::vector<std::thread> writers;
    for (u32 w = 0; w < 2; ++w)
        writers.emplace_back(
            [&, w]
            {
                vfltest::AllocationCounter counter;
                for (u32 i = 0; i < kPerWriter; ++i)
                {
                    Stamped r{w, i, {}, 0};
                    for (u32 k = 0; k < std::size(r.payload); ++k)
                        r.payload[k] = i * 2654435761u + k * w;
                    r.sum = SumOf(r);
                    buffer.Store(&r, sizeof(r), &PrintStamped);
                }
                allocations += counter.Count();
                --writing;
            });
    std::ostringstream text;
    while (writing.load() > 0)
        buffer.Dump(&text);
    for (auto& t : writers)
        t.join();
    buffer.Dump(&text);
    EXPECT_EQ(allocations.load(), 0u);

    std::istringstream in(text.str());
    i64 last[2] = {-1, -1};
    bool marked[2] = {false, false};
    int torn = 0, unmarkedGaps = 0, backwards = 0;
    for (std::string line; std::getline(in, line);)
    {
        if (line == kFull)
        {
            marked[0] = marked[1] = true;
            continue;
        }
        std::istringstream fields(line);
        u32 w = 2, seq = 0;
        std::string state;
        fields >> w >> seq >> state;
        ASSERT_LT(w, 2u) << line;
        torn += state != "ok";
        backwards += static_cast<i64>(seq) <= last[w];
        unmarkedGaps += static_cast<i64>(seq) > last[w] + 1 && !marked[w];
        last[w] = seq;
        marked[w] = false;
    }
    EXPECT_GE(last[0] + last[1], 0) << "the reader got records";
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(backwards, 0);
    EXPECT_EQ(unmarkedGaps, 0);
}

// ---------------------------------------------------------------- queues

// An element that counts the living ones of its kind.
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

TEST(Sys_ThreadSafeQueue, PopsOwnersInTheOrderOfPushesAlsoWhenNodesAreReused)
{
    std::atomic<int> alive{0};
    {
        Sys_ThreadSafeQueue<std::unique_ptr<Item>> queue;
        int next = 0, expected = 0;
        // Later pushes go into the nodes that pops have freed.
        for (int round = 0; round < 5; ++round)
        {
            for (int i = 0; i < 3 + round; ++i)
                queue.Push(std::make_unique<Item>(next++, &alive));
            for (int i = 0; i < 2 + round; ++i)
                EXPECT_EQ(queue.Pop()->value, expected++);
        }
        EXPECT_EQ(queue.GetSize(), static_cast<std::size_t>(next - expected));
        EXPECT_EQ(alive.load(), next - expected); // popped owners are gone, queued ones alive
        vfltest::StCountAsserts asserts;
        while (!queue.IsEmpty())
            EXPECT_EQ(queue.Pop()->value, expected++);
        EXPECT_EQ(queue.Pop(), nullptr);
        EXPECT_EQ(asserts.Failed(), 1); // popping an empty queue
        queue.Push(std::make_unique<Item>(0, &alive));
    }
    // What was still queued died with the queue.
    EXPECT_EQ(alive.load(), 0);
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

// ---------------------------------------------------------------- Sys_ResourcePool

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
