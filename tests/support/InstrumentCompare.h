// Instrument data compared whole and printed field by field in failures.
// Its fields are packed: they are printed as copies, never bound by reference.
#pragma once

#include "FF/PlugIns/PlugInInstrument.h"

#include <cstring>
#include <ostream>

inline bool operator==(PlugInInstrument const& a, PlugInInstrument const& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline void PrintTo(PlugInInstrument const& i, std::ostream* out)
{
    *out << "loop 1 type " << i32{i.loop1Type} << " " << i64{i.loop1Start} << "-" << i64{i.loop1Stop}
         << ", loop 2 type " << i32{i.loop2Type} << " " << i64{i.loop2Start} << "-" << i64{i.loop2Stop} << ", root "
         << int{i.rootMIDINote} << ", fine " << int{i.fineTuneCents};
}
