#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_RealTimeTraceBuffer_StoreElem.h"
#include "Sys/Sys_RingBuffer.h"

#include <iosfwd>

// Diagnostic records left by time-critical code, turned into text later.
// A record is the address of a print procedure and the raw data that it
// needs; Store copies them into a ring without a lock, an allocation or any
// formatting, from any thread or a signal handler. Dump, at leisure, lets
// each record's procedure print it.
//
// When the ring is full, the records that do not fit are lost, and in
// their place stands one "*** Buffer full, some messages lost ***" line:
// every record keeps back the room of that line, so it always fits.
//
// Many writers, one reader (Dump and DumpOne one thread at a time).
class Sys_RealTimeTraceBuffer
{
public:
    // Reads its record's data from the ring (Read) and prints it. It need
    // not read all of it, and cannot read past it.
    using PrintProc = void (*)(Sys_RingBuffer<char>& ring, std::ostream& out);

    // The ring's room in bytes, records with their procedures and headers.
    explicit Sys_RealTimeTraceBuffer(int32 capacity);
    Sys_RealTimeTraceBuffer(Sys_RealTimeTraceBuffer const&) = delete;
    Sys_RealTimeTraceBuffer& operator=(Sys_RealTimeTraceBuffer const&) = delete;

    // A record of the procedure and length bytes of data. False when it did
    // not fit and the full line was stored (or was there already) instead.
    bool Store(void const* data, int32 length, PrintProc proc) noexcept;
    // A record of the procedure and the data of each piece of the chain
    // from head on.
    bool Store(Sys_RealTimeTraceBuffer_StoreElem const& head, PrintProc proc) noexcept;

    // Prints every complete record, oldest first.
    void Dump(std::ostream* out);
    // Prints the oldest record; false when there is none that is complete.
    bool DumpOne(std::ostream* out);

    // The print procedure of the full line; reads nothing.
    static void BufferFullPrintProc(Sys_RingBuffer<char>& ring, std::ostream& out);

    // The room that a record of length bytes of data takes.
    static constexpr int64 RecordBytes(int64 length)
    {
        return Sys_RingBuffer<char>::RecordBytes(static_cast<int64>(sizeof(PrintProc)) + length);
    }

private:
    void StoreBufferFull() noexcept;

    Sys_RingBuffer<char> mRing;
};
