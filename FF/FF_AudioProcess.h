#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcessBlock.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_ResourcePool.h"
#include "Sys/Sys_SyncObject.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_ThreadSafeQueue.h"

#include <atomic>
#include <memory>

class FF_AudioProcessRunner;

// One stage of a process chain. Each slice (one Exec) moves one block
// through the stage: a producer takes a block from the chain's pool and
// fills it, a filter turns its input block into an output block, a consumer
// uses its input block up and gives it back to the pool.
//
// A block has exactly one owner at a time: the pool, a stage's input queue,
// a stage's output block, or the slice that works on it. Handing a block on
// moves one pointer. Blocks circulate between stages and chains of slices,
// so a stage never keeps a pointer into a block's data across slices.
//
// A filter derives from this class and implements Process (and Preflight if
// it changes the format); the slice around it is the base's ExecImpl.
// Producers and consumers bring their own ExecImpl.
class FF_AudioProcess : public Sys_Task
{
public:
    // Selects the shared thread a stage runs on.
    enum EProcessType
    {
        kProcessFilter = 0,
        kProcessProducer = 1,
        kProcessConsumer = 2
    };

    using Handle = Cmn_PolymorphicHandle<FF_AudioProcess, Sys_Task>;
    using BlockPtr = std::unique_ptr<FF_AudioProcessBlock>;
    using BlockQueue = Sys_ThreadSafeQueue<BlockPtr>;
    using BlockPool = Sys_ResourcePool<FF_AudioProcessBlock>;

    ~FF_AudioProcess() override;

    virtual EProcessType GetProcessType() const;
    // A stage whose work on a block costs less than waking a thread for it
    // runs in a running chain on the thread that hands it its blocks, at
    // once: the block is still in that processor's cache and no thread is
    // woken. Its order and results are those of a stage with a thread.
    // False by default.
    virtual bool RunsOnFeedingThread() const { return false; }
    // Shown a prototype of what the stage before will produce (the head gets
    // an empty one): checks it, remembers what it needs, and changes it to
    // what this stage will produce. The default accepts anything unchanged.
    virtual void Preflight(FF_AudioProcessBlock* prototype);
    // The output block becomes a new block made from the prototype, which
    // the chain has sized for every stage; then AllocateImpl.
    void Allocate(FF_AudioProcessBlock const& prototype);
    // The work on one block. On entry out carries the format and counts of
    // in; a stage that changes them sets them on out. Producers get their
    // block as both arguments, consumers a null out.
    virtual void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) = 0;

    void SetNextProcess(Handle const& next);
    Handle GetNextProcess() const;
    void SetAbortEvent(Sys_Event::Handle const& event);
    // Not owned; set only at the head and the tail of a chain.
    void SetProcessBlockPool(BlockPool* pool);
    BlockQueue& GetInputQueue() { return mInputQueue; }
    // Set by a chain while it runs: blocks handed to this stage then wake
    // its runner instead of queuing one slice each. Not owned.
    void SetRunner(FF_AudioProcessRunner* runner) { mRunner.store(runner); }
    // Wakes the next stage's runner for the blocks handed on since it was
    // last woken, and announces the blocks given back to the pool since the
    // last announcement. A runner calls it at the end of its turn.
    void FlushPassOn();

protected:
    FF_AudioProcess();

    // The slice of a filter: one block from the input queue through Process
    // into the output block, which goes on to the next stage; the input
    // block becomes the output block of the next slice.
    EResult ExecImpl() override;
    // Called by Allocate with the same prototype. Does nothing by default.
    virtual void AllocateImpl(FF_AudioProcessBlock const& prototype);

    Sys_Event::Handle const& GetAbortEvent() const { return mAbortEvent; }
    BlockPool* GetProcessBlockPool() const { return mProcessBlockPool; }
    FF_AudioProcessBlock* GetOutputBlock() const { return mOutputBlock.get(); }

    // Makes block the output block and answers the one it replaces.
    BlockPtr SwapOutputBlock(BlockPtr block);
    // The next stage itself, without a new reference; null at the tail.
    FF_AudioProcess* GetNext() const { return static_cast<FF_AudioProcess*>(mNextProcess.Get()); }
    // Appends block to the next stage's input queue, then schedules the next
    // stage. Whatever the next stage does may run before this returns. In a
    // running chain the next stage's runner is woken for a few blocks at a
    // time, for the last block of the stream, and at the end of every turn
    // of this stage's runner (FlushPassOn), so that a thread is woken for
    // several blocks where it was woken for every one.
    void PassOn(BlockPtr block, int32 priority);
    // For producers: waits, really blocking the thread, until the pool has a
    // block or the abort event is set, and takes the block. Null if the
    // chain is being aborted.
    BlockPtr WaitForPoolBlock();
    // For consumers: gives a block back to the chain's pool. In a running
    // chain a few blocks are announced at once, and the rest at the end of
    // the runner's turn.
    void ReturnToPool(BlockPtr block);
    bool IsAbortEventSet() const;

    // Throws XC_Cmn_TextAssert with text unless ok: for broken contracts
    // between the stages and their assembler, which must not go on.
    static void Require(bool ok, char const* text);

private:
    BlockPtr mOutputBlock;
    // Held as a task: the handle of this class cannot be a member of it.
    // Only stages are ever stored here.
    Sys_Task::Handle mNextProcess;
    BlockQueue mInputQueue;
    BlockPool* mProcessBlockPool = nullptr;
    std::atomic<FF_AudioProcessRunner*> mRunner{nullptr};
    // Blocks were handed to the next stage's runner without waking it.
    bool mPassOnPending = false;
    // Blocks given back to the pool and not yet announced.
    int32 mUnannouncedReturns = 0;
    Sys_Event::Handle mAbortEvent;
    // The abort event and the pool's semaphore, made once.
    Sys_SyncObject::HandleList mPoolWaitList;
};
