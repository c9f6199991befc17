#include "FF/FF_AudioProcessRunner.h"

#include "FF/FF_AudioProcessUtils.h"

namespace
{
// Every thread runs the runners of one chain only, so they need no order.
constexpr int32 kRunnerPriority = 0;
} // namespace

FF_AudioProcessRunner::FF_AudioProcessRunner(FF_AudioProcess::Handle const& stage, bool isHead,
                                             Sys_Task::Handle const& chain, FF_AudioProcess::BlockPool* pool,
                                             FF_AudioProcess::EProcessType thread)
    : mStage(stage), mIsHead(isHead), mChain(chain), mPool(pool), mThread(thread)
{
    SetName("FF_AudioProcessRunner");
}

FF_AudioProcessRunner::~FF_AudioProcessRunner() = default;

void FF_AudioProcessRunner::Kick()
{
    if (!mScheduled.exchange(true))
        FF_ScheduleOnThreadOf(mThread, Sys_Task::Handle(this), kRunnerPriority);
}

void FF_AudioProcessRunner::RunHere()
{
    FF_AudioProcess& stage = *mStage;
    FF_AudioProcess::BlockQueue& queue = stage.GetInputQueue();
    while (!queue.IsEmpty())
    {
        if (!mStageEnded)
        {
            mStageEnded = stage.Exec() != kStatusReady;
            continue;
        }
        // Blocks of an aborted or failed chain stay where they are.
        if (stage.GetStatus() != kStatusCompleted)
            break;
        mPool->Put(queue.Pop());
    }
    stage.FlushPassOn();
}

Sys_Task::EResult FF_AudioProcessRunner::ExecImpl()
{
    // Before any look at the next stage's runner: the chain that clears
    // those looks, then waits for no turn, sees this one, or this one sees
    // them cleared (both sequentially consistent).
    ++mBusy;
    struct Leave
    {
        std::atomic<int>& busy;
        ~Leave() { --busy; }
    } leave{mBusy};
    FF_AudioProcess& stage = *mStage;
    if (mIsHead)
    {
        // A producer waits for a free block inside its slice, and an abort
        // of the chain ends that wait.
        while (stage.Exec() == kStatusReady)
        {
        }
        stage.FlushPassOn();
        return kResultCompleted;
    }
    FF_AudioProcess::BlockQueue& queue = stage.GetInputQueue();
    for (;;)
    {
        RunHere();
        if (!mStageEnded && FF_StayAwakeUntil([&] { return !queue.IsEmpty(); }))
            continue;
        // Both sides are sequentially consistent: either a block pushed
        // from here on finds the flag clear and queues the runner again, or
        // the look below finds the block.
        mScheduled.store(false);
        bool const keeps = mStageEnded && stage.GetStatus() != kStatusCompleted;
        if (queue.IsEmpty() || keeps || mScheduled.exchange(true))
            return kResultReady;
    }
}
