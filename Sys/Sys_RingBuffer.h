#pragma once

#include "Cmn/Cmn_Types.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>

template <class T> class Sys_RingBuffer_Reservation;

// A ring of variable-length records that any number of writers fill
// without a lock, from any thread or a signal handler, and that one reader
// empties at leisure.
//
// A writer claims the room of a record by moving the claim position with a
// compare-and-exchange (Sys_RingBuffer_Reservation), copies its bytes in,
// and then publishes the record by storing its length in the record's
// header. The reader reads records in the order their room was claimed and
// stops at one that is claimed but not yet published, so it never sees a
// record half written; it clears what it has read before it gives the room
// back, so that a header is non-zero only once a writer has published it.
//
// A ring with one write position that a writer moves when it claims, before
// it copies its bytes, is wrong as soon as the reader runs at the same time
// on another processor: the reader sees the claimed room as written, reads
// bytes that are not there yet, and calls a print procedure whose address
// is half copied. The test of two writers and a live reader catches that.
// Nor do the writers take a lock: a writer preempted while holding it would
// stop every other writer, and a signal handler that interrupts it would
// never get it.
//
// Positions count bytes from the start of the ring's life and never wrap;
// a position's place in the storage is the position modulo its size, a
// power of two at least as large as the capacity (no division on the way),
// while the room handed out stays the capacity. Headers and records are
// aligned to 8 bytes, so a header never straddles the end of the storage,
// while a record's bytes may.
template <class T> class Sys_RingBuffer
{
    static_assert(sizeof(T) == 1, "records are counted in bytes");

public:
    static constexpr int32 kAlign = 8;
    static constexpr int32 kHeaderBytes = 8;

    // The room a record of n bytes takes in the ring, header included.
    static constexpr int64 RecordBytes(int64 n) { return kHeaderBytes + (n + kAlign - 1) / kAlign * kAlign; }

    // capacity bytes of room for records and their headers (rounded up to a
    // multiple of 8). Allocates; the rest of the ring never does.
    explicit Sys_RingBuffer(int32 capacity)
        : mCapacity(static_cast<u64>(RecordBytes(std::max<int32>(capacity, 1)) - kHeaderBytes)),
          mStorageSize(PowerOfTwoAtLeast(mCapacity)), mStorage(new u64[mStorageSize / sizeof(u64)]())
    {
    }
    Sys_RingBuffer(Sys_RingBuffer const&) = delete;
    Sys_RingBuffer& operator=(Sys_RingBuffer const&) = delete;

    int32 GetCapacity() const noexcept { return static_cast<int32>(mCapacity); }
    // Nothing claimed and not yet read.
    bool IsEmpty() const noexcept
    {
        return mReadPos.load(std::memory_order_relaxed) == mClaimPos.load(std::memory_order_acquire);
    }

    // Reader: starts on the oldest record if it is complete; false when the
    // ring is empty or the oldest record is still being written.
    bool BeginRead() noexcept
    {
        u64 const start = mReadPos.load(std::memory_order_relaxed);
        if (start == mClaimPos.load(std::memory_order_acquire))
            return false;
        u64 const size = Header(start).load(std::memory_order_acquire);
        if (size == 0)
            return false;
        mRecordStart = start;
        mRecordEnd = start + size;
        mReadCursor = start + kHeaderBytes;
        return true;
    }
    // Reader, inside a record: copies the next n bytes of it to `to`; what
    // lies beyond the record's end reads as zeros. Answers the bytes that
    // came from the record.
    int32 Read(void* to, int32 n) noexcept
    {
        u64 const avail = mRecordEnd - mReadCursor;
        u64 const take = std::min<u64>(avail, static_cast<u64>(std::max(n, 0)));
        CopyOut(mReadCursor, to, take);
        std::memset(static_cast<char*>(to) + take, 0, static_cast<std::size_t>(std::max(n, 0)) - take);
        mReadCursor += take;
        return static_cast<int32>(take);
    }
    // Reader: leaves the record, whatever of it was not read, and gives its
    // room back to the writers.
    void EndRead() noexcept
    {
        Zero(mRecordStart, mRecordEnd - mRecordStart);
        mReadPos.store(mRecordEnd, std::memory_order_release);
        mRecordStart = mRecordEnd = mReadCursor = 0;
    }

private:
    friend class Sys_RingBuffer_Reservation<T>;

    // Claims the room of a record of n bytes, leaving at least keepBack
    // bytes free behind it; the start of the record, or false.
    bool Claim(int64 n, int64 keepBack, u64* start) noexcept
    {
        if (n < 0 || keepBack < 0)
            return false;
        u64 const size = static_cast<u64>(RecordBytes(n));
        if (size + static_cast<u64>(keepBack) > mCapacity)
            return false;
        u64 claim = mClaimPos.load(std::memory_order_relaxed);
        do
        {
            // Acquire: the room is written only after the reader is done
            // with it, and has cleared it.
            u64 const read = mReadPos.load(std::memory_order_acquire);
            if (claim + size + static_cast<u64>(keepBack) - read > mCapacity)
                return false;
        } while (!mClaimPos.compare_exchange_weak(claim, claim + size, std::memory_order_acq_rel,
                                                  std::memory_order_relaxed));
        *start = claim;
        return true;
    }
    void Publish(u64 start, u64 size) noexcept { Header(start).store(size, std::memory_order_release); }

    std::atomic_ref<u64> Header(u64 pos) const noexcept { return std::atomic_ref<u64>(mStorage[Index(pos) / 8]); }
    u64 Index(u64 pos) const noexcept { return pos & (mStorageSize - 1); }
    static u64 PowerOfTwoAtLeast(u64 n)
    {
        u64 p = 1;
        while (p < n)
            p <<= 1;
        return p;
    }
    char* Bytes() const noexcept { return reinterpret_cast<char*>(mStorage.get()); }

    void CopyIn(u64 pos, void const* from, u64 n) noexcept
    {
        u64 const at = Index(pos);
        u64 const first = std::min(n, mStorageSize - at);
        std::memcpy(Bytes() + at, from, first);
        if (first < n) // the rest from the start of the storage
            std::memcpy(Bytes(), static_cast<char const*>(from) + first, n - first);
    }
    void CopyOut(u64 pos, void* to, u64 n) const noexcept
    {
        u64 const at = Index(pos);
        u64 const first = std::min(n, mStorageSize - at);
        std::memcpy(to, Bytes() + at, first);
        if (first < n)
            std::memcpy(static_cast<char*>(to) + first, Bytes(), n - first);
    }
    void Zero(u64 pos, u64 n) noexcept
    {
        u64 const at = Index(pos);
        u64 const first = std::min(n, mStorageSize - at);
        std::memset(Bytes() + at, 0, first);
        if (first < n)
            std::memset(Bytes(), 0, n - first);
    }

    u64 const mCapacity;
    u64 const mStorageSize;
    std::unique_ptr<u64[]> mStorage;
    static_assert(std::atomic_ref<u64>::is_always_lock_free, "interrupt level needs lock-free headers");
    // Each on a cache line of its own: writers move the one, the reader the
    // other, and neither should slow the other down.
    alignas(64) std::atomic<u64> mClaimPos{0};
    alignas(64) std::atomic<u64> mReadPos{0};
    // The reader's own: the record it is in.
    alignas(64) u64 mRecordStart = 0;
    u64 mRecordEnd = 0;
    u64 mReadCursor = 0;
};
