#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"
#include "Sys/Sys_BoundedQueue.h"
#include "Sys/Sys_Event.h"

#include <atomic>
#include <memory>
#include <vector>

// The consumer that turns the uneven flow of a chain into the even flow of
// a real-time client. The chain fills buffers of a fixed size; the client
// takes one per tick with FillBuffers and never waits: when none is ready
// it gets silence, and the underrun count grows. The client waits on
// GetIsPrimedEvent before its first tick.
//
// FillBuffers runs in an audio callback: it takes no lock, makes no system
// call and allocates nothing. Filled and empty buffers therefore travel
// between the two sides through lock-free queues; the chain's side, which
// may block, waits for an empty buffer by looking again once a buffer's
// time has passed, and so the client never has to wake it. That wait holds
// the chain back to real time.
//
// The regulator moves bytes and does not look inside samples; a buffer
// should hold whole samples.
class FF_AudioProcessRegulator : public FF_AudioProcess
{
public:
    static constexpr i32 cNumBuffers = 8;

    // bufferSize bytes per channel in each buffer.
    FF_AudioProcessRegulator(i16 numChannels, i32 bufferSize);
    ~FF_AudioProcessRegulator() override;

    EProcessType GetProcessType() const override;
    void Preflight(FF_AudioProcessBlock* prototype) override;
    // Takes in's samples into the buffers; out is not used.
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    // The client, from any thread: copies the next ready buffer to
    // destinations (one per channel, each of the buffer size) and answers
    // true, or fills them with zeros and answers false.
    bool FillBuffers(char** destinations) noexcept;
    // Automatic reset: set when all buffers are ready, and at the end of
    // the stream, so that the client of a very short stream does not wait
    // for ever.
    Sys_Event::Handle const& GetIsPrimedEvent() const { return mIsPrimedEvent; }
    // Times FillBuffers handed out silence before the stream's last buffer
    // was ready: the client ran dry. Any thread.
    u64 GetUnderrunCount() const { return mUnderruns.load(std::memory_order_relaxed); }

    i32 GetNumChannels() const { return mNumChannels; }
    i32 GetBufferSize() const { return mBufferSize; }
    // Bytes per channel; any thread.
    i64 GetUnitsToProcess() const { return mUnitsToProcess.load(std::memory_order_relaxed); }
    i64 GetUnitsProcessed() const { return mUnitsProcessed.load(std::memory_order_relaxed); }

protected:
    EResult ExecImpl() override;
    void AllocateImpl(FF_AudioProcessBlock const& prototype) override;

private:
    // Waits until an empty buffer is there and makes it the current one;
    // false if the chain is aborted meanwhile.
    bool TakeEmptyBuffer();
    void QueueCurrentBuffer();

    i32 mNumChannels;
    i32 mBufferSize;
    i32 mFillPos = 0;
    std::atomic<i64> mUnitsToProcess{0};
    std::atomic<i64> mUnitsProcessed{0};
    // Every buffer, owned here; the queues hand out their addresses.
    std::vector<BlockPtr> mBuffers;
    Sys_BoundedQueue<FF_AudioProcessBlock*> mOutputPool{cNumBuffers};
    Sys_BoundedQueue<FF_AudioProcessBlock*> mReadyQueue{cNumBuffers};
    std::atomic<i32> mReadyCount{0};
    Sys_Event::Handle mIsPrimedEvent;
    FF_AudioProcessBlock* mCurrentBuffer = nullptr;
    // Set before the last buffer of the stream is queued.
    std::atomic<bool> mLastQueued{false};
    std::atomic<u64> mUnderruns{0};
    // How long the chain's side sleeps before it looks for an empty buffer
    // again: a buffer's time, in milliseconds.
    i32 mPollMilliseconds = 1;
};
