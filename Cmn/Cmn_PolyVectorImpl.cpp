#include "Cmn/Cmn_PolyVectorImpl.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <utility>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_PolyVectorTraitsBase.h"

namespace
{
// Storage allocated and not yet handed to a vector: freed on an exception.
class StStorage
{
public:
    StStorage(Cmn_PolyVectorTraitsBase const* traits, std::size_t count) : mTraits(traits), mP(traits->Allocate(count))
    {
    }
    ~StStorage()
    {
        if (mP)
            mTraits->Free(mP);
    }
    StStorage(StStorage const&) = delete;
    StStorage& operator=(StStorage const&) = delete;
    char* Get() const { return mP; }
    char* Release() { return std::exchange(mP, nullptr); }

private:
    Cmn_PolyVectorTraitsBase const* mTraits;
    char* mP;
};
} // namespace

Cmn_PolyVectorImpl::Cmn_PolyVectorImpl(u32 elementSize, Cmn_PolyVectorTraitsBase const* traits)
    : mElementSize(elementSize), mTraits(traits)
{
    CMN_ASSERT(elementSize > 0 && traits);
}

Cmn_PolyVectorImpl::Cmn_PolyVectorImpl(Cmn_PolyVectorImpl const& other)
    : mElementSize(other.mElementSize), mTraits(other.mTraits)
{
    InsertCopies(mEnd, other.Size(), other.mBegin, mElementSize);
}

Cmn_PolyVectorImpl& Cmn_PolyVectorImpl::operator=(Cmn_PolyVectorImpl const& other)
{
    if (this != &other)
    {
        // The traits of one type may be two objects, one in the library and
        // one in the host: the element sizes are what can be compared.
        CMN_ASSERT(mElementSize == other.mElementSize);
        Assign(other.mBegin, other.mEnd);
    }
    return *this;
}

Cmn_PolyVectorImpl::~Cmn_PolyVectorImpl()
{
    ReleaseStorage();
}

void Cmn_PolyVectorImpl::Init(u32 elementSize, Cmn_PolyVectorTraitsBase const* traits)
{
    CMN_ASSERT(elementSize > 0 && traits);
    ReleaseStorage();
    mElementSize = elementSize;
    mTraits = traits;
}

void Cmn_PolyVectorImpl::ReleaseStorage()
{
    DestroyRange(mBegin, mEnd);
    if (mBegin)
        mTraits->Free(mBegin);
    mBegin = mEnd = mCapacityEnd = nullptr;
}

bool Cmn_PolyVectorImpl::Holds(char const* p) const
{
    // std::less gives a total order even for pointers into other blocks.
    return !std::less<char const*>()(p, mBegin) && std::less<char const*>()(p, mCapacityEnd);
}

void Cmn_PolyVectorImpl::CopyConstruct(char* to, char const* source, std::size_t count, std::size_t stride)
{
    if (count == 0)
        return;
    if (mTraits->IsTriviallyCopyable())
    {
        if (stride == mElementSize)
            std::memcpy(to, source, count * mElementSize);
        else if (mElementSize == 1)
            std::memset(to, *source, count);
        else
            for (std::size_t i = 0; i < count; ++i)
                std::memcpy(to + i * mElementSize, source, mElementSize);
        return;
    }
    std::size_t done = 0;
    try
    {
        for (; done < count; ++done)
            mTraits->Construct(to + done * mElementSize, source + done * stride);
    }
    catch (...)
    {
        DestroyRange(to, to + done * mElementSize);
        throw;
    }
}

void Cmn_PolyVectorImpl::AssignRange(char* to, char const* source, std::size_t count, std::size_t stride)
{
    if (count == 0)
        return;
    if (mTraits->IsTriviallyCopyable())
    {
        if (stride == mElementSize)
            std::memmove(to, source, count * mElementSize);
        else
            CopyConstruct(to, source, count, stride);
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        mTraits->Assign(to + i * mElementSize, source + i * stride);
}

void Cmn_PolyVectorImpl::DestroyRange(char* first, char* last)
{
    if (mTraits->IsTriviallyCopyable())
        return;
    for (; first != last; first += mElementSize)
        mTraits->Destroy(first);
}

void Cmn_PolyVectorImpl::Assign(char const* first, char const* last)
{
    std::size_t const count = (last - first) / mElementSize;
    if (Holds(first))
    {
        // A part of this vector: it fits, and copying forward to the front
        // reads every element before it is overwritten.
        std::size_t const offset = (first - mBegin) / mElementSize;
        if (offset > 0)
            AssignRange(mBegin, first, count, mElementSize);
        Erase(mBegin + count * mElementSize, mEnd);
        return;
    }
    if (count > Capacity())
    {
        Cmn_PolyVectorImpl fresh(mElementSize, mTraits);
        fresh.Reserve(count);
        fresh.InsertCopies(fresh.mEnd, count, first, mElementSize);
        Swap(fresh);
        return;
    }
    std::size_t const size = Size();
    std::size_t const assigned = std::min(size, count);
    AssignRange(mBegin, first, assigned, mElementSize);
    if (count > size)
        InsertCopies(mEnd, count - size, first + size * mElementSize, mElementSize);
    else
        Erase(mBegin + count * mElementSize, mEnd);
}

void Cmn_PolyVectorImpl::Assign(std::size_t count, char const* value)
{
    if (count > Capacity())
    {
        // The value may be an element of this vector: it lives until the swap.
        Cmn_PolyVectorImpl fresh(mElementSize, mTraits);
        fresh.Reserve(count);
        fresh.InsertCopies(fresh.mEnd, count, value, 0);
        Swap(fresh);
        return;
    }
    if (Holds(value))
    {
        Cmn_PolyVectorImpl copy(mElementSize, mTraits);
        copy.InsertCopies(copy.mEnd, 1, value, 0);
        Assign(count, copy.mBegin);
        return;
    }
    std::size_t const size = Size();
    AssignRange(mBegin, value, std::min(size, count), 0);
    if (count > size)
        InsertCopies(mEnd, count - size, value, 0);
    else
        Erase(mBegin + count * mElementSize, mEnd);
}

void Cmn_PolyVectorImpl::Reserve(std::size_t capacity)
{
    if (capacity <= Capacity())
        return;
    std::size_t const size = Size();
    StStorage storage(mTraits, capacity);
    CopyConstruct(storage.Get(), mBegin, size, mElementSize);
    ReleaseStorage();
    mBegin = storage.Release();
    mEnd = mBegin + size * mElementSize;
    mCapacityEnd = mBegin + capacity * mElementSize;
}

void Cmn_PolyVectorImpl::Resize(std::size_t size, char const* value)
{
    std::size_t const old = Size();
    if (size < old)
        Erase(mBegin + size * mElementSize, mEnd);
    else
        Insert(mEnd, size - old, value);
}

void Cmn_PolyVectorImpl::Clear()
{
    Erase(mBegin, mEnd);
}

char* Cmn_PolyVectorImpl::At(std::size_t index)
{
    if (index >= Size())
        throw std::out_of_range("out_of_range: Cmn_PolyVectorImpl::at");
    return (*this)[index];
}

char const* Cmn_PolyVectorImpl::At(std::size_t index) const
{
    return const_cast<Cmn_PolyVectorImpl*>(this)->At(index);
}

char* Cmn_PolyVectorImpl::Insert(char* position, char const* value)
{
    return Insert(position, 1, value);
}

char* Cmn_PolyVectorImpl::Insert(char* position, std::size_t count, char const* value)
{
    if (count > 0 && Holds(value))
    {
        Cmn_PolyVectorImpl copy(mElementSize, mTraits);
        copy.InsertCopies(copy.mEnd, 1, value, 0);
        return InsertCopies(position, count, copy.mBegin, 0);
    }
    return InsertCopies(position, count, value, 0);
}

char* Cmn_PolyVectorImpl::InsertRange(char* position, char const* first, char const* last)
{
    std::size_t const count = (last - first) / mElementSize;
    if (count > 0 && Holds(first))
    {
        Cmn_PolyVectorImpl copy(mElementSize, mTraits);
        copy.InsertCopies(copy.mEnd, count, first, mElementSize);
        return InsertCopies(position, count, copy.mBegin, mElementSize);
    }
    return InsertCopies(position, count, first, mElementSize);
}

char* Cmn_PolyVectorImpl::InsertCopies(char* position, std::size_t count, char const* source, std::size_t stride)
{
    CMN_ASSERT(!std::less<char*>()(position, mBegin) && !std::less<char*>()(mEnd, position));
    std::size_t const index = (position - mBegin) / mElementSize;
    if (count == 0)
        return position;
    std::size_t const size = Size();
    std::size_t const bytes = count * mElementSize;

    if (count > Capacity() - size)
    {
        std::size_t const capacity = size + std::max(size, count);
        StStorage storage(mTraits, capacity);
        char* const to = storage.Get();
        std::size_t const head = index * mElementSize;
        std::size_t const tail = mEnd - position;
        CopyConstruct(to + head, source, count, stride);
        try
        {
            CopyConstruct(to, mBegin, index, mElementSize);
            try
            {
                CopyConstruct(to + head + bytes, position, size - index, mElementSize);
            }
            catch (...)
            {
                DestroyRange(to, to + head);
                throw;
            }
        }
        catch (...)
        {
            DestroyRange(to + head, to + head + bytes);
            throw;
        }
        ReleaseStorage();
        mBegin = storage.Release();
        mEnd = mBegin + head + bytes + tail;
        mCapacityEnd = mBegin + capacity * mElementSize;
        return mBegin + head;
    }

    if (mTraits->IsTriviallyCopyable())
    {
        std::memmove(position + bytes, position, mEnd - position);
        CopyConstruct(position, source, count, stride);
        mEnd += bytes;
        return position;
    }

    // In place, as a vector does: the elements that move past the old end are
    // constructed there, the others are assigned.
    std::size_t const after = size - index;
    char* const oldEnd = mEnd;
    if (after > count)
    {
        CopyConstruct(oldEnd, oldEnd - bytes, count, mElementSize);
        mEnd += bytes;
        for (char* p = oldEnd - bytes; p != position;)
        {
            p -= mElementSize;
            mTraits->Assign(p + bytes, p);
        }
        AssignRange(position, source, count, stride);
    }
    else
    {
        CopyConstruct(oldEnd, source + after * stride, count - after, stride);
        mEnd += (count - after) * mElementSize;
        CopyConstruct(mEnd, position, after, mElementSize);
        mEnd += after * mElementSize;
        AssignRange(position, source, after, stride);
    }
    return position;
}

char* Cmn_PolyVectorImpl::Erase(char* position)
{
    return Erase(position, position + mElementSize);
}

char* Cmn_PolyVectorImpl::Erase(char* first, char* last)
{
    CMN_ASSERT(!std::less<char*>()(first, mBegin) && !std::less<char*>()(last, first) &&
               !std::less<char*>()(mEnd, last));
    if (first == last)
        return first;
    std::size_t const moved = (mEnd - last) / mElementSize;
    AssignRange(first, last, moved, mElementSize);
    char* const newEnd = first + moved * mElementSize;
    DestroyRange(newEnd, mEnd);
    mEnd = newEnd;
    return first;
}

void Cmn_PolyVectorImpl::Swap(Cmn_PolyVectorImpl& other)
{
    std::swap(mBegin, other.mBegin);
    std::swap(mEnd, other.mEnd);
    std::swap(mCapacityEnd, other.mCapacityEnd);
    std::swap(mElementSize, other.mElementSize);
    std::swap(mTraits, other.mTraits);
}
