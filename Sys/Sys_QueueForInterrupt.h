#pragma once

#include "Sys/Sys_QueueForInterruptBase.h"

#include <memory>
#include <utility>

// A queue of objects of type T from an ordinary thread to interrupt level
// (see Sys_QueueForInterruptBase). The queue owns what it holds: an object
// is deleted with its element, by the producer.
template <class T> class Sys_QueueForInterrupt : public Sys_QueueForInterruptBase
{
public:
    // Producer.
    void Append(std::unique_ptr<T> item)
    {
        auto elem = std::make_unique<Elem>(std::move(item));
        T* const data = elem->mItem.get();
        BaseAppend(elem.release(), data);
    }
    // Consumer: the next object not yet done with, or null.
    T* Front() const noexcept { return static_cast<T*>(BaseFront()); }

private:
    struct Elem : Sys_QueueForInterrupt_ElemBase
    {
        explicit Elem(std::unique_ptr<T> item) : mItem(std::move(item)) {}
        std::unique_ptr<T> mItem;
    };
};
