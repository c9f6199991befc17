// The process chain on the four shared threads, with stages on memory:
// pacing, block sizing, failures, aborts, order of chains, and a stress run
// of many short chains against the race at the head.
#include "FF_AudioProcessTestStages.h"

#include "Sys/Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <random>

namespace
{
using namespace ffchain;

// The stages run on their shared threads (a lone filter on the filter
// thread), which have short names for the system.
TEST(FF_AudioProcessChain, EveryBlockTravelsTheWholeChainInOrderOnTheSharedThreads)
{
    struct Case
    {
        int channels;
        i64 length;
        int filters;
        std::vector<i64> blocks; // of 64 samples at most
    };
    Case const cases[] = {
        {1, 0, 1, {0}}, // the end flag on an empty first block
        {1, 1, 0, {1}}, // producer straight to consumer
        {2, 64, 2, {64}}, {2, 65, 3, {64, 1}}, {3, 200, 1, {64, 64, 64, 8}},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(testing::Message() << k.length << " samples, " << k.filters << " filters");
        Samples const samples = Ramp(k.channels, k.length, 16);
        Chain c(samples, 16, 64, k.filters);
        ASSERT_EQ(c.Run(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(c.consumer->samples, samples);
        EXPECT_EQ(c.consumer->sizes, k.blocks);
        std::vector<bool> ends(k.blocks.size(), false);
        ends.back() = true;
        EXPECT_EQ(c.consumer->ends, ends);
        EXPECT_EQ(c.producer->GetStatus(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(c.consumer->GetStatus(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(c.producer->thread, "FF_AudioProcess: Producer Thread|FFProc:Producer");
        EXPECT_EQ(c.consumer->thread, "FF_AudioProcess: Consumer Thread|FFProc:Consumer");
        EXPECT_EQ(c.chain->thread, "FF_AudioProcess: Driver Thread|FFProc:Driver");
        if (k.filters == 1)
        {
            EXPECT_EQ(c.filters[0]->thread, "FF_AudioProcess: Filter thread|FFProc:Filter");
        }
        for (auto const& f : c.filters)
        {
            EXPECT_EQ(f->sizes, k.blocks);
            // A filter never finishes by itself; the last may still be
            // leaving its slice.
            EXPECT_TRUE(vfltest::Eventually([&] { return f->GetStatus() == Sys_Task::kStatusReady; }));
        }
        EXPECT_EQ(c.chain->GetPercentCompleted(), 100);
    }
}

TEST(FF_AudioProcessChain, TheLargestPreflightValuesSizeEveryBlock)
{
    // 8 bits widened to 24 on the way: every block, the producer's too, has
    // room for 100 samples of 3 bytes.
    Samples const samples = Ramp(2, 300, 8);
    Chain c(samples, 8, 100, 1, 24);
    c.filters[0]->map = [](i32 v) { return v * 65536; };
    ASSERT_EQ(c.Run(), Sys_Task::kStatusCompleted);
    std::vector<i64> const capacities(3, 300);
    EXPECT_EQ(c.producer->capacities, capacities);
    EXPECT_EQ(c.filters[0]->capacities, capacities);
    EXPECT_EQ(c.consumer->capacities, capacities);
    EXPECT_EQ(c.consumer->samples[1][7], samples[1][7] * 65536);
}

TEST(FF_AudioProcessChain, AStageThatThrowsFailsTheChainWithItsExceptionAndEndsTheOthers)
{
    struct Case
    {
        int producerAt, filterAt, consumerAt;
        char const* text;
    };
    Case const cases[] = {
        {2, -1, -1, "producer failed at block 2"},
        {-1, 0, -1, "filter failed at block 0"},
        {-1, -1, 3, "consumer failed at block 3"},
        // Block 2 never gets past the failed filter: one failure only.
        {-1, 1, 2, "filter failed at block 1"},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.text);
        Chain c(Ramp(2, 1000, 16), 16, 10);
        c.producer->throwAt = k.producerAt;
        c.filters[0]->throwAt = k.filterAt;
        c.consumer->throwAt = k.consumerAt;
        ASSERT_EQ(c.Run(), Sys_Task::kStatusFailed);
        EXPECT_EQ(ExceptionText(*c.chain), std::string("Assertion: ") + k.text);
        try
        {
            c.chain->GetException()->Throw();
        }
        catch (Cmn_TypedException<Cmn_TStringXData> const& e) // thrown again with its type
        {
            EXPECT_EQ(e.GetData().GetString(), k.text);
        }
        for (Sys_Task const* stage :
             {static_cast<Sys_Task*>(c.producer.Get()), static_cast<Sys_Task*>(c.filters[0].Get()),
              static_cast<Sys_Task*>(c.consumer.Get())})
            EXPECT_NE(stage->GetStatus() & kFinalStates, 0);
    }
}

TEST(FF_AudioProcessChain, AbortWhileTheProducerWaitsOnAnEmptyPool)
{
    Chain c(Ramp(1, 100000, 16), 16, 10);
    c.consumer->holdFrom = 0;
    c.chain->Allocate();
    Sys_Semaphore::Handle const pool = c.consumer->PoolSemaphore();
    FF_ScheduleChain(c.chain);
    // All 16 blocks end up held at the tail; the producer waits for a 17th.
    ASSERT_TRUE(vfltest::Eventually([&] { return c.consumer->heldCount == 16 && vfltest::WaitersOn(*pool) == 1; }));

    c.chain->Abort();
    ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.chain->GetException(), nullptr);
    EXPECT_EQ(vfltest::WaitersOn(*pool), 0u);
    EXPECT_EQ(c.producer->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.filters[0]->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.consumer->GetStatus(), Sys_Task::kStatusAborted);
    // No thread stays blocked: the next chain runs.
    EXPECT_EQ(Chain(Ramp(1, 50, 16), 16, 10).Run(), Sys_Task::kStatusCompleted);
}

TEST(FF_AudioProcessChain, ChainsRunOneAfterTheOtherAndAFailureStaysWithItsChain)
{
    std::vector<Chain> chains;
    for (int i = 0; i < 4; ++i)
        chains.emplace_back(Ramp(2, 500 + i, 16, i), 16, 32);
    chains[1].filters[0]->throwAt = 3;
    chains[2].consumer->throwAt = 0;
    for (auto& c : chains)
        c.chain->Allocate();
    for (auto& c : chains)
        FF_ScheduleChain(c.chain);
    Sys_Task::EStatus const expected[] = {Sys_Task::kStatusCompleted, Sys_Task::kStatusFailed, Sys_Task::kStatusFailed,
                                          Sys_Task::kStatusCompleted};
    for (std::size_t i = 0; i < chains.size(); ++i)
    {
        SCOPED_TRACE(i);
        ASSERT_EQ(WaitForChain(*chains[i].chain), expected[i]);
        EXPECT_GT(chains[i].chain->started, i > 0 ? chains[i - 1].chain->ended : 0);
    }
    EXPECT_EQ(chains[3].consumer->samples, Ramp(2, 503, 16, 3));
}

TEST(FF_AudioProcessChain, AStreamLongerOrShorterThanWhatTheTailWantsEndsTheChainWithoutHanging)
{
    // The consumer is told of more or fewer samples than the producer has.
    struct MisstatingProducer : MemoryProducer
    {
        using MemoryProducer::MemoryProducer;
        i64 misstatement = 0;
        void Preflight(FF_AudioProcessBlock* p) override
        {
            MemoryProducer::Preflight(p);
            p->SetTotalSamples(p->GetTotalSamples() + misstatement);
        }
    };
    struct Case
    {
        i64 misstatement;
        Sys_Task::EStatus chain, consumer;
    } const cases[] = {
        // One sample more: the tail would wait for ever.
        {1, Sys_Task::kStatusFailed, Sys_Task::kStatusAborted},
        // Two blocks fewer: the tail completes while blocks are on their
        // way, which go back to the pool.
        {-20, Sys_Task::kStatusCompleted, Sys_Task::kStatusCompleted},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.misstatement);
        ChainOf<MisstatingProducer> c(Ramp(1, 50, 16), 16, 10);
        c.producer->misstatement = k.misstatement;
        ASSERT_EQ(c.Run(), k.chain);
        if (k.chain == Sys_Task::kStatusFailed)
        {
            EXPECT_NE(ExceptionText(*c.chain).find("stream ended before"), std::string::npos);
        }
        EXPECT_EQ(c.consumer->GetStatus(), k.consumer);
    }
}

// The tail's first slice finds blocks queued behind the one it takes: the
// stages run at once, and the head reads ahead.
TEST(FF_AudioProcessChain, SeveralBlocksAreInFlightAtOnce)
{
    struct PatientConsumer : MemoryConsumer
    {
        std::atomic<bool> sawOthers{false};
        EResult ExecImpl() override
        {
            if (sizes.empty())
                sawOthers = vfltest::Eventually([&] { return GetInputQueue().GetSize() >= 4; });
            return MemoryConsumer::ExecImpl();
        }
    };
    ChainOf<MemoryProducer, PatientConsumer> c(Ramp(2, 1000, 16), 16, 10);
    ASSERT_EQ(c.Run(), Sys_Task::kStatusCompleted);
    EXPECT_TRUE(c.consumer->sawOthers);
    EXPECT_EQ(c.consumer->samples, Ramp(2, 1000, 16));
}

TEST(FF_AudioProcessChain, AChainOfTheWrongShapeIsRefusedAtAllocate)
{
    auto const stage = [](char kind) -> FF_AudioProcess::Handle
    {
        if (kind == 'p')
            return H<MemoryProducer>(new MemoryProducer(Ramp(1, 10, 16), 16, 4));
        if (kind == 'c')
            return H<MemoryConsumer>(new MemoryConsumer());
        return H<TestFilter>(new TestFilter());
    };
    for (std::string shape : {"", "p", "fc", "pf", "cc"})
    {
        SCOPED_TRACE(shape);
        FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
        for (char kind : shape)
            chain->Append(stage(kind));
        EXPECT_TRUE(ThrownBy([&] { chain->Allocate(); }).code == XC_Cmn_TextAssert);
    }
}

TEST(FF_AudioProcessChain, ThousandsOfShortChainsInARowAllComplete)
{
    // A producer's slice ends after it has handed its last block on, and the
    // rest of the chain may finish the turn before it does. Short chains
    // bring that window up at nearly every turn.
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i)
    {
        i64 const length = static_cast<i64>(random() % 3) * 4 + static_cast<i64>(random() % 2);
        Chain c(Ramp(1, length, 8, i), 8, 4, static_cast<int>(random() % 2));
        ASSERT_EQ(c.Run(), Sys_Task::kStatusCompleted) << "chain " << i << ", " << length << " samples";
        ASSERT_EQ(c.consumer->samples[0].size(), static_cast<std::size_t>(length));
    }
}

} // namespace
