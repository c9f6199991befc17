#include "Sys/Posix/Sys_FilePosix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <limits>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_AsyncFileEnginePosix.h"
#include "Sys/Posix/Sys_AsyncFileIOParamsPosix.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_ThrowIfOSErr.h"
#include "Sys/Sys_Volume.h"

static_assert(sizeof(off_t) == 8, "file offsets must be 64-bit");

namespace
{

// Linux moves at most this much in one read or write call.
constexpr uint64 kMaxTransfer = 0x7FFFF000;

[[noreturn]] void ThrowErrno(int err)
{
    // Sys_ThrowIfOSErr returns only for an error number of 0, which a
    // failed call never leaves behind.
    Sys_ThrowIfOSErr(err != 0 ? err : EIO, 0);
    throw Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError, Sys_OSErrData(EIO));
}

bool StatxPath(std::string const& path, struct statx* out)
{
    return ::statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, out) == 0;
}

bool StatxFd(int fd, struct statx* out)
{
    return ::statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, out) == 0;
}

Sys_FileAttr AttrFromStatx(struct statx const& st)
{
    int64 const modified = Sys_UtilsPosix::FileTimeFromTimespec(st.stx_mtime.tv_sec, st.stx_mtime.tv_nsec);
    // Not every file system keeps a birth time; a file cannot be younger
    // than its last write, so that stands in for it.
    int64 const created = (st.stx_mask & STATX_BTIME)
                              ? Sys_UtilsPosix::FileTimeFromTimespec(st.stx_btime.tv_sec, st.stx_btime.tv_nsec)
                              : modified;
    bool const readOnly = (st.stx_mode & S_IWUSR) == 0;
    return Sys_FileAttr(static_cast<int64>(st.stx_size), readOnly, created, modified);
}

bool sIsZeroFillingOnFATSubverted = false;

} // namespace

void Sys_FilePosix::SetZeroFillingOnFATSubverted(bool subverted)
{
    sIsZeroFillingOnFATSubverted = subverted;
}

bool Sys_FilePosix::IsZeroFillingOnFATSubverted()
{
    return sIsZeroFillingOnFATSubverted;
}

void Sys_FilePosix::SetPlatformDependentMethods()
{
    Sys_File::SetCreateMethod(&Sys_FilePosix::Create);
    Sys_AsyncFileIOParamsPosix::SetPlatformDependentMethods();
}

Sys_FileImpl* Sys_FilePosix::Create(Sys_FileLoc const& loc)
{
    return new Sys_FilePosix(loc);
}

Sys_FilePosix::Sys_FilePosix(Sys_FileLoc const& loc) : mFileLoc(loc) {}

Sys_FilePosix::~Sys_FilePosix()
{
    try
    {
        Close();
        QelClose();
    }
    catch (...)
    {
        // A destructor must not throw; Close reports nothing anyway.
    }
}

bool Sys_FilePosix::IsOpen() const
{
    return mHandle >= 0;
}

bool Sys_FilePosix::IsOnline() const
{
    struct stat st;
    return ::stat(mFileLoc.GetFullPath().c_str(), &st) == 0;
}

Sys_FileLoc const& Sys_FilePosix::GetFileLoc() const
{
    return mFileLoc;
}

Sys_FileAttr Sys_FilePosix::GetFileAttr() const
{
    struct statx st;
    bool const ok = IsOpen() ? StatxFd(mHandle, &st) : StatxPath(mFileLoc.GetFullPath(), &st);
    if (!ok)
        ThrowErrno(errno);
    return AttrFromStatx(st);
}

void Sys_FilePosix::SetPermissions(int32 permissions)
{
    std::string const path = mFileLoc.GetFullPath();
    struct stat st;
    if (::stat(path.c_str(), &st) != 0)
        ThrowErrno(errno);
    mode_t mode = st.st_mode & 07777;
    if (permissions & Sys_File::kPermissionReadOnly)
        mode &= ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH);
    else
        mode |= S_IWUSR;
    if (::chmod(path.c_str(), mode) != 0)
        ThrowErrno(errno);
}

void Sys_FilePosix::LearnBytesPerSector()
{
    try
    {
        Sys_Volume const volume = mFileLoc.GetVolume();
        if (volume.IsMounted())
        {
            Sys_Volume::EVolumeType const type = volume.GetVolumeType();
            if (type == Sys_Volume::kVolumeTypeFixed || type == Sys_Volume::kVolumeTypeRemovable)
                mBytesPerSector = volume.GetBytesPerSector();
        }
    }
    catch (...)
    {
        // Only the unbuffered path needs the sector size; a plain file
        // opens without it.
        mBytesPerSector = 0;
    }
}

void Sys_FilePosix::Open(int32 openMode)
{
    if (IsOpen())
        throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Sys_FileAlreadyOpen, Cmn_NullExceptionData());

    if (mBytesPerSector == 0)
        LearnBytesPerSector();

    CMN_ASSERT(!((openMode & Sys_File::kOpenUnbuffered) && !(openMode & Sys_File::kOpenAsync)));

    bool const write = (openMode & Sys_File::kOpenWrite) != 0;
    bool const read = (openMode & Sys_File::kOpenRead) != 0;
    int flags = write ? (read ? O_RDWR : O_WRONLY) : O_RDONLY;

    if (openMode & Sys_File::kOpenWriteThrough)
    {
        CMN_ASSERT(write);
        // Delete-on-close replaces every earlier flag: a file that is going
        // away is not worth writing through.
        if (!(openMode & Sys_File::kOpenDeleteOnClose))
            flags |= O_DSYNC;
    }

    bool const existing = (openMode & Sys_File::kOpenExisting) != 0;
    bool const create = (openMode & Sys_File::kOpenCreate) != 0;
    if (existing && create)
        flags |= O_CREAT;
    else if (create)
        flags |= O_CREAT | O_TRUNC;
    else if (!existing)
        ThrowErrno(EINVAL); // no disposition at all: the system refuses it

    // Neither read nor write: a handle that names the file and gives no
    // access, so that Read, Write and SetEOF fail. One that need not create
    // the file is a path handle, which needs no permission to read it.
    bool const noAccess = !read && !write;
    if (noAccess && !create)
        flags = O_PATH;

    // Unbuffered alone is refused above; past the assertion it is served
    // as a plain file.
    bool const unbuffered = (openMode & Sys_File::kOpenUnbuffered) && (openMode & Sys_File::kOpenAsync);
    if (unbuffered && !(flags & O_PATH))
        flags |= O_DIRECT;

    std::string const path = mFileLoc.GetFullPath();
    // Not blocking while opening, so that a FIFO cannot hang the caller.
    int fd = Sys_FilePosixCalls::Current().open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666);
    if (fd < 0 && errno == EINVAL && (flags & O_DIRECT))
    {
        // A file system without direct transfers: the same sector
        // arithmetic then runs through the page cache.
        flags &= ~O_DIRECT;
        fd = Sys_FilePosixCalls::Current().open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666);
    }
    if (fd < 0)
        ThrowErrno(errno);

    struct stat st;
    int err = 0;
    if (::fstat(fd, &st) != 0)
        err = errno;
    else if (S_ISDIR(st.st_mode))
        err = EISDIR;
    else if (!(flags & O_PATH) && ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0)
        err = errno;
    if (err != 0)
    {
        Sys_FilePosixCalls::Current().close(fd);
        ThrowErrno(err);
    }

    if (unbuffered || sIsZeroFillingOnFATSubverted)
        SetUpSectorSize(fd);
    if (unbuffered)
    {
        // A new pair for each open, since the sector size may have changed.
        try
        {
            mSectorBuffer1 = AllocateSector();
            mSectorBuffer2 = AllocateSector();
        }
        catch (...)
        {
            Sys_FilePosixCalls::Current().close(fd);
            throw;
        }
    }

    mHandle = fd;
    mOpenMode = openMode;
    mPosition = 0;
    mDevice = static_cast<uint64>(st.st_dev);
    mInode = static_cast<uint64>(st.st_ino);
    CreateZeroFillHandleIfAppropriate();
}

void Sys_FilePosix::SetUpSectorSize(int fd)
{
    uint64 size = mSectorSizeOverride > 0 ? static_cast<uint64>(mSectorSizeOverride)
                                          : static_cast<uint64>(std::max<int32>(mBytesPerSector, 0));
    uint64 memoryAlignment = 0;
    struct statx st;
    if (mSectorSizeOverride <= 0 && ::statx(fd, "", AT_EMPTY_PATH, STATX_DIOALIGN, &st) == 0 &&
        (st.stx_mask & STATX_DIOALIGN))
    {
        // The file system may ask for more than the device's sector.
        size = std::max<uint64>(size, st.stx_dio_offset_align);
        memoryAlignment = st.stx_dio_mem_align;
    }
    // No sector size (a RAM disk has none): every byte is a sector.
    mSectorSize = size == 0 ? 1 : size;
    mMemoryAlignment = std::max(mSectorSize, memoryAlignment);
}

Sys_FilePosix::SectorBuffer Sys_FilePosix::AllocateSector() const
{
    std::size_t const alignment = std::bit_ceil(std::max<std::size_t>(mMemoryAlignment, sizeof(void*)));
    void* memory = nullptr;
    int const err = ::posix_memalign(&memory, alignment, static_cast<std::size_t>(mSectorSize));
    if (err != 0)
        ThrowErrno(err);
    std::memset(memory, 0, static_cast<std::size_t>(mSectorSize));
    return SectorBuffer(static_cast<char*>(memory));
}

void Sys_FilePosix::CreateZeroFillHandleIfAppropriate()
{
    int32 const needed = Sys_File::kOpenWrite | Sys_File::kOpenShareRead | Sys_File::kOpenShareWrite;
    if (!sIsZeroFillingOnFATSubverted || (mOpenMode & needed) != needed ||
        (mOpenMode & (Sys_File::kOpenUnbuffered | Sys_File::kOpenAsync)))
        return;
    std::string const path = mFileLoc.GetFullPath();
    int const fd = Sys_FilePosixCalls::Current().open(path.c_str(), O_RDWR | O_DIRECT | O_CLOEXEC, 0);
    // The main handle stays open when this one fails.
    if (fd < 0)
        ThrowErrno(errno);
    mZeroFillHandle = fd;
}

void Sys_FilePosix::Close()
{
    if (IsOpen())
    {
        Sys_FilePosixCalls const& calls = Sys_FilePosixCalls::Current();
        // Its error has no one to go to here: a writer that must know
        // calls Sync first, and then there is nothing left to wait for.
        if ((mOpenMode & Sys_File::kOpenWrite) && !mSynced)
            calls.fsync(mHandle);
        calls.close(mHandle);
        if (mZeroFillHandle >= 0)
            calls.close(mZeroFillHandle);
        if (mOpenMode & Sys_File::kOpenDeleteOnClose)
        {
            std::string const path = mFileLoc.GetFullPath();
            struct stat st;
            if (::stat(path.c_str(), &st) == 0 && static_cast<uint64>(st.st_dev) == mDevice &&
                static_cast<uint64>(st.st_ino) == mInode)
                ::unlink(path.c_str());
        }
    }
    mHandle = -1;
    mZeroFillHandle = -1;
    mOpenMode = 0;
    mSynced = false;
}

void Sys_FilePosix::ThrowIfClosed() const
{
    if (!IsOpen())
        ThrowErrno(EBADF);
}

void Sys_FilePosix::ThrowIfNoAccess() const
{
    ThrowIfClosed();
    if ((mOpenMode & (Sys_File::kOpenRead | Sys_File::kOpenWrite)) == 0)
        ThrowErrno(EBADF);
}

void Sys_FilePosix::SetEOF(int64 size)
{
    ThrowIfNoAccess();
    mSynced = false;
    Sys_FilePosixCalls const& calls = Sys_FilePosixCalls::Current();
    if (mZeroFillHandle >= 0)
    {
        int64 const sector = static_cast<int64>(mSectorSize);
        int64 const delta = size - static_cast<int64>(GetEOF());
        if (delta >= sector)
        {
            // Growing by a sector or more: the last sector is written
            // through the unbuffered handle first, so that the file system
            // never fills the growth itself.
            int64 const point = size % sector != 0 ? size - size % sector : size - sector;
            if (calls.ftruncate(mZeroFillHandle, point) != 0)
                ThrowErrno(errno);
            SectorBuffer const zeros = AllocateSector();
            int64 const put = calls.pwrite(mZeroFillHandle, zeros.get(), mSectorSize, point);
            if (put < 0)
                ThrowErrno(errno);
            if (put != sector)
                ThrowErrno(EIO);
        }
    }
    Truncate(size);
    // The system reports a write-back error once: one passed over here
    // would never reach the caller that closes the file.
    Sync();
    // The position is in user space and stays where it was.
}

void Sys_FilePosix::Sync()
{
    if (!IsOpen() || !(mOpenMode & Sys_File::kOpenWrite) || mSynced)
        return;
    // A special file that cannot be synchronised has nothing to wait for.
    if (Sys_FilePosixCalls::Current().fsync(mHandle) != 0 && errno != EINVAL && errno != EROFS)
        ThrowErrno(errno);
    mSynced = true;
}

void Sys_FilePosix::Reserve(int64 size)
{
    ThrowIfNoAccess();
    mSynced = false;
    int64 const eof = static_cast<int64>(GetEOF());
    if (size <= eof)
        return;
    if (Sys_FilePosixCalls::Current().fallocate(mHandle, eof, size - eof) == 0)
        return;
    if (errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL)
        ThrowErrno(errno);
    // A file system that takes no room ahead (exFAT, older network shares):
    // zeros written are the room, and cut away again if the disk has less.
    // They are not audio, so the mark of what was written stays.
    uint64 const savedPosition = mPosition;
    uint64 const savedMark = mHighWaterMark;
    static char const zeros[0x8000] = {};
    try
    {
        mPosition = static_cast<uint64>(eof);
        while (static_cast<int64>(mPosition) < size)
            Write(zeros, std::min<int64>(sizeof zeros, size - static_cast<int64>(mPosition)));
    }
    catch (...)
    {
        mPosition = savedPosition;
        mHighWaterMark = savedMark;
        Truncate(eof);
        throw;
    }
    mPosition = savedPosition;
    mHighWaterMark = savedMark;
}

void Sys_FilePosix::Truncate(int64 size)
{
    if (Sys_FilePosixCalls::Current().ftruncate(mHandle, size) != 0)
        ThrowErrno(errno);
}

uint64 Sys_FilePosix::GetEOF()
{
    ThrowIfClosed();
    struct stat st;
    if (::fstat(mHandle, &st) != 0)
        ThrowErrno(errno);
    return static_cast<uint64>(st.st_size);
}

void Sys_FilePosix::SetPosition(Sys_File::EOffsetFrom from, int64 offset)
{
    ThrowIfClosed();
    int64 base = 0;
    switch (from)
    {
    case Sys_File::kFromStart: base = 0; break;
    case Sys_File::kFromCurrent: base = static_cast<int64>(mPosition); break;
    case Sys_File::kFromEnd:
        base = static_cast<int64>(GetEOF());
        if (offset == std::numeric_limits<int64>::min())
            ThrowErrno(EINVAL);
        offset = -offset;
        break;
    default: CMN_ASSERT(false); return;
    }
    int64 position = 0;
    if (__builtin_add_overflow(base, offset, &position) || position < 0)
        ThrowErrno(EINVAL); // a seek before the start of the file
    mPosition = static_cast<uint64>(position);
}

uint64 Sys_FilePosix::GetPosition()
{
    return IsOpen() ? mPosition : 0;
}

int64 Sys_FilePosix::Read(void* buffer, int64 count)
{
    ThrowIfNoAccess();
    if ((mOpenMode & Sys_File::kOpenUnbuffered) && (mOpenMode & Sys_File::kOpenAsync))
    {
        uint64 done = static_cast<uint64>(count) & 0xFFFFFFFFu;
        if (int const err = ReadUnbufferedIO(buffer, &done))
            ThrowErrno(err);
        return static_cast<int64>(done);
    }
    // One transfer is at most 4 GiB - 1 bytes: the count above 32 bits is dropped.
    uint64 const wanted = static_cast<uint64>(count) & 0xFFFFFFFFu;
    char* const bytes = static_cast<char*>(buffer);
    uint64 done = 0;
    while (done < wanted)
    {
        uint64 const chunk = std::min(wanted - done, kMaxTransfer);
        int64 const got =
            Sys_FilePosixCalls::Current().pread(mHandle, bytes + done, chunk, static_cast<int64>(mPosition + done));
        if (got < 0)
        {
            int const err = errno;
            if (err == EINTR)
                continue;
            mPosition += done;
            ThrowErrno(err);
        }
        if (got == 0)
            break; // the end of the file
        done += static_cast<uint64>(got);
    }
    mPosition += done;
    return static_cast<int64>(done);
}

int64 Sys_FilePosix::Write(void const* buffer, int64 count)
{
    ThrowIfNoAccess();
    mSynced = false;
    if ((mOpenMode & Sys_File::kOpenUnbuffered) && (mOpenMode & Sys_File::kOpenAsync))
    {
        uint64 done = static_cast<uint64>(count) & 0xFFFFFFFFu;
        if (int const err = WriteUnbufferedIO(buffer, &done))
            ThrowErrno(err);
        mHighWaterMark = std::max(mHighWaterMark, mPosition);
        return static_cast<int64>(done);
    }
    uint64 const wanted = static_cast<uint64>(count) & 0xFFFFFFFFu;
    char const* const bytes = static_cast<char const*>(buffer);
    uint64 done = 0;
    while (done < wanted)
    {
        uint64 const chunk = std::min(wanted - done, kMaxTransfer);
        int64 const put =
            Sys_FilePosixCalls::Current().pwrite(mHandle, bytes + done, chunk, static_cast<int64>(mPosition + done));
        int err = 0;
        if (put < 0)
            err = errno;
        else if (put == 0)
            err = EIO; // no progress and no reason: do not spin on it
        if (err == EINTR)
            continue;
        if (err != 0)
        {
            mPosition += done;
            ThrowErrno(err);
        }
        done += static_cast<uint64>(put);
    }
    mPosition += done;
    mHighWaterMark = std::max(mHighWaterMark, mPosition);
    return static_cast<int64>(done);
}

void Sys_FilePosix::ReadAsync(Sys_AsyncFileIOParams* params)
{
    Queue(params, false);
}

void Sys_FilePosix::WriteAsync(Sys_AsyncFileIOParams* params)
{
    mSynced = false;
    Queue(params, true);
}

void Sys_FilePosix::Queue(Sys_AsyncFileIOParams* params, bool write)
{
    CMN_ASSERT(mOpenMode & Sys_File::kOpenAsync);
    ThrowIfNoAccess();
    auto* const posix = dynamic_cast<Sys_AsyncFileIOParamsPosix*>(params);
    if (!posix)
        ThrowErrno(EINVAL);
    // The transfer carries its own offset; the file's position stays.
    Sys_AsyncFileEnginePosix::Transfer const transfer = {
        mHandle, write, posix->GetBuffer(), static_cast<uint64>(posix->GetCount()) & 0xFFFFFFFFu, posix->GetOffset(),
        posix};
    posix->Queue();
    Sys_AsyncFileEnginePosix::Current().Submit(transfer);
}

void Sys_FilePosix::QelOpen(int32 openMode)
{
    if (mQelHandle >= 0)
        return;
    bool const write = (openMode & Sys_File::kOpenWrite) != 0;
    bool const read = (openMode & Sys_File::kOpenRead) != 0;
    int const flags = write ? (read ? O_RDWR : O_WRONLY) : O_RDONLY;
    std::string const path = mFileLoc.GetFullPath();
    int const fd = Sys_FilePosixCalls::Current().open(path.c_str(), flags | O_CLOEXEC, 0);
    if (fd < 0)
        ThrowErrno(errno);
    mQelHandle = fd;
}

void Sys_FilePosix::QelClose()
{
    if (mQelHandle >= 0)
        Sys_FilePosixCalls::Current().close(mQelHandle);
    mQelHandle = -1;
}

uint64 Sys_FilePosix::QelGetHighWaterMark()
{
    return mHighWaterMark;
}

void Sys_FilePosix::QelSetHighWaterMark(int64 mark)
{
    mHighWaterMark = static_cast<uint64>(mark);
}

// ---------------------------------------------------------------- unbuffered

int Sys_FilePosix::ReadAt(void* buffer, uint64 count, uint64* done)
{
    char* const bytes = static_cast<char*>(buffer);
    *done = 0;
    while (*done < count)
    {
        uint64 const chunk = std::min(count - *done, kMaxTransfer);
        int64 const got =
            Sys_FilePosixCalls::Current().pread(mHandle, bytes + *done, chunk, static_cast<int64>(mPosition));
        if (got < 0)
        {
            if (errno == EINTR)
                continue;
            return errno != 0 ? errno : EIO;
        }
        if (got == 0)
            return *done == 0 ? Sys_File::kErrHandleEOF : 0;
        *done += static_cast<uint64>(got);
        mPosition += static_cast<uint64>(got);
        // Short: the end of the file. Asking again from there would be a
        // transfer off the sector grid.
        if (static_cast<uint64>(got) < chunk)
            break;
    }
    return 0;
}

int Sys_FilePosix::WriteAt(void const* buffer, uint64 count)
{
    char const* const bytes = static_cast<char const*>(buffer);
    uint64 done = 0;
    while (done < count)
    {
        uint64 const chunk = std::min(count - done, kMaxTransfer);
        int64 const put =
            Sys_FilePosixCalls::Current().pwrite(mHandle, bytes + done, chunk, static_cast<int64>(mPosition));
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return errno != 0 ? errno : EIO;
        if (put == 0)
            return EIO; // no progress and no reason: do not spin on it
        done += static_cast<uint64>(put);
        mPosition += static_cast<uint64>(put);
    }
    return 0;
}

int Sys_FilePosix::ReadUnbufferedIO(void* buffer, uint64* count)
{
    uint64 const sector = mSectorSize;
    uint64 const start = mPosition;
    uint64 const wanted = *count;
    char* const bytes = static_cast<char*>(buffer);

    uint64 const headOffset = start % sector;
    uint64 const head = std::min(wanted, sector - headOffset);
    uint64 const tail = (wanted - head) % sector;
    uint64 const middle = wanted - head - tail;
    if (wanted == 0)
        return 0;

    // The head sector into the first buffer, the middle straight into the
    // caller's memory, the tail sector into the second buffer: one read of
    // the whole run of sectors, scattered, so that an aligned transfer
    // costs no more calls than a plain one.
    Sys_FilePosixCalls::Segment segments[3];
    int pieces = 0;
    segments[pieces++] = {mSectorBuffer1.get(), sector};
    if (middle != 0)
        segments[pieces++] = {bytes + head, middle};
    if (tail != 0)
        segments[pieces++] = {mSectorBuffer2.get(), sector};
    uint64 const total = sector + middle + (tail != 0 ? sector : 0);
    uint64 const first = start - headOffset;

    uint64 got = 0;
    while (got < total)
    {
        // Past what is done already: whole segments are dropped, and the
        // read stays on the sector grid since it only goes on from a
        // sector boundary.
        Sys_FilePosixCalls::Segment rest[3];
        int restCount = 0;
        uint64 skip = got;
        for (int i = 0; i < pieces; ++i)
        {
            if (skip >= segments[i].length)
            {
                skip -= segments[i].length;
                continue;
            }
            rest[restCount++] = {static_cast<char*>(segments[i].base) + skip, segments[i].length - skip};
            skip = 0;
        }
        Sys_FilePosixCalls const& calls = Sys_FilePosixCalls::Current();
        int64 const n = restCount == 1 ? calls.pread(mHandle, rest[0].base, rest[0].length, int64(first + got))
                                       : calls.preadv(mHandle, rest, restCount, int64(first + got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
        {
            mPosition = first + got;
            return errno != 0 ? errno : EIO;
        }
        got += static_cast<uint64>(n);
        // A short read is the end of the file, or the system's limit of one
        // call, which falls on a page boundary.
        if (n == 0 || got % sector != 0)
            break;
    }
    mPosition = first + got;

    // Where a piece found no sector at all, the file has none there.
    uint64 const lastPiece = tail != 0 ? sector + middle : (middle != 0 ? sector : 0);
    if (got <= lastPiece)
        return Sys_File::kErrHandleEOF;

    // Past a short last sector the caller gets zeros, not what the buffers
    // held before.
    uint64 const headGot = std::min(got, sector);
    std::memset(mSectorBuffer1.get() + headGot, 0, sector - headGot);
    if (middle != 0)
    {
        uint64 const middleGot = std::min(got - sector, middle);
        std::memset(bytes + head + middleGot, 0, middle - middleGot);
    }
    if (tail != 0)
    {
        uint64 const tailGot = got - sector - middle;
        std::memset(mSectorBuffer2.get() + tailGot, 0, sector - tailGot);
    }
    std::memcpy(bytes, mSectorBuffer1.get() + headOffset, head);
    std::memcpy(bytes + wanted - tail, mSectorBuffer2.get(), tail);
    mPosition = start + wanted;
    return 0;
}

int Sys_FilePosix::MergeSector(char* sector, uint64 offset, char const* source, uint64 length)
{
    uint64 got = 0;
    int const err = ReadAt(sector, mSectorSize, &got);
    if (err != 0 && err != Sys_File::kErrHandleEOF)
        return err;
    mPosition -= got;
    // What lies beyond the end, or in a hole, reads as zeros; the sector
    // must not carry the last transfer's bytes there.
    std::memset(sector + got, 0, mSectorSize - got);
    std::memcpy(sector + offset, source, length);
    return WriteAt(sector, mSectorSize);
}

int Sys_FilePosix::WriteUnbufferedIO(void const* buffer, uint64* count)
{
    int64 const end = static_cast<int64>(GetEOF());
    uint64 const sector = mSectorSize;
    uint64 const start = mPosition;
    uint64 const wanted = *count;
    char const* const bytes = static_cast<char const*>(buffer);

    uint64 const headOffset = start % sector;
    mPosition = start - headOffset;
    uint64 const head = std::min(wanted, sector - headOffset);
    uint64 const tail = (wanted - head) % sector;
    uint64 const middle = wanted - head - tail;

    if (head != 0)
    {
        if (int const err = MergeSector(mSectorBuffer1.get(), headOffset, bytes, head))
            return err;
    }
    if (middle != 0)
    {
        if (int const err = WriteAt(bytes + head, middle))
            return err;
    }
    if (tail != 0)
    {
        if (int const err = MergeSector(mSectorBuffer2.get(), 0, bytes + wanted - tail, tail))
            return err;
    }
    // Whole sectors may have left the file longer than its last byte.
    Truncate(std::max(static_cast<int64>(start + wanted), end));
    mPosition = start + wanted;
    return 0;
}
