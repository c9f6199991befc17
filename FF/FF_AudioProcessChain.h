#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Task.h"

#include <memory>
#include <mutex>
#include <vector>

// A chain of stages run as one job: a producer at the head, filters, a
// consumer at the tail. The chain allocates every block from one prototype,
// then, as a task on the driver thread, lets the blocks of its pool travel
// the chain, several at once (each stage on the thread of its kind), watches
// every stage, and turns any stage's failure, or an abort, into the clean
// end of all of them.
//
// Use: Append the stages, set a percentage object, Allocate, FF_ScheduleChain,
// then watch GetStatus or a notification event and poll GetPercentCompleted.
// Abort is the cancel. A failed stage's exception ends the chain in
// kStatusFailed, and GetException answers a clone of it; when several stages
// fail, the one nearest the tail wins.
class FF_AudioProcessChain : public Sys_Task
{
public:
    using Handle = Cmn_PolymorphicHandle<FF_AudioProcessChain, Sys_Task>;

    // Answers the progress of a chain in percent.
    class PercentCompletedObject
    {
    public:
        virtual ~PercentCompletedObject() = default;
        virtual i32 GetPercentCompleted() const = 0;
    };

    // Progress from a stage that counts units: processed times 100 divided
    // by the units to process, in unsigned 64-bit arithmetic. A stage with
    // nothing to process is complete: 100, not a division by zero. The
    // counters are read from any thread while the stage runs, so the stage
    // keeps them atomic; a stale value only shows an older percentage.
    template <class T> class UnitsProcessed : public PercentCompletedObject
    {
    public:
        explicit UnitsProcessed(T* stage) : mStage(stage) {}

        i32 GetPercentCompleted() const override
        {
            u64 const toProcess = static_cast<u64>(mStage->GetUnitsToProcess());
            u64 const processed = static_cast<u64>(mStage->GetUnitsProcessed());
            if (toProcess == 0)
                return 100;
            return static_cast<i32>(processed * 100 / toProcess);
        }

    private:
        // Keeps the stage alive as long as the percentage can be asked.
        Cmn_PolymorphicHandle<T, Sys_Task> mStage;
    };

    FF_AudioProcessChain();
    ~FF_AudioProcessChain() override;

    // Hands the stage the chain's abort event and links it after the tail.
    // Appending after Allocate, or a null stage, is an assertion.
    void Append(FF_AudioProcess::Handle const& stage);
    // Negotiates the format through every stage's Preflight and allocates
    // every block; once, after the last Append, before the chain is
    // scheduled. The head must be a producer and the tail a consumer.
    void Allocate();
    // The run; on the driver thread, from ExecImpl.
    void Process();

    // Takes ownership.
    void SetGetPercentCompletedObject(PercentCompletedObject* object);
    // Any thread. Asserts that an object is set.
    i32 GetPercentCompleted() const;

    // The stages from the head.
    std::vector<FF_AudioProcess::Handle> GetStages() const;

    static constexpr int32 kPoolSize = 16;

protected:
    EResult ExecImpl() override;
    // Sets the abort event, on which producers and consumers wait.
    void AbortImpl() override;

private:
    // Aborts every stage, waits until none runs any more, and throws the
    // exception of the failed stage nearest the tail if there is one.
    void HandleAbort();

    FF_AudioProcess::Handle mHead;
    FF_AudioProcess::Handle mTail;
    std::unique_ptr<FF_AudioProcess::BlockPool> mProcessBlockPool;
    Sys_Event::Handle mAbortEvent;
    bool mWasAborted = false;
    mutable std::mutex mPercentLock;
    std::unique_ptr<PercentCompletedObject> mPercentCompletedObject;
};
