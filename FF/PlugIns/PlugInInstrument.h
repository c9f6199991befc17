// The instrument record passed by value across IOrvanelAudioFile: 42 packed bytes.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)
struct PlugInInstrument
{
    i32 loop1Type = 0;
    i64 loop1Start = 0;
    i64 loop1Stop = 0;
    i32 loop2Type = 0;
    i64 loop2Start = 0;
    i64 loop2Stop = 0;
    u8 rootMIDINote = 60;
    i8 fineTuneCents = 0;
};
#pragma pack(pop)
static_assert(sizeof(PlugInInstrument) == 42);
static_assert(offsetof(PlugInInstrument, loop2Type) == 20);
static_assert(offsetof(PlugInInstrument, rootMIDINote) == 40);
