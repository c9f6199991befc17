#pragma once

#include "Sys/Sys_RingBuffer.h"

// A writer's claim on the room of one record in a ring, held for as long as
// the writer writes the record. The constructor claims; the destructor
// publishes the record for the reader. Neither waits for anyone.
template <class T> class Sys_RingBuffer_Reservation
{
public:
    // A record of n bytes that leaves at least keepBack bytes free behind
    // it. Refused (IsClaimed false) when the ring has not that much room.
    Sys_RingBuffer_Reservation(Sys_RingBuffer<T>& ring, int64 n, int64 keepBack) noexcept : mRing(ring)
    {
        u64 start = 0;
        if (!ring.Claim(n, keepBack, &start))
            return;
        mClaimed = true;
        mStart = start;
        mWritePos = start + Sys_RingBuffer<T>::kHeaderBytes;
        mEnd = mWritePos + static_cast<u64>(n);
    }
    ~Sys_RingBuffer_Reservation()
    {
        if (mClaimed)
            mRing.Publish(mStart, static_cast<u64>(Sys_RingBuffer<T>::RecordBytes(
                                      static_cast<int64>(mEnd - mStart - Sys_RingBuffer<T>::kHeaderBytes))));
    }
    Sys_RingBuffer_Reservation(Sys_RingBuffer_Reservation const&) = delete;
    Sys_RingBuffer_Reservation& operator=(Sys_RingBuffer_Reservation const&) = delete;

    bool IsClaimed() const noexcept { return mClaimed; }
    // Appends n bytes to the record; what would run past the claim is cut.
    void Write(void const* from, int64 n) noexcept
    {
        if (!mClaimed || n <= 0)
            return;
        u64 const take = std::min<u64>(static_cast<u64>(n), mEnd - mWritePos);
        mRing.CopyIn(mWritePos, from, take);
        mWritePos += take;
    }

private:
    Sys_RingBuffer<T>& mRing;
    bool mClaimed = false;
    u64 mStart = 0;
    u64 mWritePos = 0;
    u64 mEnd = 0;
};
