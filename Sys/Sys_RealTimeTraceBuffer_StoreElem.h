#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_RingBuffer_Reservation.h"

// One piece of the data of a trace record: a record can be put together
// from a chain of them without copying them into one place first.
class Sys_RealTimeTraceBuffer_StoreElem
{
public:
    virtual ~Sys_RealTimeTraceBuffer_StoreElem() = default;

    // The bytes that StoreData writes.
    virtual int32 GetDataLen() const = 0;
    virtual void StoreData(Sys_RingBuffer_Reservation<char>& reservation) const = 0;

    Sys_RealTimeTraceBuffer_StoreElem const* GetNext() const { return mNext; }
    void SetNext(Sys_RealTimeTraceBuffer_StoreElem const* next) { mNext = next; }

private:
    Sys_RealTimeTraceBuffer_StoreElem const* mNext = nullptr;
};
