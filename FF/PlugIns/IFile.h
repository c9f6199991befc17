// The handler's only way to the disk: a view of the open Sys_File.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

class Sys_FileImpl;

class IFile : public IUnknown
{
public:
    virtual PlugInResult SetEOF(i64 size) = 0;
    virtual PlugInResult GetEOF(i64* size) = 0;
    // Room on the disk up to `size` bytes, taken before a change that must
    // not stop half way for want of it; the file as it was on a failure.
    virtual PlugInResult Reserve(i64 size) = 0;
    // from: 0 counts from the start, 1 from the current position.
    virtual PlugInResult SetPosition(i32 from, i64 offset) = 0;
    virtual PlugInResult GetPosition(i64* position) = 0;
    // count: bytes asked for in, bytes transferred out.
    virtual PlugInResult Read(void* buffer, i64* count) = 0;
    virtual PlugInResult Write(void* buffer, i64* count) = 0;
    virtual PlugInResult GetImpl(Sys_FileImpl** impl) = 0;
    // Returns once what was written is on the disk, so that a write that
    // follows cannot land there before it.
    virtual PlugInResult Sync() = 0;

protected:
    ~IFile() = default;
};
