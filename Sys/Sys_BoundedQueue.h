#pragma once

#include "Cmn/Cmn_Types.h"

#include <atomic>
#include <memory>
#include <type_traits>

// A first-in first-out queue of a fixed number of places that any number of
// threads push to and pop from without a lock, a system call or an
// allocation: for hand-overs to and from a real-time thread.
//
// Each place carries a sequence number that tells whose turn it is: a
// pusher may fill place i of lap L when it reads i + L * size there, a
// popper may empty it when it reads that plus 1. A thread claims a turn by
// moving the queue's push or pop count with a compare-and-exchange, and
// hands the place on by storing the next sequence number, so that a value
// is never read before it is written nor overwritten before it is read.
template <class T> class Sys_BoundedQueue
{
    static_assert(std::is_trivially_copyable_v<T>, "values are copied in and out of their places");

public:
    // Room for capacity values, rounded up to a power of two.
    explicit Sys_BoundedQueue(u32 capacity) : mSize(RoundUp(capacity)), mCells(new Cell[mSize])
    {
        for (u64 i = 0; i < mSize; ++i)
            mCells[i].mSequence.store(i, std::memory_order_relaxed);
    }
    Sys_BoundedQueue(Sys_BoundedQueue const&) = delete;
    Sys_BoundedQueue& operator=(Sys_BoundedQueue const&) = delete;

    u64 GetCapacity() const noexcept { return mSize; }

    // False when the queue is full.
    bool TryPush(T value) noexcept
    {
        u64 pos = mPushCount.load(std::memory_order_relaxed);
        for (;;)
        {
            Cell& cell = mCells[pos & (mSize - 1)];
            i64 const turn = static_cast<i64>(cell.mSequence.load(std::memory_order_acquire) - pos);
            if (turn == 0)
            {
                if (mPushCount.compare_exchange_weak(pos, pos + 1, std::memory_order_relaxed))
                {
                    cell.mValue = value;
                    cell.mSequence.store(pos + 1, std::memory_order_release);
                    return true;
                }
            }
            else if (turn < 0)
                return false; // the place still holds the value of the lap before
            else
                pos = mPushCount.load(std::memory_order_relaxed);
        }
    }

    // False when the queue is empty.
    bool TryPop(T* value) noexcept
    {
        u64 pos = mPopCount.load(std::memory_order_relaxed);
        for (;;)
        {
            Cell& cell = mCells[pos & (mSize - 1)];
            i64 const turn = static_cast<i64>(cell.mSequence.load(std::memory_order_acquire) - (pos + 1));
            if (turn == 0)
            {
                if (mPopCount.compare_exchange_weak(pos, pos + 1, std::memory_order_relaxed))
                {
                    *value = cell.mValue;
                    cell.mSequence.store(pos + mSize, std::memory_order_release);
                    return true;
                }
            }
            else if (turn < 0)
                return false; // not yet written in this lap
            else
                pos = mPopCount.load(std::memory_order_relaxed);
        }
    }

private:
    struct Cell
    {
        std::atomic<u64> mSequence{0};
        T mValue{};
    };

    static u64 RoundUp(u32 n)
    {
        u64 size = 1;
        while (size < n)
            size <<= 1;
        return size;
    }

    u64 const mSize;
    std::unique_ptr<Cell[]> mCells;
    // Apart, so that pushers and poppers do not share a cache line.
    alignas(64) std::atomic<u64> mPushCount{0};
    alignas(64) std::atomic<u64> mPopCount{0};
};
