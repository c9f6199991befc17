#pragma once

#include "Cmn/Cmn_SafeDispatchListBase.h"

// Cmn_SafeDispatchListBase for listeners of type T.
template <class T> class Cmn_SafeDispatchList : public Cmn_SafeDispatchListBase
{
public:
    class Iterator : public Cmn_SafeDispatchListBase::Iterator
    {
    public:
        explicit Iterator(Cmn_SafeDispatchList& list) : Cmn_SafeDispatchListBase::Iterator(list) {}
        T* operator*() const { return static_cast<T*>(Cmn_SafeDispatchListBase::Iterator::operator*()); }
        T* operator->() const { return **this; }
        Iterator& operator++()
        {
            Cmn_SafeDispatchListBase::Iterator::operator++();
            return *this;
        }
    };

    Node* Add(T* listener) { return Cmn_SafeDispatchListBase::Add(listener); }
    Iterator Begin() { return Iterator(*this); }

    // Calls call(listener) for every listener.
    template <class F> void Dispatch(F&& call)
    {
        for (Iterator it(*this); it; ++it)
            call(*it);
    }
};
