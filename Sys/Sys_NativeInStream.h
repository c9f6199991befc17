#pragma once

#include "Sys/Sys_TypedInStream.h"

// Reads values in the host's byte order.
class Sys_NativeInStream : public Sys_TypedInStream
{
public:
    explicit Sys_NativeInStream(Cmn_InStream* stream) : Sys_TypedInStream(stream, eNoSwap) {}
};
