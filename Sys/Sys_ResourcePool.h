#pragma once

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Semaphore.h"
#include "Sys/Sys_ThreadSafeQueue.h"

#include <memory>

// A fixed set of objects, made once from a prototype, that clients take and
// give back. The semaphore counts the objects in the pool: a client waits on
// it (alone, or together with other objects such as an abort event) and
// only then calls Get, which so always finds an object.
//
// The object given back last is the first taken again: its memory is the
// likeliest to be in the processor's cache still.
template <class T> class Sys_ResourcePool : public Sys_ThreadSafeQueue<std::unique_ptr<T>>
{
public:
    // count objects, each made with T's copy constructor from prototype. A
    // count below 1 is an assertion and gives a pool of one.
    Sys_ResourcePool(int32 count, T const& prototype)
    {
        CMN_ASSERT(count >= 1);
        if (count < 1)
            count = 1;
        mSemaphore = Sys_Semaphore::Create(count, count);
        for (int32 i = 0; i < count; ++i)
            this->Push(std::make_unique<T>(prototype));
    }

    // The caller must have taken one count of the semaphore. An empty pool is
    // an assertion, and then the answer is null.
    std::unique_ptr<T> Get() { return this->Pop(); }

    // Gives an object back and releases one count for the next client. A
    // null object is an assertion and changes nothing.
    void Put(std::unique_ptr<T> object)
    {
        CMN_ASSERT(object != nullptr);
        if (!object)
            return;
        this->PushFront(std::move(object));
        mSemaphore->Release(1);
    }

    // Gives an object back without telling the clients yet: Announce makes
    // that many objects given back so known, one release of the semaphore
    // for several objects, so that a waiting client is woken once for them.
    void PutQuietly(std::unique_ptr<T> object)
    {
        CMN_ASSERT(object != nullptr);
        if (object)
            this->PushFront(std::move(object));
    }
    void Announce(int32 count)
    {
        if (count > 0)
            mSemaphore->Release(count);
    }

    Sys_Semaphore::Handle const& GetSemaphore() const { return mSemaphore; }

private:
    Sys_Semaphore::Handle mSemaphore;
};
