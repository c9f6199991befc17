// The process chain on the four shared threads, with stages on memory:
// pacing, block sizing, failures, aborts, progress, order of chains, and a
// stress run of many short chains against the race at the head.
#include "FF_AudioProcessTestStages.h"

#include "Sys/Sys_Init.h"
#include "Sys/Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <random>

namespace
{
using namespace ffchain;

struct Chain
{
    MemoryProducer::Handle producer;
    std::vector<TestFilter::Handle> filters;
    MemoryConsumer::Handle consumer;
    RecordingChain::Handle chain;
};

Chain MakeChain(Samples samples, int bits, i64 blockSamples, int filters = 1, int filterBits = 0)
{
    // As a host does before anything else: it installs the platform's
    // methods, which the shared threads use as soon as they exist.
    Sys_Init::Init();
    Chain c;
    c.producer = MemoryProducer::Handle(new MemoryProducer(std::move(samples), bits, blockSamples));
    c.consumer = MemoryConsumer::Handle(new MemoryConsumer());
    c.chain = RecordingChain::Handle(new RecordingChain());
    c.chain->Append(c.producer);
    for (int i = 0; i < filters; ++i)
    {
        c.filters.push_back(TestFilter::Handle(new TestFilter(filterBits)));
        c.chain->Append(c.filters.back());
    }
    c.chain->Append(c.consumer);
    c.chain->SetGetPercentCompletedObject(new FF_AudioProcessChain::UnitsProcessed<MemoryConsumer>(c.consumer.Get()));
    return c;
}

Sys_Task::EStatus RunChain(Chain& c)
{
    Sys_Init::Init();
    c.chain->Allocate();
    FF_ScheduleChain(c.chain);
    return WaitForChain(*c.chain);
}

TEST(FF_AudioProcessChain, OneBlockTravelsTheWholeChainPerTurn)
{
    struct Case
    {
        int channels;
        i64 length;
        i64 blockSamples;
        int filters;
        std::vector<i64> blocks;
    };
    Case const cases[] = {
        {1, 0, 64, 1, {0}},          // the end flag on an empty first block
        {1, 1, 64, 0, {1}},          // producer straight to consumer
        {2, 64, 64, 2, {64}},        // exactly one block
        {2, 65, 64, 3, {64, 1}},     // one more sample
        {3, 200, 64, 1, {64, 64, 64, 8}},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(testing::Message() << k.channels << " channels, " << k.length << " samples, " << k.filters
                                        << " filters");
        Samples const samples = Ramp(k.channels, k.length, 16);
        Chain c = MakeChain(samples, 16, k.blockSamples, k.filters);
        ASSERT_EQ(RunChain(c), Sys_Task::kStatusCompleted);
        EXPECT_EQ(c.consumer->mSamples, samples);
        EXPECT_EQ(c.consumer->mBlockSizes, k.blocks);
        std::vector<bool> ends(k.blocks.size(), false);
        ends.back() = true;
        EXPECT_EQ(c.consumer->mEndFlags, ends);
        for (auto const& f : c.filters)
        {
            EXPECT_EQ(f->mBlockSizes, k.blocks);
            // Filters are never finished by themselves; they end with the
            // chain. The last may still be leaving its slice.
            EXPECT_TRUE(vfltest::Eventually([&] { return f->GetStatus() == Sys_Task::kStatusReady; }));
        }
        EXPECT_EQ(c.producer->GetStatus(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(c.consumer->GetStatus(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(c.chain->GetPercentCompleted(), 100);
    }
}

TEST(FF_AudioProcessChain, TheLargestPreflightValuesSizeEveryBlock)
{
    // 8 bits widened to 24 on the way: every block, the producer's too, has
    // room for 3 bytes per sample.
    Samples const samples = Ramp(2, 300, 8);
    Chain c = MakeChain(samples, 8, 100, 1, 24);
    c.filters[0]->mMap = [](i32 v) { return v * 65536; };
    ASSERT_EQ(RunChain(c), Sys_Task::kStatusCompleted);
    for (auto const* capacities : {&c.producer->mCapacities, &c.filters[0]->mCapacities, &c.consumer->mCapacities})
        for (i64 capacity : *capacities)
            EXPECT_EQ(capacity, 300);
    EXPECT_EQ(c.consumer->mBytesPerSample, 3);
    ASSERT_EQ(c.consumer->mSamples[1].size(), 300u);
    EXPECT_EQ(c.consumer->mSamples[1][7], samples[1][7] * 65536);
}

TEST(FF_AudioProcessChain, StagesRunOnTheirSharedThreadsWithShortSystemNames)
{
    Chain c = MakeChain(Ramp(1, 10, 16), 16, 4);
    ASSERT_EQ(RunChain(c), Sys_Task::kStatusCompleted);
    struct Expected
    {
        ThreadSeen const& seen;
        char const* name;
        char const* systemName;
    };
    Expected const expected[] = {
        {c.filters[0]->mThread, "FF_AudioProcess: Filter thread", "FFProc:Filter"},
        {c.producer->mThread, "FF_AudioProcess: Producer Thread", "FFProc:Producer"},
        {c.consumer->mThread, "FF_AudioProcess: Consumer Thread", "FFProc:Consumer"},
        {c.chain->mThread, "FF_AudioProcess: Driver Thread", "FFProc:Driver"},
    };
    for (auto const& e : expected)
    {
        SCOPED_TRACE(e.name);
        EXPECT_EQ(e.seen.name, e.name);
        EXPECT_EQ(e.seen.systemName, e.systemName);
    }
}

TEST(FF_AudioProcessChain, AStageThatThrowsFailsTheChainWithItsException)
{
    struct Case
    {
        char const* stage;
        int producerAt, filterAt, consumerAt;
        char const* text;
    };
    Case const cases[] = {
        {"producer", 2, -1, -1, "producer failed at block 2"},
        {"filter", -1, 0, -1, "filter failed at block 0"},
        {"consumer", -1, -1, 3, "consumer failed at block 3"},
        // Only one block is in flight, so the first failure is the only one.
        {"filter first", -1, 1, 2, "filter failed at block 1"},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.stage);
        Chain c = MakeChain(Ramp(2, 1000, 16), 16, 10);
        c.producer->mThrowAtBlock = k.producerAt;
        c.filters[0]->mThrowAtBlock = k.filterAt;
        c.consumer->mThrowAtBlock = k.consumerAt;
        ASSERT_EQ(RunChain(c), Sys_Task::kStatusFailed);
        std::string const text = std::string("Assertion: ") + k.text;
        EXPECT_EQ(ExceptionText(*c.chain), text);
        // Thrown again with its type.
        try
        {
            c.chain->GetException()->Throw();
            ADD_FAILURE() << "nothing thrown";
        }
        catch (Cmn_TypedException<Cmn_TStringXData> const& e)
        {
            EXPECT_EQ(e.GetData().GetString(), k.text);
        }
        // Every stage has ended.
        for (Sys_Task* stage : {static_cast<Sys_Task*>(c.producer.Get()), static_cast<Sys_Task*>(c.filters[0].Get()),
                                static_cast<Sys_Task*>(c.consumer.Get())})
            EXPECT_NE(stage->GetStatus() & (Sys_Task::kStatusAborted | Sys_Task::kStatusFailed |
                                            Sys_Task::kStatusCompleted),
                      0);
    }
}

TEST(FF_AudioProcessChain, AbortWhileTheProducerWaitsOnAnEmptyPool)
{
    Chain c = MakeChain(Ramp(1, 100000, 16), 16, 10);
    c.consumer->mHoldFromBlock = 0;
    c.chain->Allocate();
    Sys_Semaphore::Handle const pool = c.consumer->PoolSemaphore();
    FF_ScheduleChain(c.chain);
    // All 16 blocks are held at the tail; the producer waits for a 17th.
    ASSERT_TRUE(vfltest::Eventually([&] { return vfltest::WaitersOn(*pool) == 1; }));
    EXPECT_EQ(c.consumer->BlocksHeld(), 16u);
    EXPECT_EQ(c.chain->GetStatus(), Sys_Task::kStatusRunning);

    c.chain->Abort();
    ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.chain->GetException(), nullptr);
    EXPECT_EQ(vfltest::WaitersOn(*pool), 0u);
    EXPECT_EQ(c.producer->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.filters[0]->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.consumer->GetStatus(), Sys_Task::kStatusAborted);

    // The producer thread is free again.
    Chain next = MakeChain(Ramp(1, 50, 16), 16, 10);
    EXPECT_EQ(RunChain(next), Sys_Task::kStatusCompleted);
}

TEST(FF_AudioProcessChain, AbortBeforeTheChainRunsEndsItAtOnce)
{
    Chain c = MakeChain(Ramp(1, 100, 16), 16, 10);
    c.chain->Allocate();
    c.chain->Abort();
    EXPECT_EQ(c.chain->GetStatus(), Sys_Task::kStatusAborted);
    FF_ScheduleChain(c.chain);
    Chain next = MakeChain(Ramp(1, 100, 16), 16, 10);
    ASSERT_EQ(RunChain(next), Sys_Task::kStatusCompleted);
    EXPECT_EQ(c.chain->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.chain->mStarted, -1);
    EXPECT_TRUE(c.consumer->mBlockSizes.empty());
}

TEST(FF_AudioProcessChain, ChainsRunOneAfterTheOtherAndAFailureStaysWithItsChain)
{
    std::vector<Chain> chains;
    for (int i = 0; i < 4; ++i)
        chains.push_back(MakeChain(Ramp(2, 500 + i, 16, i), 16, 32));
    chains[1].filters[0]->mThrowAtBlock = 3;
    chains[2].consumer->mThrowAtBlock = 0;
    for (auto& c : chains)
        c.chain->Allocate();
    for (auto& c : chains)
        FF_ScheduleChain(c.chain);
    Sys_Task::EStatus const expected[] = {Sys_Task::kStatusCompleted, Sys_Task::kStatusFailed,
                                          Sys_Task::kStatusFailed, Sys_Task::kStatusCompleted};
    for (std::size_t i = 0; i < chains.size(); ++i)
    {
        SCOPED_TRACE(i);
        ASSERT_EQ(WaitForChain(*chains[i].chain), expected[i]);
        if (i > 0)
        {
            EXPECT_GT(chains[i].chain->mStarted, chains[i - 1].chain->mEnded);
        }
        if (expected[i] == Sys_Task::kStatusCompleted)
        {
            EXPECT_EQ(chains[i].consumer->mSamples, Ramp(2, 500 + static_cast<i64>(i), 16, static_cast<i32>(i)));
        }
    }
}

TEST(FF_AudioProcessChain, ProgressRisesMonotonicallyTo100WhilePolledFromAnotherThread)
{
    for (i64 length : {i64{0}, i64{3000}})
    {
        SCOPED_TRACE(length);
        Chain c = MakeChain(Ramp(1, length, 16), 16, 7);
        c.chain->Allocate();
        Sys_Event::Handle const done = c.chain->GetNotificationEvent(kFinalStates);
        FF_ScheduleChain(c.chain);
        std::vector<i32> seen;
        do
            seen.push_back(c.chain->GetPercentCompleted());
        while (done->Wait(0) != Sys_SyncObject::kWaitSignalled);
        ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusCompleted);
        seen.push_back(c.chain->GetPercentCompleted());
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
        EXPECT_GE(seen.front(), 0);
        EXPECT_EQ(seen.back(), 100);
    }
}

TEST(FF_AudioProcessChain, AStreamThatEndsShortOfWhatTheTailWantsFailsInsteadOfHanging)
{
    // The consumer is told of more samples than the producer has.
    class ShortProducer : public MemoryProducer
    {
    public:
        using MemoryProducer::MemoryProducer;
        void Preflight(FF_AudioProcessBlock* prototype) override
        {
            MemoryProducer::Preflight(prototype);
            prototype->SetTotalSamples(prototype->GetTotalSamples() + 1);
        }
    };
    Chain c;
    c.producer = MemoryProducer::Handle(new ShortProducer(Ramp(1, 50, 16), 16, 10));
    c.consumer = MemoryConsumer::Handle(new MemoryConsumer());
    c.chain = RecordingChain::Handle(new RecordingChain());
    c.chain->Append(c.producer);
    c.chain->Append(c.consumer);
    ASSERT_EQ(RunChain(c), Sys_Task::kStatusFailed);
    EXPECT_NE(ExceptionText(*c.chain).find("stream ended before"), std::string::npos);
    EXPECT_EQ(c.consumer->GetStatus(), Sys_Task::kStatusAborted);
}

TEST(FF_AudioProcessChain, AChainOfTheWrongShapeIsRefusedAtAllocate)
{
    struct Case
    {
        char const* shape;
        std::vector<int> kinds; // 0 filter, 1 producer, 2 consumer
    };
    Case const cases[] = {
        {"empty", {}},
        {"producer alone", {1}},
        {"filter at the head", {0, 2}},
        {"filter at the tail", {1, 0}},
        {"consumer at the head", {2, 2}},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.shape);
        FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
        for (int kind : k.kinds)
        {
            if (kind == 0)
                chain->Append(TestFilter::Handle(new TestFilter()));
            else if (kind == 1)
                chain->Append(MemoryProducer::Handle(new MemoryProducer(Ramp(1, 10, 16), 16, 4)));
            else
                chain->Append(MemoryConsumer::Handle(new MemoryConsumer()));
        }
        try
        {
            chain->Allocate();
            ADD_FAILURE() << "allocated";
        }
        catch (Cmn_TypedException<Cmn_TStringXData> const& e)
        {
            EXPECT_TRUE(e.GetCode() == XC_Cmn_TextAssert);
        }
    }
}

TEST(FF_AudioProcessChain, ThousandsOfShortChainsInARowAllComplete)
{
    // A producer ends its slice after it has handed its last block on; the
    // driver must not read it as ended before it has. Short chains make that
    // window come up at every turn.
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i)
    {
        i64 const length = static_cast<i64>(random() % 3) * 4 + static_cast<i64>(random() % 2);
        Chain c = MakeChain(Ramp(1, length, 8, i), 8, 4, static_cast<int>(random() % 2));
        ASSERT_EQ(RunChain(c), Sys_Task::kStatusCompleted) << "chain " << i << ", " << length << " samples";
        ASSERT_EQ(c.consumer->mSamples[0].size(), static_cast<std::size_t>(length));
    }
}

TEST(FF_AudioProcessChain, RandomAbortsAndFailuresAlwaysEndInAFinalState)
{
    std::mt19937 random(11);
    for (int i = 0; i < 300; ++i)
    {
        SCOPED_TRACE(i);
        Chain c = MakeChain(Ramp(2, 200, 16, i), 16, 5, 1 + static_cast<int>(random() % 2));
        int const fault = static_cast<int>(random() % 4);
        int const at = static_cast<int>(random() % 45);
        if (fault == 1)
            c.producer->mThrowAtBlock = at;
        else if (fault == 2)
            c.filters.back()->mThrowAtBlock = at;
        c.chain->Allocate();
        FF_ScheduleChain(c.chain);
        if (fault == 3)
        {
            ASSERT_TRUE(vfltest::Eventually([&] { return c.chain->GetPercentCompleted() >= at; }));
            c.chain->Abort();
        }
        Sys_Task::EStatus const status = WaitForChain(*c.chain);
        ASSERT_NE(status, Sys_Task::kStatusRunning);
        if (fault == 0)
        {
            EXPECT_EQ(status, Sys_Task::kStatusCompleted);
        }
        if (fault == 1 || fault == 2)
        {
            EXPECT_EQ(status, at < 40 ? Sys_Task::kStatusFailed : Sys_Task::kStatusCompleted);
        }
        if (status == Sys_Task::kStatusCompleted)
        {
            EXPECT_EQ(c.consumer->mSamples, Ramp(2, 200, 16, i));
        }
        for (Sys_Task* stage : {static_cast<Sys_Task*>(c.producer.Get()), static_cast<Sys_Task*>(c.consumer.Get())})
            EXPECT_NE(stage->GetStatus(), Sys_Task::kStatusRunning);
    }
}

} // namespace
