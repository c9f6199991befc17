#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileAttr.h"
#include "Sys/Sys_FileImpl.h"
#include "Sys/Sys_FileLoc.h"

// Sys_File on Linux: a file descriptor and a position kept in user space,
// moved by pread and pwrite. Share modes have no meaning here and are
// ignored; write-through is O_DSYNC; delete-on-close unlinks the file when
// it is closed. A mode with neither read nor write gives a handle without
// access: the file is there to be asked about, not to be read or written.
// Every call to the file system goes through Sys_FilePosixCalls, so that
// tests can make it fail.
class Sys_FilePosix : public Sys_FileImpl
{
public:
    explicit Sys_FilePosix(Sys_FileLoc const& loc);
    ~Sys_FilePosix() override;

    bool IsOpen() const override;
    bool IsOnline() const override;
    Sys_FileLoc const& GetFileLoc() const override;
    Sys_FileAttr GetFileAttr() const override;
    void SetPermissions(int32 permissions) override;
    void Open(int32 openMode) override;
    void Close() override;
    void SetEOF(int64 size) override;
    uint64 GetEOF() override;
    void SetPosition(Sys_File::EOffsetFrom from, int64 offset) override;
    // The true 64-bit position.
    uint64 GetPosition() override;
    int64 Read(void* buffer, int64 count) override;
    int64 Write(void const* buffer, int64 count) override;
    void QelOpen(int32 openMode) override;
    void QelClose() override;
    uint64 QelGetHighWaterMark() override;
    void QelSetHighWaterMark(int64 mark) override;

    // The descriptor of QelOpen, or -1.
    int QelGetHandle() const { return mQelHandle; }
    int32 GetOpenMode() const { return mOpenMode; }
    // The sector size learned at the first Open; 0 when there was none to learn.
    int32 GetBytesPerSector() const { return mBytesPerSector; }

    static void SetPlatformDependentMethods();

private:
    static Sys_FileImpl* Create(Sys_FileLoc const& loc);

    void ThrowIfClosed() const;
    // Also refuses a handle opened with neither read nor write access.
    void ThrowIfNoAccess() const;
    void LearnBytesPerSector();

    Sys_FileLoc mFileLoc;
    int mHandle = -1;
    int mQelHandle = -1;
    uint64 mHighWaterMark = 0;
    int32 mOpenMode = 0;
    int32 mBytesPerSector = 0;
    uint64 mPosition = 0;
    // Identity of the open file, so that delete-on-close removes this file
    // and not one that has taken its name in the meantime.
    uint64 mDevice = 0;
    uint64 mInode = 0;
};
