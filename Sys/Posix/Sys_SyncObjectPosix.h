#pragma once

#include "Sys/Sys_SyncObject.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

// The state machine under every Linux sync object, and the waits on them.
//
// One process-wide lock guards the state of all sync objects. A waiting
// thread puts a waiter record (its list, its mode, a condition variable) on
// the list of every object it waits on. Whoever changes an object so that it
// may be signalled offers it to the waiters of that object in the order they
// came, and satisfies a waiter by taking what it waits for on its behalf,
// under the lock: so a wait for all takes its whole list in one step, a wait
// for any takes only the first signalled object in its list, and an event
// with automatic reset lets exactly one waiter through per Set, also when
// Pulse resets it again at once.
//
// Timers fire lazily: a waiter that waits on a timer sleeps no longer than
// the timer's due time and looks at it when it wakes.
//
// Every thread has a queue of completions: calls that other threads post
// to it and that run on it, inside its next wait on sync objects (any
// wait, also one of no time), before the wait looks at its objects. That
// is how a queued file transfer reports back on the thread that queued it.
class Sys_SyncObjectPosix
{
public:
    using Clock = std::chrono::steady_clock;
    struct WakeUp;
    // A thread, as a target of completions; it may outlive the thread.
    using CompletionTarget = std::shared_ptr<WakeUp>;
    using CompletionFunction = void (*)(void* data);

    static CompletionTarget ThisThreadCompletionTarget();
    // Queues function(data) to run on target's thread inside its next wait
    // and wakes the thread if it waits now. The function must not throw.
    static void PostCompletion(CompletionTarget const& target, CompletionFunction function, void* data);

    // The installed wait on several objects. Objects must be of this platform.
    static Sys_SyncObject::EWaitResult WaitForMultipleObjects(Sys_SyncObject::HandleList const& objects,
                                                              Sys_SyncObject::EWaitForMultipleObjects mode,
                                                              int32 timeLimit);
    static void SetPlatformDependentMethods();

    // Threads waiting on the object right now; for diagnostics and tests.
    std::size_t GetWaiterCount() const;

protected:
    struct Waiter;

    // Holds the state lock for a change of the state of sync objects. The
    // waiters that the change satisfies are woken once the lock is released,
    // so that they do not wake up only to wait for the lock.
    class StStateChange
    {
    public:
        StStateChange();
        ~StStateChange();

        // After a change that may have signalled object: offer it to its
        // waiters in the order they came.
        void Offer(Sys_SyncObjectPosix& object);
        // After a change of object's due time: let its waiters work out
        // again how long to sleep.
        void WakeAll(Sys_SyncObjectPosix& object);

    private:
        StStateChange(StStateChange const&) = delete;
        StStateChange& operator=(StStateChange const&) = delete;

        void Add(std::shared_ptr<WakeUp> const& wake);

        std::unique_lock<std::mutex> mLock;
        static constexpr std::size_t kShort = 4;
        std::shared_ptr<WakeUp> mShort[kShort];
        std::size_t mShortCount = 0;
        std::vector<std::shared_ptr<WakeUp>> mMore;
    };

    Sys_SyncObjectPosix() = default;
    virtual ~Sys_SyncObjectPosix();

    // The lock that guards the state of every sync object.
    static std::mutex& StateLock();

    // Wait on this object alone.
    Sys_SyncObject::EWaitResult WaitOne(int32 timeLimit);

    // Under StateLock: is the object signalled now (a timer fires here once
    // its due time has passed)?
    virtual bool IsSignalledLocked(Clock::time_point now) = 0;
    // Under StateLock: a waiter passes; called only when signalled.
    virtual void ConsumeLocked() = 0;
    // Under StateLock: the time at which the object will become signalled by
    // itself, if there is one.
    virtual bool GetDueTimeLocked(Clock::time_point* /*due*/) { return false; }

private:
    Sys_SyncObjectPosix(Sys_SyncObjectPosix const&) = delete;
    Sys_SyncObjectPosix& operator=(Sys_SyncObjectPosix const&) = delete;

    static Sys_SyncObject::EWaitResult WaitOn(Sys_SyncObjectPosix* const* objects, std::size_t count,
                                              Sys_SyncObject::EWaitForMultipleObjects mode, int32 timeLimit);
    static bool TrySatisfyLocked(Waiter& waiter, Clock::time_point now);
    // Runs the completions posted to this thread, with the state lock
    // released while they run.
    static void DeliverCompletions(std::unique_lock<std::mutex>& lock);
    // What a thread sleeps on while it waits; it lives as long as anyone who
    // is about to wake the thread holds it.
    static std::shared_ptr<WakeUp> const& ThisThreadWakeUp();

    std::vector<Waiter*> mWaiters;
};
