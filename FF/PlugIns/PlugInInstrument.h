// The instrument record passed by value across IOrvanelAudioFile: 42 packed bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)
struct PlugInInstrument
{
    std::int32_t loop1Type = 0;
    std::int64_t loop1Start = 0;
    std::int64_t loop1Stop = 0;
    std::int32_t loop2Type = 0;
    std::int64_t loop2Start = 0;
    std::int64_t loop2Stop = 0;
    std::uint8_t rootMIDINote = 60;
    std::int8_t fineTuneCents = 0;
};
#pragma pack(pop)
static_assert(sizeof(PlugInInstrument) == 42);
static_assert(offsetof(PlugInInstrument, loop2Type) == 20);
static_assert(offsetof(PlugInInstrument, rootMIDINote) == 40);
