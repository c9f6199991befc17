#pragma once

#include "Sys/Sys_BigEndianInStream.h"

// Reads what a Sys_CrossPlatformOutStream wrote: big-endian values.
class Sys_CrossPlatformInStream : public Sys_BigEndianInStream
{
public:
    explicit Sys_CrossPlatformInStream(Cmn_InStream* stream) : Sys_BigEndianInStream(stream) {}
};
