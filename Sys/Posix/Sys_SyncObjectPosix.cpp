#include "Sys/Posix/Sys_SyncObjectPosix.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_ThrowIfOSErr.h"

#include <algorithm>
#include <cerrno>

struct Sys_SyncObjectPosix::WakeUp
{
    std::condition_variable cv;
    struct Completion
    {
        CompletionFunction function;
        void* data;
    };
    // Guarded by StateLock().
    std::vector<Completion> pending;
};

struct Sys_SyncObjectPosix::Waiter
{
    Waiter(Sys_SyncObjectPosix* const* list, std::size_t size, Sys_SyncObject::EWaitForMultipleObjects waitMode)
        : objects(list), count(size), mode(waitMode), wake(ThisThreadWakeUp())
    {
    }

    Sys_SyncObjectPosix* const* objects;
    std::size_t count;
    Sys_SyncObject::EWaitForMultipleObjects mode;
    // Set, under the state lock, once the waiter has got what it waits for.
    bool satisfied = false;
    std::shared_ptr<WakeUp> const& wake;
};

namespace
{

struct InstallAtLoad
{
    InstallAtLoad() { Sys_SyncObjectPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;

// Lists up to this size are kept on the stack.
constexpr std::size_t kShortList = 8;

} // namespace

std::mutex& Sys_SyncObjectPosix::StateLock()
{
    static std::mutex sLock;
    return sLock;
}

Sys_SyncObjectPosix::~Sys_SyncObjectPosix()
{
    std::lock_guard<std::mutex> lock(StateLock());
    // Whoever waits holds a handle, so nobody can be waiting any more.
    CMN_ASSERT(mWaiters.empty());
}

std::size_t Sys_SyncObjectPosix::GetWaiterCount() const
{
    std::lock_guard<std::mutex> lock(StateLock());
    return static_cast<std::size_t>(
        std::count_if(mWaiters.begin(), mWaiters.end(), [](Waiter const* waiter) { return !waiter->satisfied; }));
}

void Sys_SyncObjectPosix::SetPlatformDependentMethods()
{
    Sys_SyncObject::SetWaitForMultipleObjectsMethod(&Sys_SyncObjectPosix::WaitForMultipleObjects);
}

Sys_SyncObject::EWaitResult Sys_SyncObjectPosix::WaitForMultipleObjects(Sys_SyncObject::HandleList const& objects,
                                                                        Sys_SyncObject::EWaitForMultipleObjects mode,
                                                                        int32 timeLimit)
{
    if (objects.empty())
        Sys_ThrowIfOSErr(EINVAL);
    if (mode != Sys_SyncObject::kWaitForAll && mode != Sys_SyncObject::kWaitForAny)
        Sys_ThrowIfOSErr(EINVAL);

    Sys_SyncObjectPosix* shortList[kShortList];
    std::vector<Sys_SyncObjectPosix*> longList;
    Sys_SyncObjectPosix** list = shortList;
    if (objects.size() > kShortList)
    {
        longList.resize(objects.size());
        list = longList.data();
    }
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        list[i] = objects[i] ? dynamic_cast<Sys_SyncObjectPosix*>(objects[i].Get()) : nullptr;
        if (!list[i])
            Sys_ThrowIfOSErr(EINVAL);
    }
    // The same object twice would let a wait for all count one signal twice.
    if (objects.size() <= kShortList)
    {
        for (std::size_t i = 1; i < objects.size(); ++i)
        {
            if (std::find(list, list + i, list[i]) != list + i)
                Sys_ThrowIfOSErr(EINVAL);
        }
    }
    else
    {
        std::vector<Sys_SyncObjectPosix*> sorted(list, list + objects.size());
        std::sort(sorted.begin(), sorted.end());
        if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
            Sys_ThrowIfOSErr(EINVAL);
    }

    return WaitOn(list, objects.size(), mode, timeLimit);
}

Sys_SyncObject::EWaitResult Sys_SyncObjectPosix::WaitOne(int32 timeLimit)
{
    CMN_ASSERT(timeLimit >= Sys_SyncObject::kWaitForever);
    Sys_SyncObjectPosix* self = this;
    return WaitOn(&self, 1, Sys_SyncObject::kWaitForAny, timeLimit < Sys_SyncObject::kWaitForever ? 0 : timeLimit);
}

bool Sys_SyncObjectPosix::TrySatisfyLocked(Waiter& waiter, Clock::time_point now)
{
    if (waiter.mode == Sys_SyncObject::kWaitForAny)
    {
        for (std::size_t i = 0; i < waiter.count; ++i)
        {
            if (waiter.objects[i]->IsSignalledLocked(now))
            {
                waiter.objects[i]->ConsumeLocked();
                waiter.satisfied = true;
                return true;
            }
        }
        return false;
    }
    for (std::size_t i = 0; i < waiter.count; ++i)
    {
        if (!waiter.objects[i]->IsSignalledLocked(now))
            return false;
    }
    for (std::size_t i = 0; i < waiter.count; ++i)
        waiter.objects[i]->ConsumeLocked();
    waiter.satisfied = true;
    return true;
}

std::shared_ptr<Sys_SyncObjectPosix::WakeUp> const& Sys_SyncObjectPosix::ThisThreadWakeUp()
{
    thread_local std::shared_ptr<WakeUp> const sWakeUp = std::make_shared<WakeUp>();
    return sWakeUp;
}

Sys_SyncObjectPosix::CompletionTarget Sys_SyncObjectPosix::ThisThreadCompletionTarget()
{
    return ThisThreadWakeUp();
}

void Sys_SyncObjectPosix::PostCompletion(CompletionTarget const& target, CompletionFunction function, void* data)
{
    CMN_ASSERT(target != nullptr);
    {
        std::lock_guard<std::mutex> lock(StateLock());
        target->pending.push_back({function, data});
    }
    target->cv.notify_one();
}

void Sys_SyncObjectPosix::DeliverCompletions(std::unique_lock<std::mutex>& lock)
{
    std::vector<WakeUp::Completion>& pending = ThisThreadWakeUp()->pending;
    while (!pending.empty())
    {
        std::vector<WakeUp::Completion> batch;
        batch.swap(pending);
        lock.unlock();
        for (WakeUp::Completion const& completion : batch)
            completion.function(completion.data);
        lock.lock();
    }
}

Sys_SyncObjectPosix::StStateChange::StStateChange() : mLock(StateLock()) {}

Sys_SyncObjectPosix::StStateChange::~StStateChange()
{
    mLock.unlock();
    // A waiter may have returned already and be waiting again on the same
    // condition variable: a wake-up it does not need only makes it look
    // again.
    for (std::size_t i = 0; i < mShortCount; ++i)
        mShort[i]->cv.notify_one();
    for (auto const& wake : mMore)
        wake->cv.notify_one();
}

void Sys_SyncObjectPosix::StStateChange::Add(std::shared_ptr<WakeUp> const& wake)
{
    if (mShortCount < kShort)
        mShort[mShortCount++] = wake;
    else
        mMore.push_back(wake);
}

void Sys_SyncObjectPosix::StStateChange::Offer(Sys_SyncObjectPosix& object)
{
    Clock::time_point const now = Clock::now();
    for (Waiter* waiter : object.mWaiters)
    {
        if (waiter->satisfied)
            continue;
        if (!object.IsSignalledLocked(now))
            break;
        if (TrySatisfyLocked(*waiter, now))
            Add(waiter->wake);
    }
}

void Sys_SyncObjectPosix::StStateChange::WakeAll(Sys_SyncObjectPosix& object)
{
    for (Waiter* waiter : object.mWaiters)
    {
        if (!waiter->satisfied)
            Add(waiter->wake);
    }
}

Sys_SyncObject::EWaitResult Sys_SyncObjectPosix::WaitOn(Sys_SyncObjectPosix* const* objects, std::size_t count,
                                                        Sys_SyncObject::EWaitForMultipleObjects mode, int32 timeLimit)
{
    std::unique_lock<std::mutex> lock(StateLock());
    DeliverCompletions(lock);
    Clock::time_point now = Clock::now();
    Waiter waiter(objects, count, mode);
    if (TrySatisfyLocked(waiter, now))
        return Sys_SyncObject::kWaitSignalled;
    if (timeLimit == 0)
        return Sys_SyncObject::kWaitTimedOut;

    bool const limited = timeLimit > 0;
    Clock::time_point const deadline = now + std::chrono::milliseconds(limited ? timeLimit : 0);

    struct Registration
    {
        Waiter& waiter;
        ~Registration()
        {
            for (std::size_t i = 0; i < waiter.count; ++i)
            {
                std::vector<Waiter*>& list = waiter.objects[i]->mWaiters;
                auto const found = std::find(list.begin(), list.end(), &waiter);
                if (found != list.end())
                    list.erase(found);
            }
        }
    } registration{waiter};
    for (std::size_t i = 0; i < count; ++i)
        objects[i]->mWaiters.push_back(&waiter);

    for (;;)
    {
        bool wakeAtTime = limited;
        Clock::time_point wakeTime = deadline;
        for (std::size_t i = 0; i < count; ++i)
        {
            Clock::time_point due;
            if (objects[i]->GetDueTimeLocked(&due) && (!wakeAtTime || due < wakeTime))
            {
                wakeTime = due;
                wakeAtTime = true;
            }
        }
        if (wakeAtTime)
            waiter.wake->cv.wait_until(lock, wakeTime);
        else
            waiter.wake->cv.wait(lock);

        // A completion may set what this thread waits for.
        DeliverCompletions(lock);
        if (waiter.satisfied)
            return Sys_SyncObject::kWaitSignalled;
        now = Clock::now();
        if (TrySatisfyLocked(waiter, now))
            return Sys_SyncObject::kWaitSignalled;
        if (limited && now >= deadline)
            return Sys_SyncObject::kWaitTimedOut;
    }
}
