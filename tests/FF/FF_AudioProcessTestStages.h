// Stages for the tests of the process engine: a producer and a consumer on
// memory, and a filter, each of which can be told to fail or to misbehave
// at a given block, and which record what they saw.
#pragma once

#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioProcess.h"
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessChain.h"
#include "FF/FF_AudioProcessUtils.h"
#include "Sys/Sys_Thread.h"
#include "support/TestSupport.h"

#include <atomic>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace ffchain
{

constexpr int32 kFinalStates =
    Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

// Every wait of a test on a chain ends after this, so that a pacing bug is a
// failure and not a hung run.
constexpr int32 kChainTimeLimit = 30000;

// Waits for the chain to reach a final state; kStatusRunning if it does not
// within the limit.
inline Sys_Task::EStatus WaitForChain(Sys_Task& chain, int32 limit = kChainTimeLimit)
{
    Sys_Event::Handle const done = chain.GetNotificationEvent(kFinalStates);
    if (done->Wait(limit) != Sys_SyncObject::kWaitSignalled)
        return Sys_Task::kStatusRunning;
    return chain.GetStatus();
}

inline std::string ExceptionText(Sys_Task const& task)
{
    Cmn_Exception const* e = task.GetException();
    return e ? e->what() : "";
}

// Where a stage's slice ran: the thread object's name and what the system shows.
struct ThreadSeen
{
    std::string name;
    std::string systemName;
};

inline ThreadSeen SeeThread()
{
    ThreadSeen seen;
    if (Sys_Thread::Handle thread = Sys_Thread::GetCurrentThread())
        seen.name = thread->GetName();
    std::ifstream comm("/proc/thread-self/comm");
    std::getline(comm, seen.systemName);
    return seen;
}

inline Cmn_TypedException<Cmn_TStringXData> Failure(std::string const& text)
{
    return Cmn_TypedException<Cmn_TStringXData>::New(XC_Cmn_TextAssert, Cmn_TStringXData(text));
}

// One 32-bit value per sample and channel; stored in the block's width.
using Samples = std::vector<std::vector<i32>>;

// A producer of a stream held in memory, in blocks of at most blockSamples.
class MemoryProducer : public FF_AudioProcess
{
public:
    using Handle = Cmn_PolymorphicHandle<MemoryProducer, Sys_Task>;

    MemoryProducer(Samples samples, int bits, i64 blockSamples)
        : mSamples(std::move(samples)), mBits(bits), mBlockSamples(blockSamples)
    {
        SetName("MemoryProducer");
    }

    // The slice that hands out block number `block` (from 0) throws.
    int mThrowAtBlock = -1;
    std::vector<i64> mCapacities;
    ThreadSeen mThread;

    EProcessType GetProcessType() const override { return kProcessProducer; }

    void Preflight(FF_AudioProcessBlock* prototype) override
    {
        prototype->SetNumChannels(static_cast<u16>(mSamples.size()));
        prototype->SetSampleRate(44100);
        prototype->SetBitsPerSample(mBits);
        prototype->SetNumSamples(mBlockSamples);
        prototype->SetTotalSamples(Length());
    }

    void Process(FF_AudioProcessBlock*, FF_AudioProcessBlock* out) override
    {
        if (mBlocks == mThrowAtBlock)
            throw Failure("producer failed at block " + std::to_string(mBlocks));
        mThread = SeeThread();
        mCapacities.push_back(out->GetChannelCapacity());
        i64 const take = std::min(mBlockSamples, Length() - mPosition);
        for (std::size_t c = 0; c < mSamples.size(); ++c)
            for (i64 i = 0; i < take; ++i)
                Store(*out, static_cast<u32>(c), i, mSamples[c][static_cast<std::size_t>(mPosition + i)]);
        out->SetNumSamples(take);
        mPosition += take;
        out->SetEndOfStream(mPosition == Length());
        ++mBlocks;
    }

    static void Store(FF_AudioProcessBlock& b, u32 c, i64 i, i32 v)
    {
        char* p = b.GetChannelData(c) + i * b.GetBytesPerSample();
        switch (b.GetBytesPerSample())
        {
        case 1: FF_AudioProcessBlock::StoreSample<1>(p, v); break;
        case 2: FF_AudioProcessBlock::StoreSample<2>(p, v); break;
        case 3: FF_AudioProcessBlock::StoreSample<3>(p, v); break;
        default: FF_AudioProcessBlock::StoreSample<4>(p, v); break;
        }
    }

protected:
    // The protocol of a producer: a block from the pool, filled, handed on.
    EResult ExecImpl() override
    {
        if (IsAbortRequested())
            return kResultAborted;
        BlockPtr block = WaitForPoolBlock();
        if (!block)
            return kResultAborted;
        block->SetNumChannels(static_cast<u16>(mSamples.size()));
        block->SetBitsPerSample(mBits);
        block->SetTotalSamples(Length());
        Process(block.get(), block.get());
        PassOn(std::move(block), 0);
        return mPosition == Length() ? kResultCompleted : kResultReady;
    }

private:
    i64 Length() const { return mSamples.empty() ? 0 : static_cast<i64>(mSamples[0].size()); }

    Samples mSamples;
    int mBits;
    i64 mBlockSamples;
    i64 mPosition = 0;
    int mBlocks = 0;
};

// A consumer that keeps what it is given, and counts it for the percentage.
class MemoryConsumer : public FF_AudioProcess
{
public:
    using Handle = Cmn_PolymorphicHandle<MemoryConsumer, Sys_Task>;

    MemoryConsumer() { SetName("MemoryConsumer"); }

    int mThrowAtBlock = -1;
    // Keeps every block from this one on instead of giving it back to the
    // pool, so that the pool runs dry.
    int mHoldFromBlock = -1;
    Samples mSamples;
    std::vector<i64> mBlockSizes;
    std::vector<bool> mEndFlags;
    std::vector<i64> mCapacities;
    int mBytesPerSample = 0;
    ThreadSeen mThread;

    u64 GetUnitsToProcess() const { return mToProcess.load(); }
    u64 GetUnitsProcessed() const { return mProcessed.load(); }
    std::size_t BlocksHeld() const { return mHeld.size(); }
    Sys_Semaphore::Handle PoolSemaphore() const { return GetProcessBlockPool()->GetSemaphore(); }

    EProcessType GetProcessType() const override { return kProcessConsumer; }

    void Preflight(FF_AudioProcessBlock* prototype) override
    {
        mToProcess = static_cast<u64>(prototype->GetTotalSamples());
        mSamples.assign(prototype->GetNumChannels(), {});
    }

    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock*) override
    {
        if (static_cast<int>(mBlockSizes.size()) == mThrowAtBlock)
            throw Failure("consumer failed at block " + std::to_string(mBlockSizes.size()));
        mThread = SeeThread();
        mBlockSizes.push_back(in->GetNumSamples());
        mEndFlags.push_back(in->GetEndOfStream());
        mCapacities.push_back(in->GetChannelCapacity());
        mBytesPerSample = in->GetBytesPerSample();
        for (u32 c = 0; c < in->GetNumChannels() && c < mSamples.size(); ++c)
            for (i64 i = 0; i < in->GetNumSamples(); ++i)
                mSamples[c].push_back(Load(*in, c, i));
        mProcessed = mProcessed.load() + static_cast<u64>(in->GetNumSamples());
    }

    static i32 Load(FF_AudioProcessBlock const& b, u32 c, i64 i)
    {
        char const* p = b.GetChannelData(c) + i * b.GetBytesPerSample();
        switch (b.GetBytesPerSample())
        {
        case 1: return FF_AudioProcessBlock::LoadSample<1>(p);
        case 2: return FF_AudioProcessBlock::LoadSample<2>(p);
        case 3: return FF_AudioProcessBlock::LoadSample<3>(p);
        default: return FF_AudioProcessBlock::LoadSample<4>(p);
        }
    }

protected:
    EResult ExecImpl() override
    {
        if (IsAbortRequested())
            return kResultAborted;
        BlockPtr block = GetInputQueue().Pop();
        Process(block.get(), nullptr);
        if (mHoldFromBlock >= 0 && static_cast<int>(mBlockSizes.size()) > mHoldFromBlock)
            mHeld.push_back(std::move(block));
        else
            ReturnToPool(std::move(block));
        return mProcessed.load() == mToProcess.load() ? kResultCompleted : kResultReady;
    }

private:
    std::atomic<u64> mToProcess{0};
    std::atomic<u64> mProcessed{0};
    std::vector<BlockPtr> mHeld;
};

// A filter that runs a function of the test over every sample, may change
// the bit depth, and may throw at a given block.
class TestFilter : public FF_AudioProcess
{
public:
    using Handle = Cmn_PolymorphicHandle<TestFilter, Sys_Task>;

    explicit TestFilter(int outBits = 0) : mOutBits(outBits) { SetName("TestFilter"); }

    int mThrowAtBlock = -1;
    std::function<i32(i32)> mMap = [](i32 v) { return v; };
    std::vector<i64> mBlockSizes;
    std::vector<bool> mEndFlags;
    std::vector<i64> mCapacities;
    ThreadSeen mThread;

    void Preflight(FF_AudioProcessBlock* prototype) override
    {
        if (mOutBits > 0)
            prototype->SetBitsPerSample(mOutBits);
    }

    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override
    {
        if (static_cast<int>(mBlockSizes.size()) == mThrowAtBlock)
            throw Failure("filter failed at block " + std::to_string(mBlockSizes.size()));
        mThread = SeeThread();
        mBlockSizes.push_back(in->GetNumSamples());
        mEndFlags.push_back(in->GetEndOfStream());
        mCapacities.push_back(out->GetChannelCapacity());
        if (mOutBits > 0)
            out->SetBitsPerSample(mOutBits);
        for (u32 c = 0; c < in->GetNumChannels(); ++c)
            for (i64 i = 0; i < in->GetNumSamples(); ++i)
                MemoryProducer::Store(*out, c, i, mMap(MemoryConsumer::Load(*in, c, i)));
    }

private:
    int mOutBits;
};

// A chain that records on which thread, and in which order, it ran.
class RecordingChain : public FF_AudioProcessChain
{
public:
    using Handle = Cmn_PolymorphicHandle<RecordingChain, Sys_Task>;

    static inline std::atomic<int> sClock{0};
    int mStarted = -1;
    int mEnded = -1;
    ThreadSeen mThread;

protected:
    EResult ExecImpl() override
    {
        mStarted = ++sClock;
        mThread = SeeThread();
        struct StEnd
        {
            RecordingChain& chain;
            ~StEnd() { chain.mEnded = ++sClock; }
        } end{*this};
        return FF_AudioProcessChain::ExecImpl();
    }
};

// A stream of `channels` channels of `length` samples that fit in `bits`,
// different in every channel and every sample.
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
