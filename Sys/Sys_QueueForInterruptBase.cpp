#include "Sys/Sys_QueueForInterruptBase.h"

Sys_QueueForInterruptBase::~Sys_QueueForInterruptBase()
{
    Clear();
}

void Sys_QueueForInterruptBase::BaseAppend(Elem* elem, void* data)
{
    elem->mData = data;
    elem->mNext.store(nullptr, std::memory_order_relaxed);
    elem->mProcessed.store(false, std::memory_order_relaxed);
    // Release: the consumer that finds the element sees its data.
    if (mLast)
        mLast->mNext.store(elem, std::memory_order_release);
    else
        mFirst.store(elem, std::memory_order_release);
    mLast = elem;
}

Sys_QueueForInterruptBase::Elem* Sys_QueueForInterruptBase::Front() const noexcept
{
    Elem* const done = mLastProcessed.load(std::memory_order_relaxed);
    return done ? done->mNext.load(std::memory_order_acquire) : mFirst.load(std::memory_order_acquire);
}

void* Sys_QueueForInterruptBase::BaseFront() const noexcept
{
    Elem* const front = Front();
    return front ? front->mData : nullptr;
}

void Sys_QueueForInterruptBase::Advance() noexcept
{
    Elem* const front = Front();
    if (!front)
        return;
    // The new place first: once the producer sees the element done, it also
    // sees that the consumer stands on it, and keeps it.
    mLastProcessed.store(front, std::memory_order_release);
    front->mProcessed.store(true, std::memory_order_release);
}

void Sys_QueueForInterruptBase::DisposeProcessedElements()
{
    for (;;)
    {
        Elem* const first = mFirst.load(std::memory_order_relaxed);
        if (!first || !first->mProcessed.load(std::memory_order_acquire) ||
            first == mLastProcessed.load(std::memory_order_acquire))
            return;
        // Done and not the consumer's place, so it has a successor: the
        // consumer found that successor through it.
        Elem* const next = first->mNext.load(std::memory_order_acquire);
        mFirst.store(next, std::memory_order_release);
        if (!next)
            mLast = nullptr;
        delete first;
    }
}

void Sys_QueueForInterruptBase::Clear()
{
    Elem* elem = mFirst.exchange(nullptr, std::memory_order_acq_rel);
    mLast = nullptr;
    mLastProcessed.store(nullptr, std::memory_order_release);
    while (elem)
    {
        Elem* const next = elem->mNext.load(std::memory_order_relaxed);
        delete elem;
        elem = next;
    }
}
