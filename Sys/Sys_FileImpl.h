#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_File.h"

class Sys_FileAttr;
class Sys_FileLoc;

// The seam behind Sys_File: one platform implementation per file object.
// The operations are those of Sys_File; sizes and positions come back
// unsigned and Sys_File hands them on as signed 64-bit counts.
class Sys_FileImpl
{
public:
    virtual ~Sys_FileImpl();

    virtual bool IsOpen() const = 0;
    virtual bool IsOnline() const = 0;
    virtual Sys_FileLoc const& GetFileLoc() const = 0;
    virtual Sys_FileAttr GetFileAttr() const = 0;
    virtual void SetPermissions(int32 permissions) = 0;
    virtual void Open(int32 openMode) = 0;
    virtual void Close() = 0;
    virtual void SetEOF(int64 size) = 0;
    // Where the platform has no way to take room ahead, nothing is done.
    virtual void Reserve(int64 size);
    virtual uint64 GetEOF() = 0;
    virtual void SetPosition(Sys_File::EOffsetFrom from, int64 offset) = 0;
    virtual uint64 GetPosition() = 0;
    virtual int64 Read(void* buffer, int64 count) = 0;
    virtual int64 Write(void const* buffer, int64 count) = 0;
    // Queued transfers; an implementation without them refuses them
    // (EOPNOTSUPP).
    virtual void ReadAsync(Sys_AsyncFileIOParams* params);
    virtual void WriteAsync(Sys_AsyncFileIOParams* params);
    // Where nothing lies below the implementation, nothing is waited for.
    virtual void Sync();
    virtual void QelOpen(int32 openMode) = 0;
    virtual void QelClose() = 0;
    virtual uint64 QelGetHighWaterMark() = 0;
    virtual void QelSetHighWaterMark(int64 mark) = 0;

protected:
    Sys_FileImpl() = default;

private:
    Sys_FileImpl(Sys_FileImpl const&) = delete;
    Sys_FileImpl& operator=(Sys_FileImpl const&) = delete;
};
