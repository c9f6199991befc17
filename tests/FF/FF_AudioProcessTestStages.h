// Stages on memory for the tests of the process engine. Each can be told to
// throw at a given block, and records what it saw and where it ran.
#pragma once

#include "FF_AudioProcessTestBlocks.h"

#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioProcess.h"
#include "FF/FF_AudioProcessChain.h"
#include "FF/FF_AudioProcessUtils.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_OSErrData.h"
#include "Sys/Sys_Thread.h"

#include <atomic>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ffchain
{
using Samples = ffproc::Channels;

constexpr int32 kFinalStates = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

// Every wait on a chain has a limit, so that a pacing bug fails the test
// instead of hanging it. kStatusRunning if the chain has not ended by then.
inline Sys_Task::EStatus WaitForChain(Sys_Task& chain)
{
    if (chain.GetNotificationEvent(kFinalStates)->Wait(30000) != Sys_SyncObject::kWaitSignalled)
        return Sys_Task::kStatusRunning;
    return chain.GetStatus();
}

inline std::string ExceptionText(Sys_Task const& task)
{
    return task.GetException() ? task.GetException()->what() : "";
}

// What f throws: its code, its system error if it has one, and its full
// description; no code if it throws nothing.
struct Thrown
{
    std::optional<XC_BaseExceptionCode> code;
    std::optional<int32> err;
    std::string text;
};

inline Thrown ThrownBy(std::function<void()> const& f)
{
    try
    {
        f();
    }
    catch (Cmn_Exception const& e)
    {
        auto const* os = dynamic_cast<Cmn_TypedException<Sys_OSErrData> const*>(&e);
        return {e.GetCode(), os ? std::optional<int32>(os->GetData().GetErr()) : std::nullopt, e.GetFullDescription()};
    }
    return {};
}

// "object's name|name the system shows" of the calling thread.
inline std::string ThisThread()
{
    std::string comm;
    std::getline(std::ifstream("/proc/thread-self/comm"), comm);
    Sys_Thread::Handle const thread = Sys_Thread::GetCurrentThread();
    return (thread ? thread->GetName() : "") + "|" + comm;
}

inline void ThrowAt(int block, int at, char const* stage)
{
    if (block == at)
        throw Cmn_TypedException<Cmn_TStringXData>::New(
            XC_Cmn_TextAssert, Cmn_TStringXData(std::string(stage) + " failed at block " + std::to_string(block)));
}

// What every test stage records.
struct Record
{
    int throwAt = -1;
    std::vector<i64> sizes;
    std::vector<bool> ends;
    std::vector<i64> capacities;
    std::string thread;

    void Add(FF_AudioProcessBlock const& block, char const* stage)
    {
        ThrowAt(static_cast<int>(sizes.size()), throwAt, stage);
        thread = ThisThread();
        sizes.push_back(block.GetNumSamples());
        ends.push_back(block.GetEndOfStream());
        capacities.push_back(block.GetChannelCapacity());
    }
};

// Hands out a stream held in memory, in blocks of at most blockSamples.
class MemoryProducer : public FF_AudioProcess, public Record
{
public:
    MemoryProducer(Samples samples, int bits, i64 blockSamples)
        : mSamples(std::move(samples)), mBits(bits), mBlock(blockSamples)
    {
    }

    EProcessType GetProcessType() const override { return kProcessProducer; }
    void Preflight(FF_AudioProcessBlock* p) override
    {
        p->SetNumChannels(static_cast<u16>(mSamples.size()));
        p->SetBitsPerSample(mBits);
        p->SetNumSamples(mBlock);
        p->SetTotalSamples(Length());
    }
    void Process(FF_AudioProcessBlock*, FF_AudioProcessBlock* out) override
    {
        i64 const take = std::min(mBlock, Length() - mPosition);
        out->SetNumSamples(take);
        out->SetEndOfStream(mPosition + take == Length());
        Add(*out, "producer");
        for (std::size_t c = 0; c < mSamples.size(); ++c)
            for (i64 i = 0; i < take; ++i)
                ffproc::Put(*out, static_cast<u32>(c), i, mSamples[c][static_cast<std::size_t>(mPosition + i)]);
        mPosition += take;
    }

protected:
    // A producer's slice: a block from the pool, filled, handed on.
    EResult ExecImpl() override
    {
        BlockPtr block = WaitForPoolBlock();
        if (!block)
            return kResultAborted;
        block->SetNumChannels(static_cast<u16>(mSamples.size()));
        block->SetBitsPerSample(mBits);
        Process(block.get(), block.get());
        PassOn(std::move(block), 0);
        return mPosition == Length() ? kResultCompleted : kResultReady;
    }

private:
    i64 Length() const { return mSamples.empty() ? 0 : static_cast<i64>(mSamples[0].size()); }

    Samples mSamples;
    int mBits;
    i64 mBlock;
    i64 mPosition = 0;
};

// Keeps the stream it is given, and counts it for the percentage. From
// block holdFrom on it keeps the blocks too, so that the pool runs dry.
class MemoryConsumer : public FF_AudioProcess, public Record
{
public:
    int holdFrom = -1;
    Samples samples;
    std::vector<BlockPtr> held;
    // The size of held, for other threads.
    std::atomic<std::size_t> heldCount{0};

    u64 GetUnitsToProcess() const { return mToProcess; }
    u64 GetUnitsProcessed() const { return mProcessed.load(); }
    Sys_Semaphore::Handle PoolSemaphore() const { return GetProcessBlockPool()->GetSemaphore(); }

    EProcessType GetProcessType() const override { return kProcessConsumer; }
    void Preflight(FF_AudioProcessBlock* p) override
    {
        mToProcess = static_cast<u64>(p->GetTotalSamples());
        samples.assign(p->GetNumChannels(), {});
    }
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock*) override
    {
        Add(*in, "consumer");
        for (u32 c = 0; c < samples.size(); ++c)
            for (i64 i = 0; i < in->GetNumSamples(); ++i)
                samples[c].push_back(ffproc::Get(*in, c, i));
        mProcessed = mProcessed.load() + static_cast<u64>(in->GetNumSamples());
    }

protected:
    EResult ExecImpl() override
    {
        BlockPtr block = GetInputQueue().Pop();
        Process(block.get(), nullptr);
        if (holdFrom >= 0 && static_cast<int>(sizes.size()) > holdFrom)
        {
            held.push_back(std::move(block));
            heldCount = held.size();
        }
        else
            ReturnToPool(std::move(block));
        return mProcessed.load() == mToProcess ? kResultCompleted : kResultReady;
    }

private:
    u64 mToProcess = 0;
    std::atomic<u64> mProcessed{0};
};

// A filter that maps every sample, and may change the bit depth.
class TestFilter : public FF_AudioProcess, public Record
{
public:
    explicit TestFilter(int outBits = 0) : mOutBits(outBits) {}

    std::function<i32(i32)> map = [](i32 v) { return v; };

    void Preflight(FF_AudioProcessBlock* p) override
    {
        if (mOutBits > 0)
            p->SetBitsPerSample(mOutBits);
    }
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override
    {
        Add(*out, "filter");
        if (mOutBits > 0)
            out->SetBitsPerSample(mOutBits);
        for (u32 c = 0; c < in->GetNumChannels(); ++c)
            for (i64 i = 0; i < in->GetNumSamples(); ++i)
                ffproc::Put(*out, c, i, map(ffproc::Get(*in, c, i)));
    }

private:
    int mOutBits;
};

// A chain that records on which thread, and when on a common clock, it ran.
class RecordingChain : public FF_AudioProcessChain
{
public:
    static inline std::atomic<int> sClock{0};
    int started = -1;
    int ended = -1;
    std::string thread;

protected:
    EResult ExecImpl() override
    {
        started = ++sClock;
        thread = ThisThread();
        try
        {
            EResult const result = FF_AudioProcessChain::ExecImpl();
            ended = ++sClock;
            return result;
        }
        catch (...)
        {
            ended = ++sClock;
            throw;
        }
    }
};

template <class T> using H = Cmn_PolymorphicHandle<T, Sys_Task>;

// The stages in a chain, allocated.
inline FF_AudioProcessChain::Handle Allocated(std::vector<FF_AudioProcess::Handle> const& stages)
{
    // As a host does first: the shared threads use the platform's methods as
    // soon as they exist.
    Sys_Init::Init();
    FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
    for (auto const& stage : stages)
        chain->Append(stage);
    chain->Allocate();
    return chain;
}

inline Sys_Task::EStatus RunChain(FF_AudioProcessChain::Handle const& chain)
{
    FF_ScheduleChain(chain);
    return WaitForChain(*chain);
}

// A head, filters that record what they see, and a consumer that keeps the
// stream, with the consumer's percentage on the chain.
template <class Producer = MemoryProducer, class Consumer = MemoryConsumer> struct ChainOf
{
    H<Producer> producer;
    std::vector<H<TestFilter>> filters;
    H<Consumer> consumer{new Consumer()};
    H<RecordingChain> chain{new RecordingChain()};

    explicit ChainOf(Producer* head, int numFilters = 1, int filterBits = 0) : producer(head)
    {
        Sys_Init::Init();
        chain->Append(producer);
        for (int i = 0; i < numFilters; ++i)
        {
            filters.push_back(H<TestFilter>(new TestFilter(filterBits)));
            chain->Append(filters.back());
        }
        chain->Append(consumer);
        chain->SetGetPercentCompletedObject(new FF_AudioProcessChain::UnitsProcessed<MemoryConsumer>(consumer.Get()));
    }
    ChainOf(Samples samples, int bits, i64 blockSamples, int numFilters = 1, int filterBits = 0)
        : ChainOf(new Producer(std::move(samples), bits, blockSamples), numFilters, filterBits)
    {
    }

    Sys_Task::EStatus Run()
    {
        chain->Allocate();
        return RunChain(chain);
    }
};
using Chain = ChainOf<>;

// Distinct values in every channel and sample that fit in `bits`.
inline Samples Ramp(int channels, i64 length, int bits, i32 seed = 0)
{
    i64 const range = i64{1} << bits;
    Samples s(static_cast<std::size_t>(channels));
    for (int c = 0; c < channels; ++c)
        for (i64 i = 0; i < length; ++i)
            s[static_cast<std::size_t>(c)].push_back(
                static_cast<i32>((i * 7919 + c * 104729 + seed) % range - range / 2));
    return s;
}

} // namespace ffchain
