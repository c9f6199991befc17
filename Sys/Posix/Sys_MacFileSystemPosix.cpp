#include "Sys/Posix/Sys_MacFileSystemPosix.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "Sys/MacFileInfo.h"
#include "Sys/Sys_AppleDouble.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacRoman.h"
#include "Sys/Sys_ResourceManager.h"

namespace
{

constexpr size_t kMaxAttribute = 65536;
constexpr size_t kFinderInfoSize = 32;

std::string Trimmed(std::string path)
{
    if (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

int32 GetAttribute(std::string const& path, char const* name, std::vector<u8>* value)
{
    value->resize(kMaxAttribute);
    ssize_t const n = ::getxattr(path.c_str(), name, value->data(), value->size());
    if (n < 0)
    {
        value->clear();
        return errno == ERANGE ? EFBIG : errno;
    }
    value->resize(size_t(n));
    return 0;
}

// A stream record around 32 bytes of Finder info.
std::vector<u8> AfpInfoAround(u8 const* finderInfo)
{
    std::vector<u8> record(MacFileInfo::kAfpInfoSize, 0);
    u32 const signature = MacFileInfo::kAfpInfoSignature;
    for (int i = 0; i < 4; ++i)
        record[size_t(i)] = u8(signature >> (8 * i));
    record[5] = 1; // version 1.0
    if (finderInfo)
        std::copy(finderInfo, finderInfo + kFinderInfoSize, record.begin() + 16);
    return record;
}

// The Finder info entry of an AppleDouble image, whole or its head.
bool FinderInfoOf(std::vector<u8> const& image, u64 imageSize, u8 const** finderInfo)
{
    Sys_AppleDouble header;
    if (!header.Parse(image.data(), image.size(), imageSize))
        return false;
    Sys_AppleDouble::Entry const* e = header.Find(Sys_AppleDouble::kEntryFinderInfo);
    if (!e || e->length < kFinderInfoSize || u64(e->offset) + kFinderInfoSize > image.size())
        return false;
    *finderInfo = image.data() + e->offset;
    return true;
}

} // namespace

void Sys_MacFileSystemPosix::SetPlatformDependentMethods()
{
    static Sys_MacFileSystemPosix instance;
    Sys_MacFileSystem::Set(&instance);
}

std::string Sys_MacFileSystemPosix::AttributeName(std::string const& stream)
{
    return "user.DosStream." + stream + ":$DATA";
}

int32 Sys_MacFileSystemPosix::DriveOfPath(std::string const&)
{
    return -1;
}
int32 Sys_MacFileSystemPosix::OpenGateway(int32, int64*)
{
    return ENODEV;
}
int32 Sys_MacFileSystemPosix::WriteGateway(int64, u8 const*, size_t)
{
    return EBADF;
}
int32 Sys_MacFileSystemPosix::ReadGateway(int64, u8*, size_t, size_t*)
{
    return EBADF;
}
void Sys_MacFileSystemPosix::CloseGateway(int64) {}

int32 Sys_MacFileSystemPosix::GetAttributes(std::string const& path, bool* isFolder, u64* dataSize)
{
    struct stat st;
    if (::stat(path.c_str(), &st) != 0)
        return errno;
    *isFolder = S_ISDIR(st.st_mode);
    *dataSize = S_ISDIR(st.st_mode) ? 0 : u64(st.st_size);
    return 0;
}

u64 Sys_MacFileSystemPosix::GetResourceForkSize(std::string const& path)
{
    Sys_ResourceManager::ForkPlace place;
    return Sys_ResourceManager::FindFork(Sys_FileLoc(path), &place) ? u64(place.length) : 0;
}

int32 Sys_MacFileSystemPosix::ReadForeignFinderInfo(std::string const& path, std::vector<u8>* afpInfo)
{
    std::vector<u8> value;
    u8 const* finderInfo = nullptr;
    if (GetAttribute(path, "user.org.netatalk.Metadata", &value) == 0 && FinderInfoOf(value, value.size(), &finderInfo))
    {
        *afpInfo = AfpInfoAround(finderInfo);
        return 0;
    }

    std::string const trimmed = Trimmed(path);
    size_t const slash = trimmed.rfind('/');
    std::string const sidecar = trimmed.substr(0, slash + 1) + "._" + trimmed.substr(slash + 1);
    int const fd = ::open(sidecar.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd >= 0)
    {
        struct stat st;
        std::vector<u8> head(4096);
        ssize_t const n = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) ? ::pread(fd, head.data(), head.size(), 0) : -1;
        ::close(fd);
        if (n > 0)
        {
            head.resize(size_t(n));
            // The Finder info entry comes early: right behind the entry table.
            if (FinderInfoOf(head, u64(st.st_size), &finderInfo))
            {
                *afpInfo = AfpInfoAround(finderInfo);
                return 0;
            }
        }
    }

    for (char const* name : {"com.apple.FinderInfo", "osx.com.apple.FinderInfo"})
        if (GetAttribute(path, name, &value) == 0 && value.size() == kFinderInfoSize)
        {
            *afpInfo = AfpInfoAround(value.data());
            return 0;
        }
    return ENOENT;
}

int32 Sys_MacFileSystemPosix::ReadStream(std::string const& path, std::string const& stream, std::vector<u8>* bytes,
                                         bool* writable)
{
    if (writable)
        *writable = ::access(path.c_str(), W_OK) == 0;
    int32 const err = GetAttribute(path, AttributeName(stream).c_str(), bytes);
    if (err == 0 || stream != MacFileInfo::kAfpInfoStream)
        return err;
    return ReadForeignFinderInfo(path, bytes);
}

int32 Sys_MacFileSystemPosix::WriteStream(std::string const& path, std::string const& stream, size_t offset,
                                          std::vector<u8> const& bytes)
{
    std::vector<u8> value;
    std::string const name = AttributeName(stream);
    if (int32 const err = GetAttribute(path, name.c_str(), &value); err != 0 && err != ENODATA)
        return err;
    if (value.empty() && stream == MacFileInfo::kAfpInfoStream && ReadForeignFinderInfo(path, &value) != 0)
        value = AfpInfoAround(nullptr);
    if (offset + bytes.size() > kMaxAttribute)
        return EFBIG;
    if (value.size() < offset + bytes.size())
        value.resize(offset + bytes.size(), 0);
    std::copy(bytes.begin(), bytes.end(), value.begin() + std::ptrdiff_t(offset));
    if (::setxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0) != 0)
        return errno;
    return 0;
}

int32 Sys_MacFileSystemPosix::GetLongName(std::string const& path, std::u16string* name)
{
    std::string const trimmed = Trimmed(path);
    struct stat st;
    if (::lstat(trimmed.c_str(), &st) != 0)
        return errno;
    *name = Sys_MacRoman::FromUtf8(trimmed.substr(trimmed.rfind('/') + 1));
    return 0;
}

int32 Sys_MacFileSystemPosix::FlushInfo(std::string const&)
{
    return 0;
}
