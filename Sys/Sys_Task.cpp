#include "Sys/Sys_Task.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"

#include <exception>

Sys_Task::Sys_Task() : mStatus(kStatusReady), mAbortRequested(false), mMutex(Sys_Mutex::Create(Sys_Mutex::kMutexPlain))
{
}

Sys_Task::~Sys_Task()
{
    mException.reset();
    mMutex.reset();
    mNotifications.reset();
}

Sys_Task::EStatus Sys_Task::Exec()
{
    {
        Sys_StAcquireMutex lock(mMutex.get());
        if (mStatus != kStatusBlocked && mAbortRequested)
            Abort();
        if (mStatus == kStatusFailed || mStatus == kStatusAborted)
            return mStatus;
        if (mStatus != kStatusReady && mStatus != kStatusBlocked)
        {
            // Running a finished task again could only do harm, so even
            // when the assertion handler returns, nothing is run.
            CMN_ASSERT(false);
            return mStatus;
        }
        mStatus = kStatusRunning;
    }

    EResult result = kResultCompleted;
    std::unique_ptr<Cmn_Exception> failure;
    // The clone is kept past the catch clause: the thrown object shares its
    // (not thread-safe) record with the clone, and must be gone before the
    // clone is published to other threads under the mutex below.
    try
    {
        result = ExecImpl();
    }
    catch (Cmn_Exception const& e)
    {
        failure.reset(e.Clone());
    }
    catch (std::exception const& e)
    {
        failure.reset(
            Cmn_TypedException<Cmn_TStringXData>::New(XC_Cmn_ANSIexception, Cmn_TStringXData(e.what())).Clone());
    }

    Sys_StAcquireMutex lock(mMutex.get());
    if (failure)
    {
        mStatus = kStatusFailed;
        mException = std::move(failure);
    }
    else
    {
        switch (result)
        {
        case kResultCompleted: mStatus = kStatusCompleted; break;
        case kResultAborted: mStatus = kStatusAborted; break;
        case kResultRepeat: mStatus = mAbortRequested ? kStatusAborted : kStatusRepeat; break;
        case kResultReady: mStatus = mAbortRequested ? kStatusAborted : kStatusReady; break;
        case kResultBlocked: mStatus = kStatusBlocked; break;
        default:
            // Not a result at all: the task cannot be trusted to go on.
            mStatus = kStatusFailed;
            mException.reset(Cmn_TypedException<Sys_Int32ErrData>::New(XC_Sys_Error, Sys_Int32ErrData(result)).Clone());
            break;
        }
    }
    if (mNotifications)
        Notify();
    return mStatus;
}

void Sys_Task::Abort()
{
    Sys_StAcquireMutex lock(mMutex.get());
    if (!mAbortRequested)
    {
        mAbortRequested = true;
        AbortImpl();
    }
    if (mStatus == kStatusReady)
    {
        mStatus = kStatusAborted;
        if (mNotifications)
            Notify();
        mAbortRequested = false;
    }
}

void Sys_Task::AbortImpl() {}

Sys_Task::EStatus Sys_Task::GetStatus() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mStatus;
}

void Sys_Task::Reset()
{
    Sys_StAcquireMutex lock(mMutex.get());
    if (mStatus != kStatusRepeat)
    {
        CMN_ASSERT(false);
        return;
    }
    if (mNotifications)
    {
        for (auto& entry : *mNotifications)
            entry.second->Reset();
    }
    mStatus = kStatusReady;
}

Cmn_Exception const* Sys_Task::GetException() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mException.get();
}

void Sys_Task::SetName(std::string const& name)
{
    Sys_StAcquireMutex lock(mMutex.get());
    mName = name;
}

std::string Sys_Task::GetName() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mName;
}

bool Sys_Task::IsAbortRequested() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mAbortRequested;
}

Sys_Event::Handle Sys_Task::GetNotificationEvent(int32 statusMask)
{
    Sys_StAcquireMutex lock(mMutex.get());
    if (!mNotifications)
        mNotifications = std::make_unique<NotificationList>();
    Sys_Event::Handle event = Sys_Event::Create(Sys_Event::kEventManualReset);
    mNotifications->emplace_back(statusMask, event);
    if ((statusMask & mStatus) != 0)
        event->Set();
    return event;
}

void Sys_Task::Notify()
{
    Sys_StAcquireMutex lock(mMutex.get());
    for (auto& entry : *mNotifications)
    {
        if ((entry.first & mStatus) != 0)
            entry.second->Set();
    }
}
