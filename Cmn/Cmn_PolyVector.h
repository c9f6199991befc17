#pragma once

#include <cstddef>

#include "Cmn/Cmn_PolyVectorImpl.h"
#include "Cmn/Cmn_PolyVectorTraits.h"

// A vector of T whose code is Cmn_PolyVectorImpl's, shared by every T: this
// class only gives the bytes their type. Iterators are plain pointers.
template <class T> class Cmn_PolyVector
{
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = T const*;
    using size_type = std::size_t;

    Cmn_PolyVector() : mImpl(sizeof(T), Cmn_PolyVectorTraits<T>::Get()) {}
    explicit Cmn_PolyVector(size_type count, T const& value = T()) : Cmn_PolyVector() { Assign(count, value); }
    Cmn_PolyVector(T const* first, T const* last) : Cmn_PolyVector() { Assign(first, last); }
    Cmn_PolyVector(Cmn_PolyVector const&) = default;
    Cmn_PolyVector& operator=(Cmn_PolyVector const&) = default;
    Cmn_PolyVector(Cmn_PolyVector&& other) noexcept : Cmn_PolyVector() { Swap(other); }
    Cmn_PolyVector& operator=(Cmn_PolyVector&& other) noexcept
    {
        Cmn_PolyVector(static_cast<Cmn_PolyVector&&>(other)).Swap(*this);
        return *this;
    }

    void Assign(T const* first, T const* last) { mImpl.Assign(Bytes(first), Bytes(last)); }
    void Assign(size_type count, T const& value) { mImpl.Assign(count, Bytes(&value)); }

    void Reserve(size_type capacity) { mImpl.Reserve(capacity); }
    // From the pointers, where the size of T is known: no division.
    size_type Capacity() const { return size_type(Typed(mImpl.CapacityEnd()) - Begin()); }
    size_type Size() const { return size_type(End() - Begin()); }
    bool Empty() const { return mImpl.Empty(); }
    void Resize(size_type size, T const& value = T()) { mImpl.Resize(size, Bytes(&value)); }
    void Clear() { mImpl.Clear(); }

    T* Begin() { return Typed(mImpl.Begin()); }
    T* End() { return Typed(mImpl.End()); }
    T const* Begin() const { return Typed(mImpl.Begin()); }
    T const* End() const { return Typed(mImpl.End()); }
    T* Data() { return Begin(); }
    T const* Data() const { return Begin(); }
    T& operator[](size_type index) { return Begin()[index]; }
    T const& operator[](size_type index) const { return Begin()[index]; }
    T& At(size_type index) { return *Typed(mImpl.At(index)); }
    T const& At(size_type index) const { return *Typed(mImpl.At(index)); }
    T& Front() { return *Begin(); }
    T& Back() { return End()[-1]; }

    T* Insert(T* position, T const& value) { return Typed(mImpl.Insert(Bytes(position), Bytes(&value))); }
    T* Insert(T* position, size_type count, T const& value)
    {
        return Typed(mImpl.Insert(Bytes(position), count, Bytes(&value)));
    }
    T* Insert(T* position, T const* first, T const* last)
    {
        return Typed(mImpl.Insert(Bytes(position), Bytes(first), Bytes(last)));
    }
    void PushBack(T const& value) { mImpl.Insert(mImpl.End(), Bytes(&value)); }
    void PopBack() { mImpl.Erase(mImpl.End() - sizeof(T)); }
    T* Erase(T* position) { return Typed(mImpl.Erase(Bytes(position))); }
    T* Erase(T* first, T* last) { return Typed(mImpl.Erase(Bytes(first), Bytes(last))); }

    void Swap(Cmn_PolyVector& other) { mImpl.Swap(other.mImpl); }

    // For range-for and the standard algorithms.
    T* begin() { return Begin(); }
    T* end() { return End(); }
    T const* begin() const { return Begin(); }
    T const* end() const { return End(); }

private:
    static char* Bytes(T* p) { return reinterpret_cast<char*>(p); }
    static char const* Bytes(T const* p) { return reinterpret_cast<char const*>(p); }
    static T* Typed(char* p) { return reinterpret_cast<T*>(p); }
    static T const* Typed(char const* p) { return reinterpret_cast<T const*>(p); }

    Cmn_PolyVectorImpl mImpl;
};
