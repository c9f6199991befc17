#include "Sys/Sys_RealTimeTraceBuffer.h"

#include <ostream>

namespace
{
// What every record keeps free behind it: the room of the full line, a
// record of nothing but its procedure.
constexpr int64 kKeepBack = Sys_RealTimeTraceBuffer::RecordBytes(0);
} // namespace

Sys_RealTimeTraceBuffer::Sys_RealTimeTraceBuffer(int32 capacity) : mRing(capacity) {}

bool Sys_RealTimeTraceBuffer::Store(void const* data, int32 length, PrintProc proc) noexcept
{
    if (length >= 0)
    {
        Sys_RingBuffer_Reservation<char> reservation(mRing, static_cast<int64>(sizeof(proc)) + length, kKeepBack);
        if (reservation.IsClaimed())
        {
            reservation.Write(&proc, sizeof(proc));
            reservation.Write(data, length);
            return true;
        }
    }
    StoreBufferFull();
    return false;
}

bool Sys_RealTimeTraceBuffer::Store(Sys_RealTimeTraceBuffer_StoreElem const& head, PrintProc proc) noexcept
{
    int64 length = 0;
    for (auto const* elem = &head; elem; elem = elem->GetNext())
        length += elem->GetDataLen();
    {
        Sys_RingBuffer_Reservation<char> reservation(mRing, static_cast<int64>(sizeof(proc)) + length, kKeepBack);
        if (reservation.IsClaimed())
        {
            reservation.Write(&proc, sizeof(proc));
            for (auto const* elem = &head; elem; elem = elem->GetNext())
                elem->StoreData(reservation);
            return true;
        }
    }
    StoreBufferFull();
    return false;
}

void Sys_RealTimeTraceBuffer::StoreBufferFull() noexcept
{
    PrintProc const proc = &BufferFullPrintProc;
    Sys_RingBuffer_Reservation<char> reservation(mRing, sizeof(proc), 0);
    reservation.Write(&proc, sizeof(proc));
}

void Sys_RealTimeTraceBuffer::Dump(std::ostream* out)
{
    while (DumpOne(out))
    {
    }
}

bool Sys_RealTimeTraceBuffer::DumpOne(std::ostream* out)
{
    if (!mRing.BeginRead())
        return false;
    PrintProc proc = nullptr;
    mRing.Read(&proc, sizeof(proc));
    // The room is given back even if the procedure throws.
    struct EndRead
    {
        Sys_RingBuffer<char>& ring;
        ~EndRead() { ring.EndRead(); }
    } endRead{mRing};
    if (proc)
        proc(mRing, *out);
    return true;
}

void Sys_RealTimeTraceBuffer::BufferFullPrintProc(Sys_RingBuffer<char>&, std::ostream& out)
{
    out << "*** Buffer full, some messages lost ***\n";
}
