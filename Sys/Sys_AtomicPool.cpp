#include "Sys/Sys_AtomicPool.h"

#include "Cmn/Cmn_Assert.h"

#include <new>
#include <utility>

namespace
{
// The smallest block: a block that holds less is not worth its header.
constexpr int32 kMinBlockSize = 21;
} // namespace

Sys_AtomicPool::Reservation::Reservation(Reservation&& other) noexcept
    : mCount(std::exchange(other.mCount, 0)), mPool(std::exchange(other.mPool, nullptr))
{
}

Sys_AtomicPool::Reservation& Sys_AtomicPool::Reservation::operator=(Reservation&& other) noexcept
{
    if (this != &other)
    {
        Release();
        mCount = std::exchange(other.mCount, 0);
        mPool = std::exchange(other.mPool, nullptr);
    }
    return *this;
}

Sys_AtomicPool::Reservation::~Reservation()
{
    Release();
}

void Sys_AtomicPool::Reservation::Release() noexcept
{
    if (mPool)
        mPool->mNumReserved.fetch_sub(mCount, std::memory_order_relaxed);
    mPool = nullptr;
    mCount = 0;
}

Sys_AtomicPool::~Sys_AtomicPool()
{
    Block* block = mCursor.load(std::memory_order_acquire);
    for (int32 i = mNumBlocks.load(std::memory_order_acquire); i > 0; --i)
    {
        Block* const next = block->mNext.load(std::memory_order_relaxed);
        block->~Block();
        ::operator delete (block, std::align_val_t{alignof(Block)});
        block = next;
    }
}

void Sys_AtomicPool::Init(int32 blockSize)
{
    CMN_ASSERT(mNumBlocks.load(std::memory_order_relaxed) == 0);
    mBlockSize = blockSize;
    UpdatePoolAllocation();
}

Sys_AtomicPool::Reservation Sys_AtomicPool::Reserve(int32 count)
{
    CMN_ASSERT(count >= 0);
    if (count < 0)
        count = 0;
    mNumReserved.fetch_add(count, std::memory_order_relaxed);
    Reservation reservation(count, this);
    UpdatePoolAllocation();
    return reservation;
}

void Sys_AtomicPool::UpdatePoolAllocation()
{
    int32 const reserved = mNumReserved.load(std::memory_order_relaxed);
    int32 const existing = mNumBlocks.load(std::memory_order_relaxed);
    if (reserved <= existing || mBlockSize < 1)
        return;
    CMN_ASSERT(mBlockSize >= kMinBlockSize);
    int32 const missing = reserved - existing;

    // The new blocks as a chain, linked before anyone can see them.
    std::size_t const bytes = sizeof(Block) + static_cast<std::size_t>(mBlockSize);
    Block* head = nullptr;
    Block* tail = nullptr;
    for (int32 i = 0; i < missing; ++i)
    {
        Block* const block = new (::operator new (bytes, std::align_val_t{alignof(Block)})) Block;
        block->mNext.store(head, std::memory_order_relaxed);
        head = block;
        if (!tail)
            tail = block;
    }

    Block* const cursor = mCursor.load(std::memory_order_acquire);
    if (!cursor)
    {
        tail->mNext.store(head, std::memory_order_relaxed);
        mCursor.store(head, std::memory_order_release);
    }
    else
    {
        // Behind the block at the cursor. The chain's tail points into the
        // ring before the chain is linked in, so that a concurrent Alloc
        // walking the ring finds either the old link or the whole chain.
        tail->mNext.store(cursor->mNext.load(std::memory_order_acquire), std::memory_order_relaxed);
        cursor->mNext.store(head, std::memory_order_release);
    }
    mNumBlocks.store(reserved, std::memory_order_release);
}

void* Sys_AtomicPool::Alloc(std::size_t size) noexcept
{
    if (size > static_cast<std::size_t>(mBlockSize < 0 ? 0 : mBlockSize))
    {
        mLastError.store(kErrTooLarge, std::memory_order_relaxed);
        return nullptr;
    }
    Block* block = mCursor.load(std::memory_order_acquire);
    if (block)
    {
        for (int32 tries = mNumBlocks.load(std::memory_order_acquire); tries > 0; --tries)
        {
            // Moves the cursor one block on from where it stands; the block
            // it stood on is this thread's to try, whoever else moves it.
            Block* next = block->mNext.load(std::memory_order_acquire);
            while (!mCursor.compare_exchange_weak(block, next, std::memory_order_acq_rel, std::memory_order_acquire))
                next = block->mNext.load(std::memory_order_acquire);
            if (block->mUsed.CompareAndExchange(0, 1))
                return block + 1;
            block = next;
        }
    }
    mLastError.store(kErrAllInUse, std::memory_order_relaxed);
    return nullptr;
}

void Sys_AtomicPool::Free(void* user) noexcept
{
    if (user)
        HeaderOf(user)->mUsed.Set(0);
}

Sys_AtomicPool::Block* Sys_AtomicPool::HeaderOf(void* user) noexcept
{
    return static_cast<Block*>(user) - 1;
}
