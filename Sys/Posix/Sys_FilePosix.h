#pragma once

#include <cstdlib>
#include <memory>

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
//
// Unbuffered files (O_DIRECT) move whole sectors at sector offsets only,
// from memory aligned as the file system asks. Read and Write stay exact
// to the byte all the same: the sector at the head and the one at the tail
// of a transfer go through two sector buffers of the object (read, merge,
// write back for a write), the whole sectors between them go straight
// between the caller's memory and the disk, and a write cuts the file back
// to its exact end afterwards. The middle therefore starts at buffer +
// (the head's length), and its alignment is the caller's affair. The
// count of an unbuffered read is what was asked for, even where the last
// sector came back short; a read where no sector exists at all fails with
// Sys_File::kErrHandleEOF.
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
    void Reserve(int64 size) override;
    uint64 GetEOF() override;
    void SetPosition(Sys_File::EOffsetFrom from, int64 offset) override;
    // The true 64-bit position.
    uint64 GetPosition() override;
    int64 Read(void* buffer, int64 count) override;
    int64 Write(void const* buffer, int64 count) override;
    void ReadAsync(Sys_AsyncFileIOParams* params) override;
    void WriteAsync(Sys_AsyncFileIOParams* params) override;
    void Sync() override;
    void QelOpen(int32 openMode) override;
    void QelClose() override;
    uint64 QelGetHighWaterMark() override;
    void QelSetHighWaterMark(int64 mark) override;

    // The descriptor of QelOpen, or -1.
    int QelGetHandle() const { return mQelHandle; }
    int32 GetOpenMode() const { return mOpenMode; }
    // The sector size learned at the first Open; 0 when there was none to learn.
    int32 GetBytesPerSector() const { return mBytesPerSector; }
    // The sector size the unbuffered path works with since the last Open:
    // the volume's, raised to the file's direct-transfer alignment, and 1
    // where there is none (a RAM disk).
    uint64 GetUnbufferedSectorSize() const { return mSectorSize; }
    // Makes the next Open use this sector size on the unbuffered path and
    // for the zero-fill handle instead of the one the system reports; 0
    // goes back to the system's.
    void SetSectorSizeOverride(int32 size) { mSectorSizeOverride = size; }
    // The descriptor of the zero-fill handle, or -1.
    int GetZeroFillHandle() const { return mZeroFillHandle; }

    // Whether a file opened for writing with both share bits, and neither
    // unbuffered nor async, gets a second, unbuffered handle through which
    // SetEOF extends it by a write of its last sector. Linux file systems
    // make the growth of a file sparse without a cost, so it is off unless
    // switched on.
    static void SetZeroFillingOnFATSubverted(bool subverted);
    static bool IsZeroFillingOnFATSubverted();

    static void SetPlatformDependentMethods();

private:
    static Sys_FileImpl* Create(Sys_FileLoc const& loc);

    void ThrowIfClosed() const;
    // Also refuses a handle opened with neither read nor write access.
    void ThrowIfNoAccess() const;
    void LearnBytesPerSector();
    void SetUpSectorSize(int fd);
    void CreateZeroFillHandleIfAppropriate();
    void Queue(Sys_AsyncFileIOParams* params, bool write);

    // The transfers of the unbuffered path. They return an error number, 0
    // for success, and leave throwing to Read and Write.
    int ReadUnbufferedIO(void* buffer, uint64* count);
    int WriteUnbufferedIO(void const* buffer, uint64* count);
    // count bytes at mPosition, which moves by what was transferred. A read
    // that finds no byte at all answers kErrHandleEOF; a short one is no
    // error (*done tells how much).
    int ReadAt(void* buffer, uint64 count, uint64* done);
    int WriteAt(void const* buffer, uint64 count);
    // Read, merge and write back the sector at mPosition: length bytes of
    // source go to offset within it.
    int MergeSector(char* sector, uint64 offset, char const* source, uint64 length);
    // Cuts or extends the file to size without flushing it.
    void Truncate(int64 size);

    struct FreeDeleter
    {
        void operator()(char* p) const { std::free(p); }
    };
    using SectorBuffer = std::unique_ptr<char, FreeDeleter>;
    // Aligned for direct transfers, the sector size long.
    SectorBuffer AllocateSector() const;

    Sys_FileLoc mFileLoc;
    int mHandle = -1;
    int mQelHandle = -1;
    uint64 mHighWaterMark = 0;
    int32 mOpenMode = 0;
    // Nothing was written since the last Sync that succeeded.
    bool mSynced = false;
    int32 mBytesPerSector = 0;
    uint64 mPosition = 0;
    int32 mSectorSizeOverride = 0;
    uint64 mSectorSize = 1;
    uint64 mMemoryAlignment = 1;
    // The sector at the head of an unbuffered transfer, and the one at its tail.
    SectorBuffer mSectorBuffer1;
    SectorBuffer mSectorBuffer2;
    int mZeroFillHandle = -1;
    // Identity of the open file, so that delete-on-close removes this file
    // and not one that has taken its name in the meantime.
    uint64 mDevice = 0;
    uint64 mInode = 0;
};
