#pragma once

#include "Sys/Sys_TypedOutStream.h"

// Writes values in the host's byte order, for data that stays on this machine.
class Sys_NativeOutStream : public Sys_TypedOutStream
{
public:
    explicit Sys_NativeOutStream(Cmn_OutStream* stream) : Sys_TypedOutStream(stream, eNoSwap) {}
};
