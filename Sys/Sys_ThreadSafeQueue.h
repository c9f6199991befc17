#pragma once

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"

#include <cstddef>
#include <list>
#include <memory>
#include <utility>

// A first-in first-out queue that any thread may push to and pop from.
// Values are moved in and out, so T may be a move-only owner such as a
// std::unique_ptr: the queue then owns what waits in it.
//
// The nodes of popped values are kept and used again by later pushes, so a
// queue through which a fixed number of values circulates stops allocating
// once it has held that many.
template <class T> class Sys_ThreadSafeQueue
{
public:
    Sys_ThreadSafeQueue() : mMutex(Sys_Mutex::Create(Sys_Mutex::kMutexPlain)) {}
    virtual ~Sys_ThreadSafeQueue() = default;

    Sys_ThreadSafeQueue(Sys_ThreadSafeQueue const&) = delete;
    Sys_ThreadSafeQueue& operator=(Sys_ThreadSafeQueue const&) = delete;

    // Appends at the back.
    void Push(T value) { Insert(false, std::move(value)); }

    // Removes and returns the front. Popping an empty queue is an assertion;
    // it then answers a value-initialised T.
    T Pop()
    {
        Sys_StAcquireMutex lock(mMutex.get());
        if (mItems.empty())
        {
            CMN_ASSERT(!mItems.empty());
            return T();
        }
        T value = std::move(mItems.front());
        // What is left in the node is a moved-from value: for owners, empty.
        mSpare.splice(mSpare.begin(), mItems, mItems.begin());
        return value;
    }

    bool IsEmpty() const
    {
        Sys_StAcquireMutex lock(mMutex.get());
        return mItems.empty();
    }

    std::size_t GetSize() const
    {
        Sys_StAcquireMutex lock(mMutex.get());
        return mItems.size();
    }

protected:
    // Puts a value at the front, to be the next one popped: for a derived
    // class whose values need no order.
    void PushFront(T value) { Insert(true, std::move(value)); }

private:
    void Insert(bool atFront, T value)
    {
        Sys_StAcquireMutex lock(mMutex.get());
        auto const where = atFront ? mItems.begin() : mItems.end();
        if (mSpare.empty())
        {
            mItems.insert(where, std::move(value));
            return;
        }
        mSpare.front() = std::move(value);
        mItems.splice(where, mSpare, mSpare.begin());
    }

    std::unique_ptr<Sys_Mutex> mMutex;
    std::list<T> mItems;
    std::list<T> mSpare;
};
