#pragma once

#include <bit>

#include "Sys/Sys_TypedOutStream.h"

// Writes values big-endian: the format of everything that may travel between machines.
class Sys_CrossPlatformOutStream : public Sys_TypedOutStream
{
public:
    explicit Sys_CrossPlatformOutStream(Cmn_OutStream* stream)
        : Sys_TypedOutStream(stream, std::endian::native == std::endian::big ? eNoSwap : eSwap)
    {
    }
};
