#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// Holds one reference to a counted object of type T while keeping it through
// a pointer of another type P (typically the counted base that T derives
// from), so that code holding it need not see T's counting base.
template <class T, class P> class Cmn_AliasedRefCountPtr
{
    static_assert(std::is_base_of_v<P, T> || std::is_same_v<T, P>, "T must be reachable from P");

public:
    Cmn_AliasedRefCountPtr() noexcept = default;
    Cmn_AliasedRefCountPtr(std::nullptr_t) noexcept {}
    Cmn_AliasedRefCountPtr(T* p) : mP(p) { Acquire(); }
    Cmn_AliasedRefCountPtr(Cmn_AliasedRefCountPtr const& other) : mP(other.mP) { Acquire(); }
    Cmn_AliasedRefCountPtr(Cmn_AliasedRefCountPtr&& other) noexcept : mP(std::exchange(other.mP, nullptr)) {}
    ~Cmn_AliasedRefCountPtr() { Release(); }

    Cmn_AliasedRefCountPtr& operator=(Cmn_AliasedRefCountPtr other) noexcept
    {
        swap(other);
        return *this;
    }

    T* get() const noexcept { return static_cast<T*>(mP); }
    T* Get() const noexcept { return get(); }
    P* GetAlias() const noexcept { return mP; }
    void reset() noexcept { Cmn_AliasedRefCountPtr().swap(*this); }
    void Reset() noexcept { reset(); }
    void swap(Cmn_AliasedRefCountPtr& other) noexcept { std::swap(mP, other.mP); }
    T* operator->() const noexcept { return get(); }
    T& operator*() const noexcept { return *get(); }
    explicit operator bool() const noexcept { return mP != nullptr; }
    bool operator==(Cmn_AliasedRefCountPtr const& other) const noexcept { return mP == other.mP; }
    bool operator==(std::nullptr_t) const noexcept { return mP == nullptr; }

private:
    void Acquire()
    {
        if (mP)
            mP->AddReference();
    }
    void Release()
    {
        if (P* p = std::exchange(mP, nullptr))
            p->RemoveReference();
    }

    P* mP = nullptr;
};
