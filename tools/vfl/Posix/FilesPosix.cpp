#include "tools/vfl/Files.h"

#include "Sys/Sys_ThrowIfOSErr.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vfl
{
std::string ResolveForWriting(std::string const& path)
{
    if (char* const real = ::realpath(path.c_str(), nullptr))
    {
        std::string resolved = real;
        std::free(real);
        return resolved;
    }
    return path;
}

std::string MakeFileBeside(std::string const& destination)
{
    std::size_t const slash = destination.find_last_of('/');
    std::string const folder = slash == std::string::npos ? "" : destination.substr(0, slash + 1);
    std::string const name = slash == std::string::npos ? destination : destination.substr(slash + 1);
    std::size_t const dot = name.find_last_of('.');
    std::string stem = dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
    std::string const extension = dot == std::string::npos || dot == 0 ? "" : name.substr(dot);
    // A destination may take all the bytes its folder allows in a name; the
    // stem gives way for what this name adds (cut between characters).
    long const nameMax = ::pathconf(folder.empty() ? "." : folder.c_str(), _PC_NAME_MAX);
    std::size_t const limit = nameMax > 0 ? static_cast<std::size_t>(nameMax) : 255;
    std::size_t const added = 11 + extension.size(); // "." + stem + ".vfl" + 6 letters + extension
    if (stem.size() + added > limit)
    {
        stem.resize(limit > added ? limit - added : 0);
        while (!stem.empty() && (static_cast<unsigned char>(stem.back()) & 0xC0) == 0x80)
            stem.pop_back();
        if (!stem.empty() && (static_cast<unsigned char>(stem.back()) & 0xC0) == 0xC0)
            stem.pop_back();
    }

    struct stat old;
    bool const exists = ::stat(destination.c_str(), &old) == 0;
    if (exists && S_ISDIR(old.st_mode))
        Sys_ThrowIfOSErr(EISDIR); // refused now, not when the work is done
    bool const replacing = exists && S_ISREG(old.st_mode);
    static char const kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::random_device seed;
    std::mt19937 random(seed());
    for (int attempt = 0;; ++attempt)
    {
        std::string unique;
        for (int i = 0; i < 6; ++i)
            unique += kLetters[random() % (sizeof(kLetters) - 1)];
        std::string const path = folder + "." + stem + ".vfl" + unique + extension;
        int const fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0)
        {
            if (errno == EEXIST && attempt < 100)
                continue;
            Sys_ThrowIfOSErr(errno);
        }
        if (replacing)
            ::fchmod(fd, old.st_mode & 07777);
        ::close(fd);
        return path;
    }
}

void ReplaceFile(std::string const& from, std::string const& to)
{
    if (::rename(from.c_str(), to.c_str()) != 0)
        Sys_ThrowIfOSErr(errno);
    // The output is on the disk; its name is only once the folder is. Until
    // then a power cut may bring back the file it replaced. A folder that
    // cannot be opened or cannot wait (some file systems) is no error.
    std::size_t const slash = to.find_last_of('/');
    std::string const folder = slash == std::string::npos ? "." : slash == 0 ? "/" : to.substr(0, slash);
    int const fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    int const err = ::fsync(fd) == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
    ::close(fd);
    Sys_ThrowIfOSErr(err);
}

void CopyToStandardOutput(std::string const& path)
{
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        Sys_ThrowIfOSErr(errno);
    char buffer[1 << 16];
    for (;;)
    {
        ssize_t const got = ::read(fd, buffer, sizeof buffer);
        if (got == 0)
            break;
        if (got < 0)
        {
            if (errno == EINTR)
                continue;
            int const err = errno;
            ::close(fd);
            Sys_ThrowIfOSErr(err);
        }
        for (ssize_t done = 0; done < got;)
        {
            ssize_t const put = ::write(1, buffer + done, static_cast<size_t>(got - done));
            if (put < 0)
            {
                if (errno == EINTR)
                    continue;
                int const err = errno;
                ::close(fd);
                Sys_ThrowIfOSErr(err);
            }
            done += put;
        }
    }
    ::close(fd);
}

void RemoveFile(std::string const& path)
{
    ::unlink(path.c_str());
}
} // namespace vfl
