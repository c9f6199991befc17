#include "tools/vfl/FileLock.h"

#include "tools/vfl/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vfl
{
FileLock::FileLock(std::string const& path, EKind kind)
{
    // Without blocking, and regular files alone: a named pipe is read once.
    mDescriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat s;
    if (mDescriptor < 0 || ::fstat(mDescriptor, &s) != 0 || !S_ISREG(s.st_mode))
    {
        if (mDescriptor >= 0)
            ::close(mDescriptor);
        mDescriptor = -1;
        return;
    }
    int const operation = (kind == eShared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    for (bool said = false; ::flock(mDescriptor, operation) != 0;)
    {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return; // no locks here
        if (Interrupted())
            return;
        if (!said)
            std::fprintf(stderr, "vfl: %s: waiting for another vfl that %s it\n", path.c_str(),
                         kind == eShared ? "changes" : "uses");
        said = true;
        ::usleep(20000);
    }
}

FileLock::~FileLock()
{
    if (mDescriptor >= 0)
        ::close(mDescriptor); // and the lock with it
}
} // namespace vfl
