#pragma once

#include <memory>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileAttr.h"

class Sys_AsyncFileIOParams;
class Sys_FileImpl;
class Sys_FileLoc;

// The portable file object: everything that reaches the disk goes through
// it. It owns one platform implementation and forwards every operation to
// it; only MoveBlock has logic of its own, built on the virtual operations
// so that a subclass sees each step. Sizes and positions are signed 64-bit
// byte counts; one transfer moves at most 4 GiB - 1 bytes (the count is cut
// to its low 32 bits). No lock: one object, one thread at a time.
class Sys_File
{
public:
    enum EOffsetFrom
    {
        kFromStart = 0,
        kFromCurrent = 1,
        kFromEnd = 2 // the offset counts backwards from the end
    };

    // Open mode bits.
    static constexpr int32 kOpenWrite = 0x0001;
    static constexpr int32 kOpenRead = 0x0002;
    static constexpr int32 kOpenWriteThrough = 0x0004; // needs kOpenWrite
    static constexpr int32 kOpenShareRead = 0x0010;    // accepted; no meaning on this platform
    static constexpr int32 kOpenShareWrite = 0x0020;   // accepted; no meaning on this platform
    static constexpr int32 kOpenExisting = 0x0100;
    static constexpr int32 kOpenCreate = 0x0200; // alone: create or truncate; with kOpenExisting: open or create
    static constexpr int32 kOpenDeleteOnClose = 0x1000;
    static constexpr int32 kOpenAsync = 0x2000;
    static constexpr int32 kOpenUnbuffered = 0x4000; // only with kOpenAsync

    // The error of an unbuffered read where the file has no sector at all.
    // The number is the one the workstation's files have always carried
    // for it; on Linux it is also ENOSYS, which a FUSE file system may
    // answer for a call it lacks, so only the unbuffered path gives it
    // this meaning.
    static constexpr int32 kErrHandleEOF = 38;

    // SetPermissions bit.
    static constexpr int32 kPermissionReadOnly = 0x0001;

    // Opens a file for the length of a scope. Release() keeps it open past
    // the scope.
    class StOpen
    {
    public:
        StOpen(Sys_File* file, int32 openMode);
        ~StOpen();
        StOpen(StOpen const&) = delete;
        StOpen& operator=(StOpen const& other);
        void Release() { mFile = nullptr; }

    private:
        Sys_File* mFile;
    };

    // The file at loc, through the platform's creator.
    explicit Sys_File(Sys_FileLoc const& loc);
    // Takes over an implementation made elsewhere.
    explicit Sys_File(std::unique_ptr<Sys_FileImpl> impl);
    virtual ~Sys_File();

    virtual bool IsOpen() const;
    // The file is there now; works closed as well as open.
    virtual bool IsOnline() const;
    virtual Sys_FileLoc const& GetFileLoc() const;
    virtual Sys_FileAttr GetFileAttr() const;
    // kPermissionReadOnly set makes the file read-only, clear writable again.
    virtual void SetPermissions(int32 permissions);
    virtual Sys_FileImpl* GetImpl();
    // Open throws XC_Sys_FileAlreadyOpen on an open file and the system
    // error on a failure of the platform; the object then stays closed.
    virtual void Open(int32 openMode) const;
    // Harmless on a closed file.
    virtual void Close() const;
    // Keeps the position; growth reads back as zeros.
    virtual void SetEOF(int64 size);
    // Makes the disk hold room for the file up to `size` bytes, so that
    // writes up to there cannot fail for want of it: taken without a change
    // of length where the file system can, zeros written up to `size`
    // where it cannot. Throws the system's error (a full disk) with the file
    // as it was. Keeps the position; does nothing to a file that long.
    virtual void Reserve(int64 size);
    virtual int64 GetEOF();
    virtual void SetPosition(EOffsetFrom from, int64 offset);
    // 0 on a closed file.
    virtual int64 GetPosition();
    // Returns what it got: a short count or 0 at the end, without throwing.
    virtual int64 Read(void* buffer, int64 count);
    virtual int64 Write(void const* buffer, int64 count);
    // Queue a transfer at the params' own offset; the position is neither
    // used nor moved. The file must be open with kOpenAsync. See
    // Sys_AsyncFileIOParams for how completion is delivered.
    virtual void ReadAsync(Sys_AsyncFileIOParams* params);
    virtual void WriteAsync(Sys_AsyncFileIOParams* params);
    // Moves size bytes at start by moveBy bytes, in place; overlapping
    // ranges come out right in both directions. The position is kept.
    virtual void MoveBlock(int64 start, int64 size, int64 moveBy);

    // Waits until what was written is on the disk, and throws the error
    // the disk reports only when it writes bytes back (a device that went,
    // a full volume that had promised room). Nothing to do on a file not
    // open for writing.
    void Sync();

    // A second handle on the file for a client outside this library, and
    // the mark of how far the file has been written that the two agree on.
    void QelOpen(int32 openMode);
    void QelClose();
    int64 QelGetHighWaterMark();
    void QelSetHighWaterMark(int64 mark);

    using CreateMethod = Sys_FileImpl* (*)(Sys_FileLoc const& loc);
    static void SetCreateMethod(CreateMethod method);

protected:
    // For subclasses that set up their implementation in their own way.
    Sys_File();
    void SetImpl(std::unique_ptr<Sys_FileImpl> impl);

private:
    Sys_File(Sys_File const&) = delete;
    Sys_File& operator=(Sys_File const&) = delete;

    std::unique_ptr<Sys_FileImpl> mImpl;
};
