#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// Holds one reference to a counted object. Works with any type that offers
// AddReference() and RemoveReference() (Cmn_RefCountObject and
// Sys_ThreadSafeRefCountObject). Copies of one pointer may live on different
// threads only when the object counts atomically.
template <class T> class Cmn_RefCountPtr
{
public:
    using element_type = T;

    Cmn_RefCountPtr() noexcept = default;
    Cmn_RefCountPtr(std::nullptr_t) noexcept {}
    Cmn_RefCountPtr(T* p) : mP(p) { Acquire(); }
    Cmn_RefCountPtr(Cmn_RefCountPtr const& other) : mP(other.mP) { Acquire(); }
    Cmn_RefCountPtr(Cmn_RefCountPtr&& other) noexcept : mP(std::exchange(other.mP, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Cmn_RefCountPtr(Cmn_RefCountPtr<U> const& other) : mP(other.get())
    {
        Acquire();
    }
    ~Cmn_RefCountPtr() { Release(); }

    Cmn_RefCountPtr& operator=(Cmn_RefCountPtr const& other)
    {
        // Take the new reference first so that self-assignment, or assigning
        // a pointer reached through the old object, never frees too early.
        Cmn_RefCountPtr keep(other);
        swap(keep);
        return *this;
    }
    Cmn_RefCountPtr& operator=(Cmn_RefCountPtr&& other) noexcept
    {
        Cmn_RefCountPtr keep(std::move(other));
        swap(keep);
        return *this;
    }
    Cmn_RefCountPtr& operator=(T* p)
    {
        Cmn_RefCountPtr keep(p);
        swap(keep);
        return *this;
    }

    void reset() { Cmn_RefCountPtr().swap(*this); }
    void swap(Cmn_RefCountPtr& other) noexcept { std::swap(mP, other.mP); }

    T* get() const noexcept { return mP; }
    // The handle spellings, so that counted pointers and handles read alike.
    T* Get() const noexcept { return mP; }
    void Reset() { reset(); }
    T* operator->() const noexcept { return mP; }
    T& operator*() const noexcept { return *mP; }
    explicit operator bool() const noexcept { return mP != nullptr; }

    template <class U> bool operator==(Cmn_RefCountPtr<U> const& other) const noexcept { return mP == other.get(); }
    bool operator==(std::nullptr_t) const noexcept { return mP == nullptr; }

private:
    using Mutable = std::remove_const_t<T>;

    void Acquire()
    {
        if (mP)
            const_cast<Mutable*>(mP)->AddReference();
    }
    void Release()
    {
        if (T* p = std::exchange(mP, nullptr))
            const_cast<Mutable*>(p)->RemoveReference();
    }

    T* mP = nullptr;
};

// The same for an object that its holders may only read.
template <class T> using Cmn_RefCountConstPtr = Cmn_RefCountPtr<T const>;
