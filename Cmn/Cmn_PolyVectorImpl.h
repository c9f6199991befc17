#pragma once

#include <cstddef>
#include <cstring>

#include "Cmn/Cmn_PolyVectorTraitsBase.h"
#include "Cmn/Cmn_Types.h"

// A vector of elements that it knows only by their size and their traits:
// the code below is shared by every Cmn_PolyVector<T>. Positions are
// pointers to elements in the vector's storage, as iterators of a vector.
//
// Growth: an insertion that does not fit allocates the old size plus the
// larger of the old size and the count inserted, so that the vector doubles
// or grows to just fit a large insertion. Reserve allocates exactly what is
// asked. A source range or value may lie inside the vector itself.
//
// If an element's copy throws, the vector stays valid and holds each of its
// elements once (some may have been assigned new values), and nothing leaks.
class Cmn_PolyVectorImpl
{
public:
    Cmn_PolyVectorImpl(u32 elementSize, Cmn_PolyVectorTraitsBase const* traits);
    Cmn_PolyVectorImpl(Cmn_PolyVectorImpl const& other);
    Cmn_PolyVectorImpl& operator=(Cmn_PolyVectorImpl const& other);
    ~Cmn_PolyVectorImpl();

    // Empties the vector, frees its storage, and makes it a vector of another
    // element type.
    void Init(u32 elementSize, Cmn_PolyVectorTraitsBase const* traits);

    void Assign(char const* first, char const* last);
    void Assign(std::size_t count, char const* value);

    void Reserve(std::size_t capacity);
    std::size_t Capacity() const { return (mCapacityEnd - mBegin) / mElementSize; }
    std::size_t Size() const { return (mEnd - mBegin) / mElementSize; }
    bool Empty() const { return mEnd == mBegin; }
    // New elements are copies of value.
    void Resize(std::size_t size, char const* value);
    void Clear();

    char* Begin() { return mBegin; }
    char* End() { return mEnd; }
    char const* Begin() const { return mBegin; }
    char const* End() const { return mEnd; }
    char const* CapacityEnd() const { return mCapacityEnd; }
    char* operator[](std::size_t index) { return mBegin + index * mElementSize; }
    char const* operator[](std::size_t index) const { return mBegin + index * mElementSize; }
    // Throws std::out_of_range for an index at or past Size().
    char* At(std::size_t index);
    char const* At(std::size_t index) const;

    // Each returns the position of the first element inserted.
    char* Insert(char* position, char const* value);
    char* Insert(char* position, std::size_t count, char const* value);
    char* Insert(char* position, char const* first, char const* last)
    {
        // Appending bytes that fit, as a memory stream does for every value:
        // inline, without a virtual call. The source cannot overlap the free
        // space it is copied to.
        std::size_t const bytes = std::size_t(last - first);
        if (position == mEnd && bytes <= std::size_t(mCapacityEnd - mEnd) && mTraits->IsTriviallyCopyable())
        {
            if (bytes > 0)
                std::memcpy(mEnd, first, bytes);
            mEnd += bytes;
            return position;
        }
        return InsertRange(position, first, last);
    }
    // Each returns the position of the element that followed the erased ones.
    char* Erase(char* position);
    char* Erase(char* first, char* last);

    void Swap(Cmn_PolyVectorImpl& other);

    u32 ElementSize() const { return mElementSize; }

private:
    char* InsertRange(char* position, char const* first, char const* last);
    // Inserts count elements copied from source, stepping stride bytes
    // between them (0 repeats one value). source is not inside the vector.
    char* InsertCopies(char* position, std::size_t count, char const* source, std::size_t stride);
    bool Holds(char const* p) const;
    void CopyConstruct(char* to, char const* source, std::size_t count, std::size_t stride);
    void AssignRange(char* to, char const* source, std::size_t count, std::size_t stride);
    void DestroyRange(char* first, char* last);
    void ReleaseStorage();

    char* mBegin = nullptr;
    char* mEnd = nullptr;
    char* mCapacityEnd = nullptr;
    u32 mElementSize;
    Cmn_PolyVectorTraitsBase const* mTraits;
};
