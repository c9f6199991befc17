#include "FF/FF_AudioProcess.h"

#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioProcessRunner.h"
#include "FF/FF_AudioProcessUtils.h"

#include <utility>

namespace
{
// A filter hands its output on at this priority, ahead of a new block from
// the producer.
constexpr int32 kFilterPassOnPriority = 1;
// Blocks handed to a runner before it is woken, and blocks given back to
// the pool before a producer that waits for one is woken: a thread woken for
// each block would spend more on waking than on the block.
constexpr std::size_t kPassOnBatch = 8;
constexpr int32 kReturnBatch = 8;
} // namespace

FF_AudioProcess::FF_AudioProcess()
{
    SetName("FF_AudioProcess");
}

FF_AudioProcess::~FF_AudioProcess() = default;

FF_AudioProcess::EProcessType FF_AudioProcess::GetProcessType() const
{
    return kProcessFilter;
}

void FF_AudioProcess::Preflight(FF_AudioProcessBlock*) {}

void FF_AudioProcess::Allocate(FF_AudioProcessBlock const& prototype)
{
    mOutputBlock = std::make_unique<FF_AudioProcessBlock>(prototype);
    AllocateImpl(prototype);
}

void FF_AudioProcess::AllocateImpl(FF_AudioProcessBlock const&) {}

void FF_AudioProcess::SetNextProcess(Handle const& next)
{
    mNextProcess = next;
}

FF_AudioProcess::Handle FF_AudioProcess::GetNextProcess() const
{
    return Handle(GetNext());
}

void FF_AudioProcess::SetAbortEvent(Sys_Event::Handle const& event)
{
    mAbortEvent = event;
    mPoolWaitList.clear();
}

void FF_AudioProcess::SetProcessBlockPool(BlockPool* pool)
{
    mProcessBlockPool = pool;
    mPoolWaitList.clear();
}

Sys_Task::EResult FF_AudioProcess::ExecImpl()
{
    Require(mOutputBlock != nullptr, "a filter stage runs without its output block");
    Require(static_cast<bool>(mNextProcess), "a filter stage has no stage after it");
    BlockPtr input = mInputQueue.Pop();
    Require(input != nullptr, "a filter stage was scheduled without a block");

    FF_AudioProcessBlock& output = *mOutputBlock;
    output.SetNumChannels(input->GetNumChannels());
    output.SetSampleRate(input->GetSampleRate());
    if (input->GetBitsPerSample() > 0)
        output.SetBitsPerSample(input->GetBitsPerSample());
    output.SetNumSamples(input->GetNumSamples());
    output.SetTotalSamples(input->GetTotalSamples());
    output.SetEndOfStream(input->GetEndOfStream());

    Process(input.get(), &output);

    // The input block stays here as the next output block: a filter owns
    // exactly one block between slices and allocates nothing.
    PassOn(SwapOutputBlock(std::move(input)), kFilterPassOnPriority);
    return kResultReady;
}

FF_AudioProcess::BlockPtr FF_AudioProcess::SwapOutputBlock(BlockPtr block)
{
    return std::exchange(mOutputBlock, std::move(block));
}

void FF_AudioProcess::PassOn(BlockPtr block, int32 priority)
{
    Require(static_cast<bool>(mNextProcess), "a stage hands a block on but has no stage after it");
    FF_AudioProcess* const next = GetNext();
    bool const last = block->GetEndOfStream();
    next->GetInputQueue().Push(std::move(block));
    // Last: from here on the rest of the chain may run, and end, at any time.
    FF_AudioProcessRunner* const runner = next->mRunner.load();
    if (!runner)
        FF_ScheduleProcess(Handle(next), priority);
    else if (next->RunsOnFeedingThread())
        runner->RunHere();
    else if (last || next->GetInputQueue().GetSize() >= kPassOnBatch)
    {
        mPassOnPending = false;
        runner->Kick();
    }
    else
        mPassOnPending = true;
}

void FF_AudioProcess::FlushPassOn()
{
    if (mUnannouncedReturns > 0)
    {
        mProcessBlockPool->Announce(std::exchange(mUnannouncedReturns, 0));
    }
    if (!mPassOnPending)
        return;
    mPassOnPending = false;
    if (FF_AudioProcessRunner* const runner = GetNext() ? GetNext()->mRunner.load() : nullptr)
        runner->Kick();
}

FF_AudioProcess::BlockPtr FF_AudioProcess::WaitForPoolBlock()
{
    Require(mProcessBlockPool != nullptr, "a producer runs without the chain's pool of blocks");
    Require(static_cast<bool>(mAbortEvent), "a producer runs without the chain's abort event");
    if (mPoolWaitList.empty())
    {
        // The abort event first: when both are signalled, the wait takes
        // the abort and leaves the pool's count alone.
        mPoolWaitList.push_back(mAbortEvent);
        mPoolWaitList.push_back(mProcessBlockPool->GetSemaphore());
    }
    if (Sys_SyncObject::WaitForMultipleObjects(mPoolWaitList, Sys_SyncObject::kWaitForAny, 0) ==
        Sys_SyncObject::kWaitTimedOut)
    {
        // Every block is on its way: the stages after this one must hear of
        // those handed on before this waits for one to come back. Blocks
        // come back within microseconds while the chain runs: the thread
        // stays awake that long before it sleeps.
        FlushPassOn();
        bool const got = FF_StayAwakeUntil(
            [&]
            {
                return Sys_SyncObject::WaitForMultipleObjects(mPoolWaitList, Sys_SyncObject::kWaitForAny, 0) ==
                       Sys_SyncObject::kWaitSignalled;
            });
        if (!got)
            Sys_SyncObject::WaitForMultipleObjects(mPoolWaitList, Sys_SyncObject::kWaitForAny,
                                                   Sys_SyncObject::kWaitForever);
    }
    if (mAbortEvent->IsSet())
        return nullptr;
    BlockPtr block = mProcessBlockPool->Get();
    Require(block != nullptr, "the pool of blocks was empty after its semaphore was taken");
    // An abort that came while the block was taken wins; the block goes.
    if (mAbortEvent->IsSet())
        return nullptr;
    return block;
}

void FF_AudioProcess::ReturnToPool(BlockPtr block)
{
    Require(mProcessBlockPool != nullptr, "a consumer runs without the chain's pool of blocks");
    if (!mRunner.load())
    {
        mProcessBlockPool->Put(std::move(block));
        return;
    }
    mProcessBlockPool->PutQuietly(std::move(block));
    if (++mUnannouncedReturns >= kReturnBatch)
        mProcessBlockPool->Announce(std::exchange(mUnannouncedReturns, 0));
}

bool FF_AudioProcess::IsAbortEventSet() const
{
    return mAbortEvent && mAbortEvent->IsSet();
}

void FF_AudioProcess::Require(bool ok, char const* text)
{
    if (!ok)
        throw Cmn_TypedException<Cmn_TStringXData>::New(XC_Cmn_TextAssert, Cmn_TStringXData(text));
}
