#pragma once

#include <bit>

#include "Sys/Sys_TypedInStream.h"

// Reads little-endian values.
class Sys_LittleEndianInStream : public Sys_TypedInStream
{
public:
    explicit Sys_LittleEndianInStream(Cmn_InStream* stream)
        : Sys_TypedInStream(stream, std::endian::native == std::endian::little ? eNoSwap : eSwap)
    {
    }
};
