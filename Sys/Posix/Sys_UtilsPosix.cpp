#include "Sys/Posix/Sys_UtilsPosix.h"

#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <thread>

#include "Cmn/Cmn_AddExceptionContext.h"
#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_TStringXData.h"
#include "Cmn/Cmn_TypedExceptionContext.h"
#include "Sys/MacFileInfo.h"
#include "Sys/Posix/Sys_FileLocPosix.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Sys_RecentItems.h"
#include "Sys/Sys_ThrowIfOSErr.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

namespace
{

constexpr int64 kFileTimeOfUnixEpoch = 116444736000000000LL; // 100 ns units from 1601 to 1970
constexpr int64 kFileTimeUnitsPerSecond = 10000000LL;

// The ladder of thread priorities, and the nice value, relative to the
// process's, that stands for each.
constexpr int32 kPriorityLadder[] = {-15, -2, -1, 0, 1, 2, 15};
constexpr int kNiceOffsetOfPriority[] = {19, 10, 5, 0, -5, -10, -20};
constexpr int kNiceMin = -20;
constexpr int kNiceMax = 19;

// The nice value the process started with, read when the library loads,
// before any thread of ours has changed its own.
int ReadProcessNice()
{
    errno = 0;
    int const nice = ::getpriority(PRIO_PROCESS, 0);
    return errno != 0 ? 0 : nice;
}

int const sProcessNice = ReadProcessNice();
constexpr int kLadderSize = static_cast<int>(sizeof(kPriorityLadder) / sizeof(kPriorityLadder[0]));

// What this thread last asked for, and the nice value it had right after:
// while the nice value is unchanged, the request stands, even one that the
// system refused (so that a refused boost is undone by one step down, not
// two). A nice value changed since, by the thread's owner for example, is
// read back as the nearest priority on the ladder.
struct PriorityRequest
{
    bool made = false;
    int32 priority = 0;
    int nice = 0;
};
thread_local PriorityRequest tPriorityRequest;

int CurrentThreadNice()
{
    errno = 0;
    int const nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
    return errno != 0 ? sProcessNice : nice;
}

int LadderIndex(int32 priority)
{
    for (int i = 0; i < kLadderSize; ++i)
        if (kPriorityLadder[i] == priority)
            return i;
    return -1;
}

// A file that is there, on a volume the HFS drivers mounted.
bool OnMacVolume(std::string const& path)
{
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return false;
    try
    {
        // Not through a location: a location asks for its type when it
        // works out its volume.
        Sys_Volume::ImplPtr const volume = Sys_VolumePosix::Create(Sys_VolumePosix::GetRootOfPath(path).c_str());
        return volume && volume->GetFileSystemType() == Sys_Volume::kFileSystemHFS;
    }
    catch (...)
    {
        return false;
    }
}

bool IsFolderOnDisk(std::string const& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool IsOnDisk(std::string const& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

std::string WithTrailingSlash(std::string path)
{
    if (path.empty() || path.back() != '/')
        path += '/';
    return path;
}

// The extended attributes in the user namespace travel with a copy, as the
// named streams of other systems do: Macintosh information lives there.
void CopyUserXattrs(int from, int to)
{
    ssize_t const size = ::flistxattr(from, nullptr, 0);
    if (size <= 0)
        return;
    std::string names(static_cast<size_t>(size), '\0');
    ssize_t const got = ::flistxattr(from, names.data(), names.size());
    if (got <= 0)
        return;
    names.resize(static_cast<size_t>(got));
    for (size_t pos = 0; pos < names.size();)
    {
        std::string const name(names.c_str() + pos);
        pos += name.size() + 1;
        if (name.rfind("user.", 0) != 0)
            continue;
        ssize_t const valueSize = ::fgetxattr(from, name.c_str(), nullptr, 0);
        if (valueSize < 0)
            continue;
        std::string value(static_cast<size_t>(valueSize), '\0');
        ssize_t const valueGot = ::fgetxattr(from, name.c_str(), value.data(), value.size());
        if (valueGot < 0)
            continue;
        ::fsetxattr(to, name.c_str(), value.data(), static_cast<size_t>(valueGot), 0);
    }
}

bool CopyData(int from, int to, int64 size)
{
    int64 done = 0;
    bool useRange = true;
    std::vector<char> buffer;
    while (done < size)
    {
        if (useRange)
        {
            ssize_t const n = ::copy_file_range(from, nullptr, to, nullptr, static_cast<size_t>(size - done), 0);
            if (n > 0)
            {
                done += n;
                continue;
            }
            if (n == 0)
                break; // the source became shorter
            if (errno == EINTR)
                continue;
            if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
                return false;
            useRange = false; // a pair of file systems that cannot: copy by hand
            if (::lseek(from, done, SEEK_SET) < 0 || ::lseek(to, done, SEEK_SET) < 0)
                return false;
        }
        if (buffer.empty())
            buffer.resize(1 << 20);
        ssize_t const n = ::read(from, buffer.data(), buffer.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n == 0;
        for (ssize_t put = 0; put < n;)
        {
            ssize_t const w = ::write(to, buffer.data() + put, static_cast<size_t>(n - put));
            if (w < 0 && errno == EINTR)
                continue;
            if (w <= 0)
                return false;
            put += w;
        }
        done += n;
    }
    return true;
}

// The folder that holds a path's name.
std::string FolderOf(std::string const& path)
{
    std::size_t const slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// A new name, a rename or a removal is on the disk only once its folder
// is: until then a power cut may bring back the old name, or none. Returns
// the error of the wait; a folder that cannot be opened or cannot wait
// (some file systems) has nothing to report.
int SyncFolderOf(std::string const& path)
{
    Sys_FilePosixCalls const& calls = Sys_FilePosixCalls::Current();
    int const fd = calls.open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (fd < 0)
        return 0;
    int const err = calls.fsync(fd) == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
    calls.close(fd);
    return err;
}

// A hidden file beside `path` under a name no other file has, for a copy
// that takes `path`'s place only once it is whole. Empty if none can be made.
std::string MakeStagingFileBeside(std::string const& path, int* fd)
{
    std::size_t const name = path.find_last_of('/') + 1; // 0 without a folder
    // The name gives way for what is added, so a name at the limit has one.
    std::string staged = path.substr(0, name) + "." + path.substr(name, 200) + ".XXXXXX";
    *fd = ::mkostemp(staged.data(), O_CLOEXEC);
    return *fd < 0 ? std::string() : staged;
}

// Copies a regular file with its permissions and user attributes. With
// exclusive set an existing destination is left alone and the copy fails.
// Without it an existing file is replaced only by a whole copy: a copy that
// fails (a full disk, an error of the disk) leaves it as it was, and no
// copy leaves a part of itself behind.
bool CopyRegularFile(std::string const& from, std::string const& to, bool exclusive)
{
    int const in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return false;
    struct stat st;
    if (::fstat(in, &st) != 0 || !S_ISREG(st.st_mode))
    {
        ::close(in);
        return false;
    }
    // A file copied onto itself would be truncated before it is read.
    struct stat dst;
    bool const exists = ::stat(to.c_str(), &dst) == 0;
    if (exists && dst.st_dev == st.st_dev && dst.st_ino == st.st_ino)
    {
        ::close(in);
        return false;
    }
    // A symbolic or hard link is written through: replacing it would cut it.
    struct stat link;
    bool const replacing =
        !exclusive && exists && ::lstat(to.c_str(), &link) == 0 && S_ISREG(link.st_mode) && link.st_nlink == 1;
    int out = -1;
    std::string const target = replacing ? MakeStagingFileBeside(to, &out) : to;
    if (!replacing)
        out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | (exclusive ? O_EXCL : O_TRUNC), st.st_mode & 07777);
    if (out < 0)
    {
        ::close(in);
        return false;
    }
    bool ok = CopyData(in, out, static_cast<int64>(st.st_size));
    if (ok)
    {
        ::fchmod(out, st.st_mode & 07777);
        CopyUserXattrs(in, out);
        // A move removes the source next, and a replacement the old file:
        // the copy, and its name, must be on the disk first, and an error
        // the disk reports only as it writes them back must keep them.
        ok = (!exclusive && !replacing) || Sys_FilePosixCalls::Current().fsync(out) == 0;
    }
    ok = (::close(out) == 0) && ok;
    ::close(in);
    // Once renamed the copy is in place whatever the wait for its name
    // says; a move must know, since its source goes next.
    if (ok && replacing)
    {
        ok = ::rename(target.c_str(), to.c_str()) == 0;
        if (ok)
            SyncFolderOf(to);
    }
    ok = ok && (!exclusive || SyncFolderOf(to) == 0);
    if (!ok && (exclusive || replacing || !exists))
        ::unlink(target.c_str());
    return ok;
}

} // namespace

void Sys_UtilsPosix::SetPlatformDependentMethods()
{
    Sys_Utils::SetThreadSafeIncrementMethod(&ThreadSafeIncrement);
    Sys_Utils::SetThreadSafeDecrementMethod(&ThreadSafeDecrement);
    Sys_Utils::SetSleepMethod(&DoSleep);
    Sys_Utils::SetGetFileTypeMethod(static_cast<Sys_FileType (*)(Sys_FileLoc const&)>(&GetFileType));
    Sys_Utils::SetGetVolumeRootFolderLocMethod(&GetVolumeRootFolderLoc);
    Sys_Utils::SetGetUTCMethod(&GetUTC);
    Sys_Utils::SetUTC2StringMethod(&UTC2String);
    Sys_Utils::SetGetTempFolderLocMethod(&GetTempFolderLoc);
    Sys_Utils::SetGetTempFileLocMethod(&GetTempFileLoc);
    Sys_Utils::SetGetDesktopFolderLocMethod(&GetDesktopFolderLoc);
    Sys_Utils::SetCopyFileMethod(&CopyFileA);
    Sys_Utils::SetMoveFileMethod(&MoveFileA);
    Sys_Utils::SetDeleteFileMethod(&DeleteFileA);
    Sys_Utils::SetDeleteFolderMethod(&DeleteFolder);
    Sys_Utils::SetCreateFolderMethod(&CreateFolder);
    Sys_Utils::SetHandleFatalExceptionsMethod(&HandleFatalExceptions);
    Sys_Utils::SetExitMethod(&Exit);
    Sys_Utils::SetGetNewExceptionLogFileLocMethod(&GetNewExceptionLogFileLoc);
    Sys_Utils::SetWriteExceptionLogFileMethod(&WriteExceptionLogFile);
    Sys_Utils::SetPostFatalExceptionDialogMethod(&PostFatalExceptionDialog);
    Sys_Utils::SetDisplayExceptionLogFileMethod(&DisplayExceptionLogFile);
    Sys_Utils::SetInstallSEHandlerMethod(&InstallSEHandler);
    Sys_Utils::SetNameThisThreadMethod(&NameThisThread);
    Sys_Utils::SetBoostThreadPriorityMethod(&BoostThreadPriority);
    Sys_Utils::SetLowerThreadPriorityMethod(&LowerThreadPriority);
    Sys_Utils::SetMicrosecondsMethod(&Microseconds);
    Sys_Utils::SetGetResourceForkLocMethod(&GetResourceForkLoc);
    Sys_Utils::SetIsSameFileMethod(&IsSameFile);
    Sys_Utils::SetGetMaxFileNameLengthMethod(&GetMaxFileNameLength);
    Sys_Utils::SetGetAppDataFolderLocMethod(&GetAppDataFolderLoc);
    Sys_Utils::SetReplaceFileMethod(&ReplaceFile);
    Sys_RecentItems::SetProbeMethod(&ProbeRecentItem);
}

int32 Sys_UtilsPosix::ThreadSafeIncrement(volatile int32& value)
{
    return __atomic_add_fetch(&value, 1, __ATOMIC_SEQ_CST);
}

int32 Sys_UtilsPosix::ThreadSafeDecrement(volatile int32& value)
{
    return __atomic_sub_fetch(&value, 1, __ATOMIC_SEQ_CST);
}

void Sys_UtilsPosix::DoSleep(int32 ms)
{
    if (ms > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    else
        std::this_thread::yield();
}

// ---------------------------------------------------------------- types

Sys_FileType Sys_UtilsPosix::GetFileType(Sys_FileLoc const& loc)
{
    return GetFileType(loc.GetFullPath());
}

Sys_FileType Sys_UtilsPosix::GetFileType(std::string const& path)
{
    Sys_FileType t1;
    bool const unmounted = path.rfind("*:", 0) == 0; // relative to nothing: never looked up
    if ((!path.empty() && path.back() == '/') || (!unmounted && IsFolderOnDisk(path)))
        t1 = Sys_FileType(Sys_FileType::kTypeFolder);

    // The Macintosh type of a file on a Macintosh volume, where the
    // registry knows it: such a file keeps it whatever its name says.
    if (t1.GetFileType() == Sys_FileType::kTypeUnknown && !unmounted && OnMacVolume(path))
    {
        if (u32 const code = MacFileInfo::ReadFileType(path))
        {
            Sys_FileType const byCode(static_cast<int32>(code));
            if (Sys_Utils::IsKnownType(byCode))
                t1 = byCode;
        }
    }

    Sys_FileType t2;
    size_t const dot = path.rfind('.');
    if (dot != std::string::npos)
    {
        Sys_FileType const byExtension(path.substr(dot + 1));
        if (Sys_Utils::IsKnownType(byExtension))
            t2 = byExtension;
    }
    if (t1.GetFileType() == Sys_FileType::kTypeUnknown || Sys_Utils::AreTypesEquivalent(t1, t2))
        t1 = t2;
    return t1;
}

Sys_FileLoc Sys_UtilsPosix::GetVolumeRootFolderLoc(Sys_Volume const& volume)
{
    Sys_VolumePosix const* const posix = dynamic_cast<Sys_VolumePosix const*>(volume.GetImpl());
    return Sys_FileLoc(posix ? posix->GetVolumeRootString() : std::string("*:"));
}

// ---------------------------------------------------------------- clocks

int64 Sys_UtilsPosix::FileTimeFromTimespec(int64 seconds, int64 nanoseconds)
{
    return seconds * kFileTimeUnitsPerSecond + nanoseconds / 100 + kFileTimeOfUnixEpoch;
}

int64 Sys_UtilsPosix::GetUTC()
{
    struct timespec ts;
    ::clock_gettime(CLOCK_REALTIME, &ts);
    return FileTimeFromTimespec(ts.tv_sec, ts.tv_nsec);
}

std::string Sys_UtilsPosix::UTC2String(int64 utc)
{
    // File times are unsigned on the systems that made them; the upper half
    // of that range has no date.
    if (utc < 0)
        return "N/A";
    time_t const seconds = static_cast<time_t>((utc - kFileTimeOfUnixEpoch) / kFileTimeUnitsPerSecond -
                                               ((utc - kFileTimeOfUnixEpoch) % kFileTimeUnitsPerSecond < 0 ? 1 : 0));
    struct tm local;
    if (::localtime_r(&seconds, &local) == nullptr)
        return "N/A";
    char text[64];
    int const n = std::snprintf(text, sizeof(text), "%02d/%02d/%04d %02d:%02d:%02d", local.tm_mon + 1, local.tm_mday,
                                local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec);
    if (n <= 0 || n >= static_cast<int>(sizeof(text)))
        return "N/A";
    return text;
}

int64 Sys_UtilsPosix::Microseconds()
{
    struct timespec ts;
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<int64>(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

// ---------------------------------------------------------------- locations

Sys_FileLoc Sys_UtilsPosix::GetTempFolderLoc()
{
    char const* tmp = std::getenv("TMPDIR");
    std::string folder = (tmp && tmp[0] == '/' && IsFolderOnDisk(tmp)) ? tmp : "/tmp";
    return Sys_FileLoc(WithTrailingSlash(folder));
}

Sys_FileLoc Sys_UtilsPosix::GetTempFileLoc()
{
    std::string path = GetTempFolderLoc().GetFullPath() + "tmpXXXXXX";
    int const fd = ::mkstemp(path.data());
    CMN_ASSERT(fd >= 0);
    if (fd >= 0)
        ::close(fd);
    return Sys_FileLoc(path);
}

Sys_FileLoc Sys_UtilsPosix::GetDesktopFolderLoc()
{
    if (char const* desktop = std::getenv("XDG_DESKTOP_DIR"); desktop && desktop[0] == '/')
        return Sys_FileLoc(WithTrailingSlash(desktop));
    std::string const home = Sys_UtilsPosix::HomeFolder();
    CMN_ASSERT(!home.empty());
    return Sys_FileLoc(WithTrailingSlash(home) + "Desktop/");
}

void Sys_UtilsPosix::GetAppModuleLoc(Sys_FileLoc* loc)
{
    char buffer[4096];
    ssize_t const n = ::readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
    CMN_ASSERT(n > 0);
    if (n > 0)
        *loc = Sys_FileLoc(std::string(buffer, static_cast<size_t>(n)));
}

// ---------------------------------------------------------------- file operations

Sys_FileLoc Sys_UtilsPosix::GetResourceForkLoc(Sys_FileLoc const& loc)
{
    if (loc.IsVolumeRoot())
        return Sys_FileLoc();
    std::string path = loc.GetFullPath();
    if (path.back() == '/')
        path.pop_back();
    size_t const slash = path.rfind('/');
    return Sys_FileLoc(path.substr(0, slash + 1) + "Resource.FRK/" + path.substr(slash + 1));
}

int32 Sys_UtilsPosix::GetMaxFileNameLength(Sys_FileLoc const& folder)
{
    std::string const path = folder.GetFullPath();
    errno = 0;
    long const limit = ::pathconf(path.c_str(), _PC_NAME_MAX);
    if (limit < 0)
    {
        int const err = errno;
        // -1 with errno untouched: the system sets no limit.
        if (err == 0)
            return std::numeric_limits<int32>::max();
        try
        {
            Sys_ThrowIfOSErr(err);
        }
        catch (Cmn_Exception& e)
        {
            Cmn_AddExceptionContext(
                &e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(
                        XC_Cmn_ExceptionContext, Cmn_TStringXData("from [Posix] ::pathconf(\"" + path + "\")")));
            throw;
        }
    }
    return static_cast<int32>(std::min<long>(limit, std::numeric_limits<int32>::max()));
}

void Sys_UtilsPosix::CopyFileA(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    CopyRegularFile(from.GetFullPath(), to.GetFullPath(), false);
}

Sys_FileLoc Sys_UtilsPosix::GetAppDataFolderLoc()
{
    // A relative $XDG_DATA_HOME is to be ignored, as the base directory
    // rules say.
    std::string root;
    if (char const* data = std::getenv("XDG_DATA_HOME"); data && data[0] == '/')
        root = data;
    else if (std::string const home = HomeFolder(); !home.empty())
        root = home + "/.local/share";
    else
        return Sys_FileLoc();
    if (root.back() != '/')
        root += '/';
    Sys_FileLoc folder(root + "Zenthar/");
    CreateFolder(folder);
    return folder;
}

bool Sys_UtilsPosix::ProbeRecentItem(std::string const& path, Sys_FileType* type, bool* online)
{
    std::string canonical = path;
    if (!Sys_FileLocPosix::CanonicalizePath(&canonical))
        return false;
    *type = GetFileType(canonical);
    struct stat st;
    *online = ::stat(canonical.c_str(), &st) == 0;
    return true;
}

void Sys_UtilsPosix::ReplaceFile(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    if (::rename(from.GetFullPath().c_str(), to.GetFullPath().c_str()) != 0)
        Sys_ThrowIfOSErr(errno);
    // Until the folder is on the disk too, a power cut may bring back the
    // file this one replaced.
    Sys_ThrowIfOSErr(SyncFolderOf(to.GetFullPath()));
}

void Sys_UtilsPosix::MoveFileA(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    // Extended attributes, where Macintosh information lives, belong to the
    // file itself and move with it; nothing needs carrying across by hand.
    std::string const source = from.GetFullPath();
    std::string const destination = to.GetFullPath();
    int err = ::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE) == 0 ? 0 : errno;
    // A file system without the no-replace flag.
    if (err == EINVAL && !IsOnDisk(destination))
        err = ::rename(source.c_str(), destination.c_str()) == 0 ? 0 : errno;
    if (err == 0)
    {
        // The file is never lost, but until both folders are on the disk a
        // power cut may bring back its old name.
        SyncFolderOf(destination);
        if (FolderOf(source) != FolderOf(destination))
            SyncFolderOf(source);
        return;
    }
    if (err == EXDEV)
    {
        // Another volume: copy and then remove, as a move across drives does.
        if (CopyRegularFile(source, destination, true))
            ::unlink(source.c_str());
    }
}

void Sys_UtilsPosix::DeleteFileA(Sys_FileLoc const& loc)
{
    ::unlink(loc.GetFullPath().c_str());
}

void Sys_UtilsPosix::DeleteFolder(Sys_FileLoc const& loc)
{
    // A folder in use as the current folder is left for its parent first,
    // as on systems that cannot remove it otherwise.
    char buffer[1024];
    if (::getcwd(buffer, sizeof(buffer)) != nullptr && !loc.IsVolumeRoot())
    {
        if (Sys_FileLoc(std::string(buffer)) == loc)
            if (::chdir(loc.GetParentFolder().GetFullPath().c_str()) != 0)
            {
                // Stay where we are: the removal below will then fail quietly.
            }
    }
    ::rmdir(loc.GetFullPath().c_str());
}

void Sys_UtilsPosix::CreateFolder(Sys_FileLoc const& loc)
{
    if (loc.IsVolumeRoot())
        return;
    std::string const path = loc.GetFullPath();
    if (IsOnDisk(path))
        return;
    CreateFolder(loc.GetParentFolder());
    ::mkdir(path.c_str(), 0777);
    // The location was made canonical before the folder existed; let its
    // next use see a folder and add the trailing '/'.
    if (Sys_FileLocPosix* const posix = dynamic_cast<Sys_FileLocPosix*>(loc.GetImpl()))
        posix->SetFullPath(posix->GetFullPath());
}

// ---------------------------------------------------------------- identity of files

namespace
{
// The path that opening `path` for writing would reach: the links of the
// part that exists followed, and a link to a file not made yet as well.
std::string ResolveForWriting(std::string path)
{
    for (int hops = 0; hops < 40; ++hops)
    {
        if (char* const real = ::realpath(path.c_str(), nullptr))
        {
            std::string resolved = real;
            std::free(real);
            return resolved;
        }
        std::size_t const slash = path.find_last_of('/');
        std::string const parent = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
        std::string const name = slash == std::string::npos ? path : path.substr(slash + 1);
        char* const realParent = ::realpath(parent.c_str(), nullptr);
        if (!realParent)
            return path;
        std::string folder = realParent;
        std::free(realParent);
        if (folder.back() != '/')
            folder += '/';
        std::string const candidate = folder + name;
        char target[4096];
        ssize_t const length = ::readlink(candidate.c_str(), target, sizeof(target) - 1);
        if (length <= 0)
            return candidate;
        target[length] = '\0';
        path = target[0] == '/' ? std::string(target) : folder + target;
    }
    return path;
}
} // namespace

bool Sys_UtilsPosix::IsSameFile(Sys_FileLoc const& a, Sys_FileLoc const& b)
{
    std::string const pathA = a.GetFullPath();
    std::string const pathB = b.GetFullPath();
    struct stat statA, statB;
    bool const hasA = ::stat(pathA.c_str(), &statA) == 0;
    bool const hasB = ::stat(pathB.c_str(), &statB) == 0;
    if (hasA && hasB)
        return statA.st_dev == statB.st_dev && statA.st_ino == statB.st_ino;
    if (hasA != hasB)
        return false;
    return ResolveForWriting(pathA) == ResolveForWriting(pathB);
}

// ---------------------------------------------------------------- thread priority

int32 Sys_UtilsPosix::GetThreadPriority()
{
    int const nice = CurrentThreadNice();
    if (tPriorityRequest.made && tPriorityRequest.nice == nice)
        return tPriorityRequest.priority;
    int const offset = nice - sProcessNice;
    int best = 0;
    for (int i = 1; i < kLadderSize; ++i)
        if (std::abs(kNiceOffsetOfPriority[i] - offset) < std::abs(kNiceOffsetOfPriority[best] - offset))
            best = i;
    return kPriorityLadder[best];
}

void Sys_UtilsPosix::SetThreadPriority(int32 priority)
{
    int const index = LadderIndex(priority);
    int const offset = index >= 0 ? kNiceOffsetOfPriority[index] : 0;
    int const nice = std::clamp(sProcessNice + offset, kNiceMin, kNiceMax);
    // Raising a thread above normal needs privileges; without them the
    // thread keeps running as it was.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), nice);
    tPriorityRequest = {true, priority, CurrentThreadNice()};
}

void Sys_UtilsPosix::NameThisThread(std::string const& name)
{
    // The system takes 15 characters and a terminator, and refuses more.
    (void)pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
}

void Sys_UtilsPosix::BoostThreadPriority()
{
    int32 const current = GetThreadPriority();
    int const index = LadderIndex(current);
    SetThreadPriority(index >= 0 && index + 1 < kLadderSize ? kPriorityLadder[index + 1] : current);
}

void Sys_UtilsPosix::LowerThreadPriority()
{
    int32 const current = GetThreadPriority();
    int const index = LadderIndex(current);
    SetThreadPriority(index > 0 ? kPriorityLadder[index - 1] : current);
}

// ---------------------------------------------------------------- file chooser filters

void Sys_UtilsPosix::MakeFilterPairsString(std::vector<Sys_FileType>* types, char* buffer, int32 bufferSize,
                                           bool addAllFiles)
{
    if (!types)
        return;
    // The count decides what goes in, as it always has; the write position
    // is kept apart from it so that no entry is written past the buffer.
    // After an overflow the count starts again from 0 and the buffer counts
    // as empty, so writing starts again at its head.
    int64 count = 0;
    int64 written = 0;
    std::string patterns;
    auto put = [&](std::string const& text)
    {
        std::memcpy(buffer + written, text.c_str(), text.size() + 1);
        written += static_cast<int64>(text.size() + 1);
    };
    for (Sys_FileType const& type : *types)
    {
        std::string const extension = Sys_Utils::GetAssociatedExtension(type);
        std::string const pattern = extension.empty() ? "*.*" : "*." + extension;
        std::string const label = Sys_Utils::GetDescriptiveString(type) + " (" + pattern + ")";
        if (!patterns.empty())
            patterns += ';';
        patterns += pattern;
        count += static_cast<int64>(label.size() + pattern.size() + 2);
        if (count >= bufferSize)
        {
            count = 0;
            written = 0;
            break;
        }
        put(label);
        put(pattern);
    }
    if (addAllFiles)
    {
        // The running list of patterns is counted though it is not written:
        // a stricter test than needed, kept as it is.
        std::string const label = "All Files (*.*)";
        std::string const pattern = "*.*";
        count += static_cast<int64>(label.size() + patterns.size() + 2);
        if (count < bufferSize && written + static_cast<int64>(label.size() + pattern.size() + 2) <= bufferSize)
        {
            put(label);
            put(pattern);
        }
    }
    // The closing NUL goes wherever it fits: a list left without it would
    // send its reader past the end of the buffer. An empty list is two NULs.
    if (written == 0 || count == 0)
    {
        if (bufferSize >= 2)
        {
            buffer[0] = '\0';
            buffer[1] = '\0';
        }
    }
    else if (written < bufferSize)
        buffer[written] = '\0';
    else
    {
        buffer[0] = '\0';
        buffer[1] = '\0';
    }
}

std::string Sys_UtilsPosix::HomeFolder()
{
    if (char const* home = std::getenv("HOME"); home && home[0] == '/')
        return home;
    struct passwd pw;
    struct passwd* found = nullptr;
    char buffer[4096];
    if (::getpwuid_r(::getuid(), &pw, buffer, sizeof(buffer), &found) == 0 && found && found->pw_dir)
        return found->pw_dir;
    return std::string();
}
