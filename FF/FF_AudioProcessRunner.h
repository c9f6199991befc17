#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"
#include "Sys/Sys_Task.h"

#include <atomic>

// Runs the slices of one stage of a running chain on the thread of the
// stage's kind, so that several blocks can travel a chain at once.
//
// A stage still takes one block per slice, in the order the blocks came;
// what changes is how often a thread is woken for it. The runner of a
// filter or consumer is queued when a block arrives and it is not queued
// already, and its one turn runs the stage's slices for every block that
// waits by then or comes meanwhile. The runner of the head keeps producing
// until the stream or the chain ends; it waits only for a free block of the
// chain's pool, which is what bounds the blocks in flight.
//
// Once its stage has completed, a runner gives the blocks that still come
// back to the chain's pool, so that the head is never starved by a stage
// that wanted fewer samples than the stream has.
class FF_AudioProcessRunner : public Sys_Task
{
public:
    using Handle = Cmn_PolymorphicHandle<FF_AudioProcessRunner, Sys_Task>;

    // Holds the chain, whose pool it may give blocks back to, while it lives.
    // Runs on the shared thread of the given kind.
    FF_AudioProcessRunner(FF_AudioProcess::Handle const& stage, bool isHead, Sys_Task::Handle const& chain,
                          FF_AudioProcess::BlockPool* pool, FF_AudioProcess::EProcessType thread);
    ~FF_AudioProcessRunner() override;

    // Any thread: the stage has a block waiting. Queues the runner unless
    // it is queued or running already, or has ended.
    void Kick();
    // Runs the stage's slices for the blocks waiting, here and now; once the
    // stage has completed, gives them back to the pool; then flushes the
    // stage's hand-overs. A runner's turn is made of these; the thread that
    // feeds a stage that runs on the feeding thread calls it itself, and is
    // the only one that ever does.
    void RunHere();
    // True while a turn of the runner is under way. A turn whose stage has
    // ended may still hand blocks to the next stage's runner: the chain lets
    // its runners go only once no turn is.
    bool IsBusy() const { return mBusy.load() > 0; }

protected:
    EResult ExecImpl() override;

private:
    FF_AudioProcess::Handle mStage;
    bool mIsHead;
    Sys_Task::Handle mChain;
    FF_AudioProcess::BlockPool* mPool;
    FF_AudioProcess::EProcessType mThread;
    // The stage has left the ready state: it takes no more blocks.
    bool mStageEnded = false;
    // True while the runner is queued or running; whoever turns it from
    // false to true queues the runner.
    std::atomic<bool> mScheduled{false};
    std::atomic<int> mBusy{0};
};
