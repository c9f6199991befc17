#include "FF/FF_AudioProcessChain.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessRunner.h"
#include "FF/FF_AudioProcessUtils.h"

#include <algorithm>
#include <thread>

namespace
{

// How often a chain whose tail has completed before the stream ended looks
// whether the blocks still on their way are back.
constexpr int32 kDrainPollMilliseconds = 5;

constexpr int32 kAbortedOrFailed = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed;
constexpr int32 kReadyOrCompleted = Sys_Task::kStatusReady | Sys_Task::kStatusCompleted;
// Every state in which a stage is no longer in a slice and will not run
// again by itself.
constexpr int32 kSettled =
    Sys_Task::kStatusReady | Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

void ThrowContract(char const* text)
{
    throw Cmn_TypedException<Cmn_TStringXData>::New(XC_Cmn_TextAssert, Cmn_TStringXData(text));
}

} // namespace

FF_AudioProcessChain::FF_AudioProcessChain() : mAbortEvent(Sys_Event::Create(Sys_Event::kEventManualReset))
{
    SetName("FF_AudioProcessChain");
}

FF_AudioProcessChain::~FF_AudioProcessChain()
{
    mProcessBlockPool.reset();
    mPercentCompletedObject.reset();
    mAbortEvent.Reset();
    mHead.Reset();
    mTail.Reset();
}

void FF_AudioProcessChain::Append(FF_AudioProcess::Handle const& stage)
{
    CMN_ASSERT(stage);
    CMN_ASSERT(!mProcessBlockPool);
    if (!stage || mProcessBlockPool)
        return;
    stage->SetAbortEvent(mAbortEvent);
    if (!mHead)
    {
        mHead = stage;
        mTail = stage;
        return;
    }
    mTail->SetNextProcess(stage);
    mTail = stage;
}

std::vector<FF_AudioProcess::Handle> FF_AudioProcessChain::GetStages() const
{
    std::vector<FF_AudioProcess::Handle> stages;
    for (FF_AudioProcess::Handle stage = mHead; stage; stage = stage->GetNextProcess())
        stages.push_back(stage);
    return stages;
}

void FF_AudioProcessChain::Allocate()
{
    if (mProcessBlockPool)
        ThrowContract("a process chain is allocated twice");
    if (!mHead || mHead == mTail)
        ThrowContract("a process chain needs a producer and a consumer");
    if (mHead->GetProcessType() != FF_AudioProcess::kProcessProducer)
        ThrowContract("the head of a process chain is no producer");
    if (mTail->GetProcessType() != FF_AudioProcess::kProcessConsumer)
        ThrowContract("the tail of a process chain is no consumer");

    std::vector<FF_AudioProcess::Handle> const stages = GetStages();
    FF_AudioProcessBlock prototype;
    u16 maxBits = 0;
    i64 maxSamples = 0;
    u16 maxChannels = 0;
    for (auto const& stage : stages)
    {
        stage->Preflight(&prototype);
        maxBits = std::max(maxBits, prototype.GetBitsPerSample());
        maxSamples = std::max(maxSamples, prototype.GetNumSamples());
        maxChannels = std::max(maxChannels, prototype.GetNumChannels());
    }
    // Every block is now big enough for every stage, whatever the changes
    // of format along the way.
    if (maxBits > 0)
        prototype.SetBitsPerSample(maxBits);
    prototype.SetNumSamples(maxSamples);
    prototype.SetNumChannels(maxChannels);

    for (auto const& stage : stages)
        stage->Allocate(prototype);
    mProcessBlockPool = std::make_unique<FF_AudioProcess::BlockPool>(kPoolSize, prototype);
    mHead->SetProcessBlockPool(mProcessBlockPool.get());
    mTail->SetProcessBlockPool(mProcessBlockPool.get());
}

Sys_Task::EResult FF_AudioProcessChain::ExecImpl()
{
    Process();
    return mWasAborted ? kResultAborted : kResultCompleted;
}

void FF_AudioProcessChain::AbortImpl()
{
    mAbortEvent->Set();
    // A chain stopped before the driver took it up never runs its stages, so
    // they are aborted here: the writer then leaves empty, valid files,
    // where otherwise the outputs would stay formatted for a stream that
    // never came, with no header written.
    if (GetStatus() == kStatusReady)
    {
        for (auto const& stage : GetStages())
            stage->Abort();
    }
}

void FF_AudioProcessChain::Process()
{
    if (!mProcessBlockPool)
        ThrowContract("a process chain runs without having been allocated");

    // Several blocks travel the chain at once, each stage on its own thread,
    // bounded by the pool. Each stage still takes the blocks one per slice
    // and in order, so what the stages make is the same as with one block
    // at a time; only the waits between the stages go.
    std::vector<FF_AudioProcess::Handle> const stages = GetStages();
    // With two filters or more, the last runs on the consumer's thread: the
    // filters' work (a rate conversion, then the dithering, say) then has two
    // processors rather than one, and the writer's share of that thread is
    // small. A filter that runs on the thread that feeds it needs none.
    std::size_t lastFilter = stages.size();
    int filters = 0;
    for (std::size_t i = 0; i < stages.size(); ++i)
    {
        if (stages[i]->GetProcessType() == FF_AudioProcess::kProcessFilter && !stages[i]->RunsOnFeedingThread())
        {
            lastFilter = i;
            ++filters;
        }
    }
    std::vector<FF_AudioProcessRunner::Handle> runners;
    runners.reserve(stages.size());
    for (std::size_t i = 0; i < stages.size(); ++i)
    {
        auto const thread =
            filters >= 2 && i == lastFilter ? FF_AudioProcess::kProcessConsumer : stages[i]->GetProcessType();
        runners.emplace_back(new FF_AudioProcessRunner(stages[i], stages[i] == mHead, Sys_Task::Handle(this),
                                                       mProcessBlockPool.get(), thread));
        stages[i]->SetRunner(runners.back().Get());
    }
    // The runners are known to the stages only while this runs; a stage
    // still in a slice is waited for before they go, and so is a runner's
    // turn that found the next runner before it was forgotten (its stage
    // ended, it may still hand that runner blocks).
    struct Detach
    {
        std::vector<FF_AudioProcess::Handle> const& stages;
        std::vector<FF_AudioProcessRunner::Handle> const& runners;
        ~Detach()
        {
            Sys_Event::HandleList resting;
            for (auto const& stage : stages)
                resting.push_back(stage->GetNotificationEvent(~int32{kStatusRunning}));
            Sys_Event::WaitForMultipleEvents(resting, Sys_SyncObject::kWaitForAll, Sys_SyncObject::kWaitForever);
            for (auto const& stage : stages)
                stage->SetRunner(nullptr);
            for (auto const& runner : runners)
                while (runner->IsBusy())
                    std::this_thread::yield();
        }
    } detach{stages, runners};

    // What ends the run: the abort, any stage's failure or abort, and the
    // end of the stream at the head.
    Sys_Event::HandleList events;
    events.reserve(stages.size() + 2);
    events.push_back(mAbortEvent);
    for (auto const& stage : stages)
        events.push_back(stage->GetNotificationEvent(kAbortedOrFailed));
    std::size_t const failures = events.size();
    events.push_back(mHead->GetNotificationEvent(kStatusCompleted));
    auto const failed = [&]
    {
        for (std::size_t i = 0; i < failures; ++i)
        {
            if (events[i]->IsSet())
                return true;
        }
        return false;
    };

    runners.front()->Kick();
    Sys_Event::WaitForMultipleEvents(events, Sys_SyncObject::kWaitForAny, Sys_SyncObject::kWaitForever);
    if (failed())
    {
        HandleAbort();
        return;
    }

    // The stream has ended at the head: wait for the blocks still on their
    // way, until all of them are back in the pool. A tail that has taken
    // the last block there will ever be and still wants samples then would
    // be waited for in vain.
    events.back() = mTail->GetNotificationEvent(kReadyOrCompleted);
    Sys_Event::Handle const tailRests = events.back();
    for (;;)
    {
        tailRests->Reset();
        // The pool first: a tail seen resting before it takes and gives
        // back the last block would look, with the pool seen full after
        // that, like a tail left wanting samples. Once every block is back,
        // a tail at rest has had all there will be.
        bool const drained = mProcessBlockPool->GetSize() == static_cast<std::size_t>(kPoolSize);
        EStatus const tail = mTail->GetStatus();
        if (tail == kStatusCompleted && drained)
            return;
        if (tail == kStatusReady && drained)
        {
            HandleAbort();
            ThrowContract("the stream ended before the last stage of the chain had all its samples");
        }
        // A completed tail takes no more blocks: its runner gives them back
        // to the pool, and nothing tells when the last one has come.
        int32 const wait = tail == kStatusCompleted ? kDrainPollMilliseconds : Sys_SyncObject::kWaitForever;
        Sys_Event::WaitForMultipleEvents(events, Sys_SyncObject::kWaitForAny, wait);
        if (failed())
        {
            HandleAbort();
            return;
        }
    }
}

void FF_AudioProcessChain::HandleAbort()
{
    // Producers and consumers waiting on the pool wait on this event too;
    // it must be set before a stage's Abort, which may need their mutex.
    if (!mAbortEvent->IsSet())
        mAbortEvent->Set();

    std::vector<FF_AudioProcess::Handle> const stages = GetStages();
    Sys_Event::HandleList settled;
    settled.reserve(stages.size());
    for (auto const& stage : stages)
    {
        stage->Abort();
        settled.push_back(stage->GetNotificationEvent(kSettled));
    }
    Sys_Event::WaitForMultipleEvents(settled, Sys_SyncObject::kWaitForAll, Sys_SyncObject::kWaitForever);

    // Only now is every status final: a stage that was in mid-slice may have
    // failed after the abort. The failure nearest the tail wins.
    Cmn_Exception const* failure = nullptr;
    for (auto const& stage : stages)
    {
        if (stage->GetStatus() == kStatusFailed)
            failure = stage->GetException();
    }
    if (failure)
        failure->Throw();
    mWasAborted = true;
}

void FF_AudioProcessChain::SetGetPercentCompletedObject(PercentCompletedObject* object)
{
    std::lock_guard<std::mutex> lock(mPercentLock);
    mPercentCompletedObject.reset(object);
}

i32 FF_AudioProcessChain::GetPercentCompleted() const
{
    std::lock_guard<std::mutex> lock(mPercentLock);
    CMN_ASSERT(mPercentCompletedObject != nullptr);
    return mPercentCompletedObject ? mPercentCompletedObject->GetPercentCompleted() : 0;
}
