#include "FF/FF_AudioProcessChain.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessUtils.h"

#include <algorithm>

namespace
{

// The head is scheduled ahead of a producer's hand-on to a filter.
constexpr int32 kHeadPriority = 1;

constexpr int32 kAbortedOrFailed = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed;
constexpr int32 kReadyOrCompleted = Sys_Task::kStatusReady | Sys_Task::kStatusCompleted;
// Every state in which a stage is no longer in a slice and will not run
// again by itself.
constexpr int32 kSettled =
    Sys_Task::kStatusReady | Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;
constexpr int32 kNotRunning = kSettled | Sys_Task::kStatusRepeat | Sys_Task::kStatusBlocked;

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
    // Together for the run only: between chains the threads idle, and the
    // next chain gathers them on whichever processor the system gives it.
    struct Together
    {
        Together() { FF_KeepProcessThreadsTogether(true); }
        ~Together() { FF_KeepProcessThreadsTogether(false); }
    } together;
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

Sys_Task::EStatus FF_AudioProcessChain::SettledHeadStatus(Sys_Event::Handle const& headSettled)
{
    for (;;)
    {
        // Reset before the look: a slice that ends after the look sets the
        // event again, so the wait below cannot miss it.
        headSettled->Reset();
        EStatus const status = mHead->GetStatus();
        if (status != kStatusRunning)
            return status;
        headSettled->Wait(Sys_SyncObject::kWaitForever);
    }
}

void FF_AudioProcessChain::Process()
{
    if (!mProcessBlockPool)
        ThrowContract("a process chain runs without having been allocated");

    std::vector<FF_AudioProcess::Handle> const stages = GetStages();
    // The events that end a turn: the abort, any stage's end, and last the
    // tail's return to ready (or completion) after the block of the turn.
    Sys_Event::HandleList events;
    events.reserve(stages.size() + 2);
    events.push_back(mAbortEvent);
    for (auto const& stage : stages)
        events.push_back(stage->GetNotificationEvent(kAbortedOrFailed));
    Sys_Event::Handle const tailDone = mTail->GetNotificationEvent(kReadyOrCompleted);
    // A tail that has not run is ready, so the event starts out set.
    tailDone->Reset();
    events.push_back(tailDone);
    Sys_SyncObject::HandleList waitList(events.begin(), events.end());
    Sys_Event::Handle const headSettled = mHead->GetNotificationEvent(kNotRunning);

    for (;;)
    {
        if (SettledHeadStatus(headSettled) != kStatusReady)
            break; // the producer has ended
        // A consumer that has all its samples takes no more blocks.
        if (mTail->GetStatus() == kStatusCompleted)
            break;
        FF_ScheduleProcess(mHead, kHeadPriority);
        Sys_SyncObject::WaitForMultipleObjects(waitList, Sys_SyncObject::kWaitForAny, Sys_SyncObject::kWaitForever);
        if (!tailDone->IsSet())
        {
            // Woken by an abort or by a stage's end.
            HandleAbort();
            return;
        }
        tailDone->Reset();
        for (std::size_t i = events.size() - 1; i-- > 0;)
        {
            if (events[i]->IsSet())
            {
                HandleAbort();
                return;
            }
        }
    }

    // The stream has ended at the head; wait for the tail to complete.
    events.back() = mTail->GetNotificationEvent(kStatusCompleted);
    waitList.back() = events.back();
    if (mHead->GetStatus() == kStatusCompleted && mTail->GetStatus() == kStatusReady)
    {
        // The tail has taken the last block there will ever be and still
        // wants samples: waiting for it would never end.
        HandleAbort();
        ThrowContract("the stream ended before the last stage of the chain had all its samples");
    }
    Sys_SyncObject::WaitForMultipleObjects(waitList, Sys_SyncObject::kWaitForAny, Sys_SyncObject::kWaitForever);
    if (mTail->GetStatus() != kStatusCompleted)
        HandleAbort();
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
