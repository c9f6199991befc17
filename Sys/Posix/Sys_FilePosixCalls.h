#pragma once

#include "Cmn/Cmn_Types.h"

// The file system calls of Sys_FilePosix, behind a table of function
// pointers so that tests can make the disk fail (EIO, ENOSPC) or write
// short without privileges. Each entry behaves like the system call of the
// same name: -1 and errno on failure. The types are plain integers so that
// a test can put its own function here without the system's headers.
struct Sys_FilePosixCalls
{
    // One piece of memory of a scattered read.
    struct Segment
    {
        void* base;
        uint64 length;
    };

    int (*open)(char const* path, int flags, unsigned mode);
    int (*close)(int fd);
    int64 (*pread)(int fd, void* buffer, uint64 count, int64 offset);
    int64 (*pwrite)(int fd, void const* buffer, uint64 count, int64 offset);
    // Reads consecutive bytes of the file into several pieces of memory.
    int64 (*preadv)(int fd, Segment const* segments, int count, int64 offset);
    int (*ftruncate)(int fd, int64 length);
    // Takes room on the disk for `length` bytes at `offset` without changing
    // the file's length (fallocate with FALLOC_FL_KEEP_SIZE).
    int (*fallocate)(int fd, int64 offset, int64 length);
    int (*fsync)(int fd);
    // Every queued transfer's outcome passes here on its way to the queuing
    // thread, whichever engine moved it: the bytes transferred or -errno.
    // The system's entry hands it on as it is.
    int64 (*queued)(int fd, int64 offset, int64 result);

    // The table in use; tests change entries and put the old ones back.
    static Sys_FilePosixCalls& Current();
    // The table of the real system calls.
    static Sys_FilePosixCalls const& System();
};
