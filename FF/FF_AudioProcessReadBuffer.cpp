#include "FF/FF_AudioProcessReadBuffer.h"

#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <cstring>

namespace
{
// Behind the blocks that filters pass on.
constexpr int32 kProducerPassOnPriority = 0;
} // namespace

FF_AudioProcessReadBuffer::FF_AudioProcessReadBuffer(char* buffer, i64 length, i32 sampleRate, i16 bits, bool stereo,
                                                     bool loop, i64 loopStart, bool pingPong)
    : mBuffer(buffer), mLength(length), mSampleRate(sampleRate), mBitsPerSample(bits),
      mBytesPerSample(static_cast<i16>((bits + 7) / 8)), mFrameSize(0), mNumChannels(stereo ? 2 : 1), mLoop(loop),
      mLoopStart(loopStart), mPingPong(pingPong)
{
    Require(length >= 0, "a buffer reader needs a length that is not negative");
    Require(bits >= 1 && bits <= 32, "a buffer reader needs samples of 1 to 32 bits");
    Require(buffer != nullptr || length == 0, "a buffer reader was given no buffer");
    // A loop of no frames would hand out empty blocks for ever.
    Require(!loop || (loopStart >= 0 && loopStart < length), "the loop of a buffer reader starts outside its buffer");
    mFrameSize = static_cast<i16>(mBytesPerSample * mNumChannels);
    SetName("FF_AudioProcessReadBuffer");
}

FF_AudioProcess::EProcessType FF_AudioProcessReadBuffer::GetProcessType() const
{
    return kProcessProducer;
}

void FF_AudioProcessReadBuffer::Preflight(FF_AudioProcessBlock* prototype)
{
    prototype->SetNumChannels(static_cast<u16>(mNumChannels));
    prototype->SetSampleRate(mSampleRate);
    prototype->SetBitsPerSample(mBitsPerSample);
    prototype->SetNumSamples(cReadBlockSize / mBytesPerSample);
    prototype->SetTotalSamples(mLength);
}

Sys_Task::EResult FF_AudioProcessReadBuffer::ExecImpl()
{
    if (IsAbortRequested())
        return kResultAborted;
    BlockPtr block = WaitForPoolBlock();
    if (!block)
        return kResultAborted;
    block->SetNumChannels(static_cast<u16>(mNumChannels));
    block->SetSampleRate(mSampleRate);
    block->SetBitsPerSample(mBitsPerSample);
    block->SetTotalSamples(mLength);
    block->SetEndOfStream(false);
    Process(block.get(), block.get());
    PassOn(std::move(block), kProducerPassOnPriority);
    return !mLoop && mPosition == mLength ? kResultCompleted : kResultReady;
}

void FF_AudioProcessReadBuffer::AbortImpl()
{
    // Wakes a wait on the pool; the chain sets the event itself before it
    // aborts its stages.
    if (GetAbortEvent())
        GetAbortEvent()->Set();
}

void FF_AudioProcessReadBuffer::Process(FF_AudioProcessBlock*, FF_AudioProcessBlock* out)
{
    i64 const blockFrames = cReadBlockSize / mBytesPerSample;
    i64 const n = std::min(blockFrames, mDirection > 0 ? mLength - mPosition : mPosition - mLoopStart);
    Require(out->GetNumChannelBuffers() >= static_cast<u32>(mNumChannels) &&
                out->GetChannelCapacity() >= n * mBytesPerSample,
            "a block is too small for what a buffer reader puts in it");
    std::size_t const bytes = static_cast<std::size_t>(mBytesPerSample);
    for (i32 c = 0; c < mNumChannels && n > 0; ++c)
    {
        char* to = out->GetChannelData(static_cast<u32>(c));
        char const* from = mBuffer + c * mBytesPerSample;
        if (mDirection > 0)
        {
            from += mPosition * mFrameSize;
            for (i64 i = 0; i < n; ++i, from += mFrameSize, to += bytes)
                std::memcpy(to, from, bytes);
        }
        else
        {
            // The frame before the position first: a step back, then a read.
            from += (mPosition - 1) * mFrameSize;
            for (i64 i = 0; i < n; ++i, from -= mFrameSize, to += bytes)
                std::memcpy(to, from, bytes);
        }
    }
    out->SetNumSamples(n);
    mPosition += n * mDirection;

    if (!mLoop)
    {
        if (mPosition == mLength)
            out->SetEndOfStream(true);
    }
    else if (mDirection > 0 && mPosition == mLength)
    {
        if (mPingPong)
            mDirection = -1;
        else
            mPosition = mLoopStart;
    }
    else if (mDirection < 0 && mPosition == mLoopStart)
        mDirection = 1;
}
