#include "FF/FF_AudioProcessRegulator.h"

#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <cstring>

namespace
{
// The longest sleep between looks for an empty buffer, whatever a buffer's
// time, so that a slow client does not make an abort wait long either.
constexpr i64 kMaxPollMilliseconds = 20;
} // namespace

FF_AudioProcessRegulator::FF_AudioProcessRegulator(i16 numChannels, i32 bufferSize)
    : mNumChannels(numChannels), mBufferSize(bufferSize), mIsPrimedEvent(Sys_Event::Create(0))
{
    Require(numChannels >= 1, "a regulator needs at least one channel");
    Require(bufferSize >= 1, "a regulator needs buffers of at least one byte");
    SetName("FF_AudioProcessRegulator");
}

FF_AudioProcessRegulator::~FF_AudioProcessRegulator() = default;

FF_AudioProcess::EProcessType FF_AudioProcessRegulator::GetProcessType() const
{
    return kProcessConsumer;
}

void FF_AudioProcessRegulator::Preflight(FF_AudioProcessBlock* prototype)
{
    Require(prototype->GetNumChannels() == mNumChannels, "a regulator was shown a stream of other channels");
    Require(prototype->GetTotalSamples() >= 0, "a regulator was shown a stream of negative length");
    i32 const bytesPerSample = std::max<i32>(prototype->GetBytesPerSample(), 1);
    mUnitsToProcess.store(prototype->GetTotalSamples() * bytesPerSample, std::memory_order_relaxed);
    i64 const rate = prototype->GetSampleRate();
    i64 const bufferMilliseconds = rate > 0 ? i64{mBufferSize} / bytesPerSample * 1000 / rate : 1;
    mPollMilliseconds = static_cast<i32>(std::clamp<i64>(bufferMilliseconds, 1, kMaxPollMilliseconds));
}

void FF_AudioProcessRegulator::AllocateImpl(FF_AudioProcessBlock const& prototype)
{
    FF_AudioProcessBlock format(prototype);
    format.SetNumChannels(static_cast<u16>(mNumChannels));
    format.SetBitsPerSample(8);
    format.SetNumSamples(mBufferSize);
    mBuffers.clear();
    for (i32 i = 0; i < cNumBuffers; ++i)
    {
        mBuffers.push_back(std::make_unique<FF_AudioProcessBlock>(format));
        mOutputPool.TryPush(mBuffers.back().get());
    }
}

Sys_Task::EResult FF_AudioProcessRegulator::ExecImpl()
{
    if (IsAbortRequested())
        return kResultAborted;
    Require(GetProcessBlockPool() != nullptr, "a regulator runs without the chain's pool of blocks");
    BlockPtr block = GetInputQueue().Pop();
    Require(block != nullptr, "a regulator was scheduled without a block");
    Process(block.get(), nullptr);
    bool const end = block->GetEndOfStream();
    // Also frees the producer, should it wait for a block.
    ReturnToPool(std::move(block));
    if (IsAbortEventSet())
        return kResultAborted;
    Require(GetUnitsProcessed() <= GetUnitsToProcess(), "a regulator got more samples than the stream has");
    if (end && GetUnitsProcessed() == GetUnitsToProcess())
    {
        mIsPrimedEvent->Set();
        return kResultCompleted;
    }
    return kResultReady;
}

bool FF_AudioProcessRegulator::TakeEmptyBuffer()
{
    Require(static_cast<bool>(GetAbortEvent()), "a regulator runs without the chain's abort event");
    while (!mOutputPool.TryPop(&mCurrentBuffer))
    {
        if (GetAbortEvent()->Wait(mPollMilliseconds) == Sys_SyncObject::kWaitSignalled)
            return false;
    }
    return true;
}

void FF_AudioProcessRegulator::QueueCurrentBuffer()
{
    mReadyQueue.TryPush(mCurrentBuffer);
    if (mReadyCount.fetch_add(1, std::memory_order_acq_rel) + 1 == cNumBuffers)
        mIsPrimedEvent->Set();
    mCurrentBuffer = nullptr;
    mFillPos = 0;
}

void FF_AudioProcessRegulator::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock*)
{
    Require(mBuffers.size() == cNumBuffers, "a regulator runs without its buffers");
    Require(in->GetNumChannels() == mNumChannels && in->GetNumChannelBuffers() >= static_cast<u32>(mNumChannels),
            "a regulator got a block of other channels");
    i64 left = in->GetNumSamples() * in->GetBytesPerSample();
    i64 offset = 0;
    Require(left <= in->GetChannelCapacity(), "a regulator got a block that says it holds more than it can");
    while (left > 0)
    {
        if (!mCurrentBuffer && !TakeEmptyBuffer())
            return;
        i64 const n = std::min<i64>(left, mBufferSize - mFillPos);
        for (i32 c = 0; c < mNumChannels; ++c)
            std::memcpy(mCurrentBuffer->GetChannelData(static_cast<u32>(c)) + mFillPos,
                        in->GetChannelData(static_cast<u32>(c)) + offset, static_cast<std::size_t>(n));
        left -= n;
        offset += n;
        mFillPos += static_cast<i32>(n);
        i64 const processed = mUnitsProcessed.load(std::memory_order_relaxed) + n;
        mUnitsProcessed.store(processed, std::memory_order_relaxed);
        if (in->GetEndOfStream() && processed == GetUnitsToProcess())
        {
            // The last buffer, padded with silence.
            for (i32 c = 0; c < mNumChannels; ++c)
                std::memset(mCurrentBuffer->GetChannelData(static_cast<u32>(c)) + mFillPos, 0,
                            static_cast<std::size_t>(mBufferSize - mFillPos));
            mFillPos = mBufferSize;
            mLastQueued.store(true, std::memory_order_release);
        }
        if (mFillPos == mBufferSize)
            QueueCurrentBuffer();
    }
    // A stream that ends without a sample in its last block.
    if (in->GetEndOfStream() && GetUnitsProcessed() == GetUnitsToProcess())
        mLastQueued.store(true, std::memory_order_release);
}

bool FF_AudioProcessRegulator::FillBuffers(char** destinations) noexcept
{
    std::size_t const bytes = static_cast<std::size_t>(mBufferSize);
    FF_AudioProcessBlock* buffer = nullptr;
    if (mReadyQueue.TryPop(&buffer))
    {
        mReadyCount.fetch_sub(1, std::memory_order_acq_rel);
        for (i32 c = 0; c < mNumChannels; ++c)
            std::memcpy(destinations[c], buffer->GetChannelData(static_cast<u32>(c)), bytes);
        mOutputPool.TryPush(buffer);
        return true;
    }
    for (i32 c = 0; c < mNumChannels; ++c)
        std::memset(destinations[c], 0, bytes);
    if (!mLastQueued.load(std::memory_order_acquire))
        mUnderruns.fetch_add(1, std::memory_order_relaxed);
    return false;
}
