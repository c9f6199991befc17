#include "Sys/Posix/Sys_FilePosixCalls.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{

int SysOpen(char const* path, int flags, unsigned mode)
{
    return ::open(path, flags, static_cast<mode_t>(mode));
}

int SysClose(int fd)
{
    return ::close(fd);
}

int64 SysPread(int fd, void* buffer, uint64 count, int64 offset)
{
    return ::pread(fd, buffer, static_cast<size_t>(count), static_cast<off_t>(offset));
}

int64 SysPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    return ::pwrite(fd, buffer, static_cast<size_t>(count), static_cast<off_t>(offset));
}

int64 SysPreadv(int fd, Sys_FilePosixCalls::Segment const* segments, int count, int64 offset)
{
    constexpr int kMaxSegments = 8;
    if (count < 0 || count > kMaxSegments)
    {
        errno = EINVAL;
        return -1;
    }
    struct iovec vectors[kMaxSegments];
    for (int i = 0; i < count; ++i)
        vectors[i] = {segments[i].base, static_cast<size_t>(segments[i].length)};
    return ::preadv(fd, vectors, count, static_cast<off_t>(offset));
}

int SysFtruncate(int fd, int64 length)
{
    return ::ftruncate(fd, static_cast<off_t>(length));
}

int SysFallocate(int fd, int64 offset, int64 length)
{
    return ::fallocate(fd, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset), static_cast<off_t>(length));
}

int SysFsync(int fd)
{
    return ::fsync(fd);
}

int64 SysQueued(int, int64, int64 result)
{
    return result;
}

constexpr Sys_FilePosixCalls kSystemCalls = {&SysOpen,      &SysClose,     &SysPread, &SysPwrite, &SysPreadv,
                                             &SysFtruncate, &SysFallocate, &SysFsync, &SysQueued};

Sys_FilePosixCalls sCurrent = kSystemCalls;

} // namespace

Sys_FilePosixCalls& Sys_FilePosixCalls::Current()
{
    return sCurrent;
}

Sys_FilePosixCalls const& Sys_FilePosixCalls::System()
{
    return kSystemCalls;
}
