// The handler's only way to the disk: a view of the open Sys_File.
#pragma once

#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

class Sys_FileImpl;

class IFile : public IUnknown
{
public:
    virtual PlugInResult SetEOF(std::int64_t size) = 0;
    virtual PlugInResult GetEOF(std::int64_t* size) = 0;
    // from: 0 counts from the start, 1 from the current position.
    virtual PlugInResult SetPosition(std::int32_t from, std::int64_t offset) = 0;
    virtual PlugInResult GetPosition(std::int64_t* position) = 0;
    // count: bytes asked for in, bytes transferred out.
    virtual PlugInResult Read(void* buffer, std::int64_t* count) = 0;
    virtual PlugInResult Write(void* buffer, std::int64_t* count) = 0;
    virtual PlugInResult GetImpl(Sys_FileImpl** impl) = 0;

protected:
    ~IFile() = default;
};
