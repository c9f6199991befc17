#pragma once

#include <bit>

#include "Sys/Sys_TypedInStream.h"

// Reads big-endian values.
class Sys_BigEndianInStream : public Sys_TypedInStream
{
public:
    explicit Sys_BigEndianInStream(Cmn_InStream* stream)
        : Sys_TypedInStream(stream, std::endian::native == std::endian::big ? eNoSwap : eSwap)
    {
    }
};
