#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_AtomicInt32.h"

#include <atomic>
#include <cstddef>

// Blocks of one size handed out without a lock, for code that may not take
// one: another thread, a signal handler, a real-time callback. The blocks
// are allocated up front, when blocking is allowed (Reserve, Init), and
// form a ring; Alloc walks the ring from a shared cursor and claims the
// first free block by flipping its flag, Free flips the flag back.
//
// Alloc and Free may be called from any thread and from a signal handler.
// Init and Reserve are for ordinary code, one caller at a time.
class Sys_AtomicPool
{
public:
    enum EErr
    {
        kErrNone = 0,
        kErrTooLarge = 1, // the request is larger than a block
        kErrAllInUse = 2  // every block is in use
    };

    // A claim on a number of blocks. Giving it up (destroying or
    // overwriting it) takes its count off the pool's reservations; the
    // blocks stay allocated, since the pool never shrinks.
    class Reservation
    {
    public:
        Reservation() noexcept = default;
        Reservation(Reservation&& other) noexcept;
        Reservation& operator=(Reservation&& other) noexcept;
        ~Reservation();

        int32 GetCount() const noexcept { return mCount; }

    private:
        friend class Sys_AtomicPool;
        Reservation(int32 count, Sys_AtomicPool* pool) noexcept : mCount(count), mPool(pool) {}
        void Release() noexcept;

        int32 mCount = 0;
        Sys_AtomicPool* mPool = nullptr;
    };

    Sys_AtomicPool() = default;
    // Frees every block; none may be in use any more.
    ~Sys_AtomicPool();
    Sys_AtomicPool(Sys_AtomicPool const&) = delete;
    Sys_AtomicPool& operator=(Sys_AtomicPool const&) = delete;

    // The user bytes of each block; before the first block is allocated.
    void Init(int32 blockSize);
    // Makes sure that count more blocks exist (allocating what is missing
    // once the block size is known) for as long as the answer is held.
    Reservation Reserve(int32 count);

    // A free block of at least size bytes, or null with GetLastError telling
    // why. Bounded: at most one look at each block. Under contention it may
    // miss a block that another thread frees while it looks.
    void* Alloc(std::size_t size) noexcept;
    // A block from Alloc, or null (ignored). Touches only the block's flag.
    void Free(void* block) noexcept;

    // The reason of the last failed Alloc of any thread; for diagnostics.
    EErr GetLastError() const noexcept { return mLastError.load(std::memory_order_relaxed); }
    int32 GetNumBlocks() const noexcept { return mNumBlocks.load(std::memory_order_acquire); }
    int32 GetNumReserved() const noexcept { return mNumReserved.load(std::memory_order_relaxed); }
    int32 GetBlockSize() const noexcept { return mBlockSize; }

private:
    // The header in front of the user's bytes, which start at the next 16
    // bytes: a pointer to the next block of the ring and the used flag.
    struct alignas(16) Block
    {
        std::atomic<Block*> mNext{nullptr};
        Sys_AtomicInt32 mUsed{0}; // 0 free, 1 in use
    };
    static_assert(sizeof(Block) == 16, "the user's bytes stand 16 bytes into a block");
    static_assert(offsetof(Block, mNext) == 0 && offsetof(Block, mUsed) == sizeof(Block*),
                  "the used flag follows a pointer-sized link");
    static_assert(std::atomic<Block*>::is_always_lock_free, "interrupt level needs a lock-free pointer");

    // Allocates the blocks that the reservations ask for beyond those that
    // exist, and splices them into the ring behind the cursor.
    void UpdatePoolAllocation();
    static Block* HeaderOf(void* user) noexcept;

    // Null while the pool has no block; any block of the ring otherwise.
    std::atomic<Block*> mCursor{nullptr};
    // Atomic: Alloc reads it as its bound while Reserve may raise it.
    std::atomic<int32> mNumBlocks{0};
    std::atomic<int32> mNumReserved{0};
    int32 mBlockSize = 0;
    std::atomic<EErr> mLastError{kErrNone};
};
