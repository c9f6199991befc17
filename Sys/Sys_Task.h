#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_ThreadSafeRefCountObject.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

class Cmn_Exception;
class Sys_Mutex;

// A unit of work run in slices. One slice is one call of Exec, on whatever
// thread runs it; ExecImpl does the work of the slice and tells by its
// result what is to happen next. A task never waits inside a slice: it
// registers what it wants to wait for with Sys_Thread::Block and returns
// kResultBlocked, and the thread waits after the slice.
//
// A failure that leaves ExecImpl ends the task in kStatusFailed, with a
// clone of the exception kept for the owner (GetException), who may throw it
// again on its own thread with Throw.
class Sys_Task : public Sys_ThreadSafeRefCountObject
{
public:
    // Bit values, so that one mask can name several states.
    enum EStatus
    {
        kStatusReady = 1,      // may be executed; also the state between slices
        kStatusRunning = 2,    // a slice is under way
        kStatusAborted = 4,    // stopped by request; final
        kStatusFailed = 8,     // an exception left ExecImpl; final
        kStatusCompleted = 16, // finished; final
        kStatusRepeat = 32,    // wants to run again from the start; only Reset leads out
        kStatusBlocked = 64    // waits for what it registered with Sys_Thread::Block
    };

    enum EResult
    {
        kResultCompleted = 0,
        kResultAborted = 1,
        kResultRepeat = 2,
        kResultReady = 3,
        kResultBlocked = 4
    };

    using Handle = Cmn_PolymorphicHandle<Sys_Task, Sys_Task>;

    ~Sys_Task() override;

    // One slice. Never throws what ExecImpl throws (but for objects outside
    // the standard exception hierarchy). Executing a task that is running,
    // finished or waiting for Reset is an assertion.
    EStatus Exec();
    // Any thread. A task that has not started, or rests between slices, is
    // aborted at once; a running or blocked one keeps the request and sees it
    // in ExecImpl (IsAbortRequested) or at its next slice. AbortImpl is
    // called under the task's mutex, so it must not wait for anything that
    // waits for that mutex. A blocked task is only woken by an abort if its
    // AbortImpl signals what it waits on.
    void Abort();
    EStatus GetStatus() const;
    // Out of kStatusRepeat back to kStatusReady; resets the notification
    // events. In any other status an assertion.
    void Reset();
    // The clone of what ended the task in kStatusFailed, owned by the task;
    // null otherwise.
    Cmn_Exception const* GetException() const;
    void SetName(std::string const& name);
    std::string GetName() const;

    // A new event with manual reset, set whenever the task enters a status
    // in statusMask, and already set if the status is in the mask now. Each
    // call makes a new event.
    Sys_Event::Handle GetNotificationEvent(int32 statusMask);

protected:
    Sys_Task();

    bool IsAbortRequested() const;

    virtual EResult ExecImpl() = 0;
    // Called at the first Abort, under the task's mutex. Does nothing by default.
    virtual void AbortImpl();

private:
    Sys_Task(Sys_Task const&) = delete;
    Sys_Task& operator=(Sys_Task const&) = delete;

    using NotificationList = std::vector<std::pair<int32, Sys_Event::Handle>>;

    // Under mMutex.
    void Notify();

    EStatus mStatus;
    bool mAbortRequested;
    std::string mName;
    std::unique_ptr<Cmn_Exception> mException;
    std::unique_ptr<Sys_Mutex> mMutex;
    std::unique_ptr<NotificationList> mNotifications;
};
