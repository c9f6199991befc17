#include "FF/FF_AudioProcessWriteBuffer.h"

#include "FF/FF_AudioProcessBlock.h"

#include <cstring>

FF_AudioProcessWriteBuffer::FF_AudioProcessWriteBuffer(char* buffer) : mCursor(buffer)
{
    SetName("FF_AudioProcessWriteBuffer");
}

FF_AudioProcess::EProcessType FF_AudioProcessWriteBuffer::GetProcessType() const
{
    return kProcessConsumer;
}

void FF_AudioProcessWriteBuffer::Preflight(FF_AudioProcessBlock* prototype)
{
    Require(prototype->GetNumChannels() == 1, "a buffer writer takes a stream of one channel");
    Require(prototype->GetTotalSamples() >= 0, "a buffer writer was shown a stream of negative length");
    Require(mCursor != nullptr || prototype->GetTotalSamples() == 0, "a buffer writer was given no buffer");
    mUnitsToProcess.store(static_cast<u64>(prototype->GetTotalSamples()) * prototype->GetBytesPerSample(),
                          std::memory_order_relaxed);
}

Sys_Task::EResult FF_AudioProcessWriteBuffer::ExecImpl()
{
    if (IsAbortRequested())
        return kResultAborted;
    Require(GetProcessBlockPool() != nullptr, "a buffer writer runs without the chain's pool of blocks");
    BlockPtr block = GetInputQueue().Pop();
    Require(block != nullptr, "a buffer writer was scheduled without a block");
    Process(block.get(), nullptr);
    ReturnToPool(std::move(block));
    return GetUnitsProcessed() == GetUnitsToProcess() ? kResultCompleted : kResultReady;
}

void FF_AudioProcessWriteBuffer::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock*)
{
    Require(in->GetNumChannels() == 1, "a buffer writer got a block of several channels");
    u64 const bytes = static_cast<u64>(in->GetNumSamples()) * in->GetBytesPerSample();
    // The caller's buffer holds the stream and no more: a stream that runs
    // on (a looping reader) must not write past it.
    Require(GetUnitsProcessed() + bytes <= GetUnitsToProcess(), "a buffer writer got more samples than the stream has");
    if (bytes == 0)
        return;
    std::memcpy(mCursor, in->GetChannelData(0), static_cast<std::size_t>(bytes));
    mCursor += bytes;
    mUnitsProcessed.store(GetUnitsProcessed() + bytes, std::memory_order_relaxed);
}
