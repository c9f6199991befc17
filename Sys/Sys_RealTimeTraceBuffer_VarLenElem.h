#pragma once

#include "Sys/Sys_RealTimeTraceBuffer_StoreElem.h"

#include <cstring>

// A piece of a trace record that carries its own length: a 4-byte length,
// then that many bytes. The data is not copied until the record is stored.
class Sys_RealTimeTraceBuffer_VarLenElem : public Sys_RealTimeTraceBuffer_StoreElem
{
public:
    Sys_RealTimeTraceBuffer_VarLenElem(int32 length, void const* data) : mLength(length < 0 ? 0 : length), mData(data)
    {
    }

    int32 GetDataLen() const override { return mLength + static_cast<int32>(sizeof(int32)); }
    void StoreData(Sys_RingBuffer_Reservation<char>& reservation) const override
    {
        reservation.Write(&mLength, sizeof(mLength));
        reservation.Write(mData, mLength);
    }

private:
    int32 mLength;
    void const* mData;
};
