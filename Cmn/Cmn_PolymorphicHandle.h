#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// A counted handle on an object shared between threads: the object is kept
// through a pointer of its counted class Base (derived from
// Sys_ThreadSafeRefCountObject) and reached as T. Copies may be made and
// dropped on any thread. A handle converts to a handle of a base of T.
template <class T, class Base = T> class Cmn_PolymorphicHandle
{
    static_assert(std::is_base_of_v<Base, T> || std::is_same_v<T, Base>, "T must derive from Base");

public:
    using element_type = T;

    Cmn_PolymorphicHandle() noexcept = default;
    Cmn_PolymorphicHandle(std::nullptr_t) noexcept {}
    Cmn_PolymorphicHandle(T* p) : mBase(p) { Acquire(); }
    Cmn_PolymorphicHandle(Cmn_PolymorphicHandle const& other) : mBase(other.mBase) { Acquire(); }
    Cmn_PolymorphicHandle(Cmn_PolymorphicHandle&& other) noexcept : mBase(std::exchange(other.mBase, nullptr)) {}
    template <class U, class B2,
              class = std::enable_if_t<std::is_convertible_v<U*, T*> &&
                                       !std::is_same_v<Cmn_PolymorphicHandle<U, B2>, Cmn_PolymorphicHandle>>>
    Cmn_PolymorphicHandle(Cmn_PolymorphicHandle<U, B2> const& other) : mBase(static_cast<T*>(other.Get()))
    {
        Acquire();
    }
    ~Cmn_PolymorphicHandle() { Release(); }

    Cmn_PolymorphicHandle& operator=(Cmn_PolymorphicHandle other) noexcept
    {
        std::swap(mBase, other.mBase);
        return *this;
    }

    void Reset() { Cmn_PolymorphicHandle().Swap(*this); }
    void Swap(Cmn_PolymorphicHandle& other) noexcept { std::swap(mBase, other.mBase); }

    T* Get() const noexcept { return static_cast<T*>(mBase); }
    Base* GetBase() const noexcept { return mBase; }
    // The standard spellings, so that handles and counted pointers read alike.
    T* get() const noexcept { return Get(); }
    void reset() { Reset(); }
    T* operator->() const noexcept { return Get(); }
    T& operator*() const noexcept { return *Get(); }
    explicit operator bool() const noexcept { return mBase != nullptr; }

    template <class U, class B2> bool operator==(Cmn_PolymorphicHandle<U, B2> const& other) const noexcept
    {
        return Get() == other.Get();
    }
    bool operator==(std::nullptr_t) const noexcept { return mBase == nullptr; }

private:
    void Acquire()
    {
        if (mBase)
            mBase->AddReference();
    }
    void Release()
    {
        if (Base* p = std::exchange(mBase, nullptr))
            p->RemoveReference();
    }

    Base* mBase = nullptr;
};
