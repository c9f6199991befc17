#pragma once

#include <limits>
#include <new>
#include <type_traits>

#include "Cmn/Cmn_PolyVectorTraitsBase.h"

// The element operations of T for Cmn_PolyVectorImpl. One instance per type.
template <class T> class Cmn_PolyVectorTraits final : public Cmn_PolyVectorTraitsBase
{
public:
    static Cmn_PolyVectorTraits const* Get()
    {
        static Cmn_PolyVectorTraits const sTraits;
        return &sTraits;
    }

    char* Allocate(std::size_t count) const override
    {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<char*>(::operator new(count * sizeof(T), std::align_val_t(alignof(T))));
    }
    void Free(char* storage) const override { ::operator delete(storage, std::align_val_t(alignof(T))); }
    void Construct(char* to, char const* from) const override
    {
        ::new (static_cast<void*>(to)) T(*reinterpret_cast<T const*>(from));
    }
    void Assign(char* to, char const* from) const override
    {
        *reinterpret_cast<T*>(to) = *reinterpret_cast<T const*>(from);
    }
    void Destroy(char* element) const override { reinterpret_cast<T*>(element)->~T(); }

private:
    Cmn_PolyVectorTraits() : Cmn_PolyVectorTraitsBase(std::is_trivially_copyable_v<T>) {}
};
