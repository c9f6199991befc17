#include "Sys/Posix/Sys_VolumePosix.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <sstream>
#include <string_view>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Posix/Sys_VolumePosixProbe.h"
#include "Sys/Sys_ThrowIfOSErr.h"

namespace
{

using ImplPtr = Sys_Volume::ImplPtr;

std::string ToLower(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

bool IsOneOf(std::string const& name, std::initializer_list<std::string_view> names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Kernel interfaces mounted like file systems; they hold no files of a user.
bool IsPseudoFileSystem(std::string const& fsType)
{
    return IsOneOf(
        fsType, {"proc",    "sysfs",       "devtmpfs", "devpts",   "cgroup",         "cgroup2",         "securityfs",
                 "debugfs", "tracefs",     "pstore",   "bpf",      "mqueue",         "hugetlbfs",       "configfs",
                 "fusectl", "binfmt_misc", "autofs",   "efivarfs", "selinuxfs",      "rpc_pipefs",      "nsfs",
                 "nfsd",    "sockfs",      "pipefs",   "rootfs",   "ramfs_internal", "fuse.gvfsd-fuse", "fuse.portal"});
}

bool IsNetworkFileSystem(std::string const& fsType)
{
    return IsOneOf(fsType, {"nfs", "nfs4", "cifs", "smb3", "smbfs", "ncpfs", "ceph", "glusterfs", "fuse.glusterfs",
                            "afs", "fuse.sshfs", "sshfs", "9p", "virtiofs", "davfs", "fuse.davfs2"});
}

// The file systems of Linux itself, and those it serves as its own; a
// name in none of the lists is a format this library does not know.
bool IsNativeFileSystem(std::string const& fsType)
{
    return IsOneOf(fsType, {"ext2", "ext3", "ext4", "xfs", "btrfs", "f2fs", "jfs", "reiserfs", "nilfs2", "bcachefs",
                            "zfs", "tmpfs", "ramfs", "overlay", "squashfs", "erofs", "exfat", "fuse", "fuseblk"}) ||
           fsType.rfind("fuse.", 0) == 0 || IsNetworkFileSystem(fsType);
}

bool IsOpticalFileSystem(std::string const& fsType)
{
    return IsOneOf(fsType, {"iso9660", "udf"});
}

Sys_Volume::EVolumeType VolumeTypeOf(Sys_VolumePosix::Mount const& mount,
                                     Sys_VolumePosixProbe::DeviceInfo const& device)
{
    if (IsPseudoFileSystem(mount.fsType))
        return Sys_Volume::kVolumeTypeNone;
    if (mount.fsType == "tmpfs" || mount.fsType == "ramfs")
        return Sys_Volume::kVolumeTypeRAMDisk;
    if (IsNetworkFileSystem(mount.fsType))
        return Sys_Volume::kVolumeTypeNetwork;
    if (IsOpticalFileSystem(mount.fsType) || mount.source.rfind("/dev/sr", 0) == 0)
        return Sys_Volume::kVolumeTypeCDROM;
    if (mount.source.rfind("/dev/fd", 0) == 0)
        return Sys_Volume::kVolumeTypeFloppy;
    if (device.isBlockDevice && device.removable)
        return Sys_Volume::kVolumeTypeRemovable;
    return Sys_Volume::kVolumeTypeFixed;
}

constexpr uint32 kHFSMagic = 0x4244;
constexpr uint32 kHFSPlusMagic = 0x482B;

Sys_Volume::EFileSystemType FileSystemTypeOf(std::string const& fsType, Sys_VolumePosixProbe::DeviceInfo const& device)
{
    std::string const name = ToLower(fsType);
    if (name.empty())
        return Sys_Volume::kFileSystemNone;
    if (name == "vfat" || name == "msdos" || name == "fat")
        return ToLower(device.version) == "fat32" ? Sys_Volume::kFileSystemFAT32 : Sys_Volume::kFileSystemFAT;
    if (name == "fat32")
        return Sys_Volume::kFileSystemFAT32;
    if (name == "ntfs" || name == "ntfs3" || (name == "fuseblk" && ToLower(device.type) == "ntfs"))
        return Sys_Volume::kFileSystemNTFS;
    if (name == "cdfs" || IsOpticalFileSystem(name))
        return Sys_Volume::kFileSystemCDFS;
    if (name == "kelpfs")
        return Sys_Volume::kFileSystemKelpfs;
    if (IsNativeFileSystem(name))
        return Sys_Volume::kFileSystemNative;
    return Sys_Volume::kFileSystemUnknown;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The first 32 bits of a UUID as libblkid prints it ("1b2c...-..." or, for
// FAT, "ABCD-1234"); 0 when there are not 8 hex digits.
uint32 SerialOfUuid(std::string const& uuid)
{
    uint32 serial = 0;
    int digits = 0;
    for (char c : uuid)
    {
        if (c == '-')
            continue;
        int const d = HexDigit(c);
        if (d < 0)
            return 0;
        serial = (serial << 4) | static_cast<uint32>(d);
        if (++digits == 8)
            return serial;
    }
    return 0;
}

bool IsAllZeroUuid(std::string const& uuid)
{
    return std::all_of(uuid.begin(), uuid.end(), [](char c) { return c == '0' || c == '-'; });
}

// 0 means "not mounted" to callers, so a file system without a UUID of its
// own takes its fsid, and one without that the number of its device.
uint32 SerialNumberOf(Sys_VolumePosixProbe::DeviceInfo const& device, Sys_VolumePosixProbe::FsInfo const& fs,
                      uint32 major, uint32 minor)
{
    if (!device.uuid.empty() && !IsAllZeroUuid(device.uuid))
    {
        uint32 const serial = SerialOfUuid(device.uuid);
        if (serial != 0)
            return serial;
    }
    if (fs.foldedFsid != 0)
        return fs.foldedFsid;
    return (major << 20) | minor;
}

// mountinfo writes space, tab, newline and backslash as \ooo.
std::string DecodeMountField(std::string const& field)
{
    std::string out;
    out.reserve(field.size());
    for (size_t i = 0; i < field.size(); ++i)
    {
        if (field[i] == '\\' && i + 3 < field.size() && field[i + 1] >= '0' && field[i + 1] <= '3' &&
            field[i + 2] >= '0' && field[i + 2] <= '7' && field[i + 3] >= '0' && field[i + 3] <= '7')
        {
            out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
            i += 3;
        }
        else
            out += field[i];
    }
    return out;
}

struct Maps
{
    std::mutex mutex;
    std::map<std::string, ImplPtr> byRoot;
    std::map<std::string, ImplPtr> byName;
    std::map<uint32, ImplPtr> bySerialNumber;
};

// Volumes live to the end of the process; the maps are never torn down, so
// that nothing that outlives them at exit can reach a dead volume.
Maps& GetMaps()
{
    static Maps* maps = new Maps;
    return *maps;
}

struct MountTableCache
{
    std::mutex mutex;
    bool valid = false;
    uint32 readTicks = 0;
    std::vector<Sys_VolumePosix::Mount> table;
};

MountTableCache& GetMountTableCache()
{
    static MountTableCache* cache = new MountTableCache;
    return *cache;
}

constexpr uint32 kCDROMRecheckMs = 1000;
constexpr uint32 kMountTableCacheMs = 1000;
constexpr char kUnmountedRootString[] = "*:";

bool EqualIgnoringCase(std::string const& a, std::string const& b)
{
    return ToLower(a) == ToLower(b);
}

} // namespace

// ---------------------------------------------------------------- mount table

std::vector<Sys_VolumePosix::Mount> Sys_VolumePosix::ParseMountInfo(std::string const& text)
{
    std::vector<Mount> table;
    std::map<std::string, size_t> indexOfRoot;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line))
    {
        std::vector<std::string> fields;
        std::istringstream words(line);
        std::string word;
        while (words >> word)
            fields.push_back(word);
        // id parent major:minor root mount-point options [optional...] - type source super-options
        auto const dash = std::find(fields.begin() + std::min<size_t>(fields.size(), 6), fields.end(), "-");
        if (fields.size() < 6 || dash == fields.end() || fields.end() - dash < 3)
            continue;
        Mount mount;
        mount.root = DecodeMountField(fields[4]);
        if (mount.root.empty() || mount.root[0] != '/')
            continue;
        if (mount.root.back() != '/')
            mount.root += '/';
        mount.fsType = DecodeMountField(*(dash + 1));
        mount.source = DecodeMountField(*(dash + 2));
        unsigned long major = 0, minor = 0;
        std::string const& device = fields[2];
        size_t const colon = device.find(':');
        if (colon != std::string::npos)
        {
            try
            {
                major = std::stoul(device.substr(0, colon));
                minor = std::stoul(device.substr(colon + 1));
            }
            catch (...)
            {
                major = minor = 0;
            }
        }
        mount.major = static_cast<uint32>(major);
        mount.minor = static_cast<uint32>(minor);
        // A later mount on the same point hides the earlier one.
        auto const known = indexOfRoot.find(mount.root);
        if (known != indexOfRoot.end())
            table[known->second] = mount;
        else
        {
            indexOfRoot[mount.root] = table.size();
            table.push_back(mount);
        }
    }
    return table;
}

std::vector<Sys_VolumePosix::Mount> Sys_VolumePosix::GetMountTable()
{
    return ParseMountInfo(Sys_VolumePosixProbe::Current().readMountInfo());
}

void Sys_VolumePosix::FlushMountTableCache()
{
    MountTableCache& cache = GetMountTableCache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    cache.valid = false;
}

std::string Sys_VolumePosix::GetRootOfPath(std::string const& path)
{
    if (path.rfind("*:/", 0) == 0)
        return "*:/"; // a location on a volume that is not mounted
    MountTableCache& cache = GetMountTableCache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    uint32 const now = Sys_VolumePosixProbe::Current().tickCount();
    if (!cache.valid || now - cache.readTicks > kMountTableCacheMs)
    {
        cache.table = GetMountTable();
        cache.readTicks = now;
        cache.valid = true;
    }
    std::string best = "/";
    for (Mount const& mount : cache.table)
        if (mount.root.size() > best.size() && path.compare(0, mount.root.size(), mount.root) == 0)
            best = mount.root;
    return best;
}

// ---------------------------------------------------------------- creation

void Sys_VolumePosix::SetPlatformDependentMethods()
{
    Sys_Volume::SetCreateByNameMethod(&Sys_VolumePosix::CreateByName);
    Sys_Volume::SetCreateBySerialNumberMethod(&Sys_VolumePosix::CreateBySerialNumber);
    Sys_Volume::SetGetMountedVolumesMethod(&Sys_VolumePosix::GetMountedVolumes);
}

Sys_VolumePosix::Sys_VolumePosix()
    : mVolumeType(Sys_Volume::kVolumeTypeNone), mFileSystemType(Sys_Volume::kFileSystemNone), mSerialNumber(0),
      mBytesPerSector(0), mMinimumAllocationSize(0), mMaxNameLength(0), mMounted(0), mLastCheckTicks(0)
{
}

Sys_VolumePosix::Sys_VolumePosix(std::string const& rootPath)
    : mRootPath(rootPath), mVolumeType(Sys_Volume::kVolumeTypeNone), mFileSystemType(Sys_Volume::kFileSystemNone),
      mSerialNumber(0), mBytesPerSector(0), mMinimumAllocationSize(0), mMaxNameLength(0), mMounted(-1),
      mLastCheckTicks(0)
{
}

Sys_VolumePosix::~Sys_VolumePosix() = default;

ImplPtr Sys_VolumePosix::Create(char const* rootPath)
{
    std::string root = rootPath ? rootPath : "";
    if (root.empty() || root.back() != '/')
        root += '/';

    Maps& maps = GetMaps();
    {
        std::lock_guard<std::mutex> lock(maps.mutex);
        auto const found = maps.byRoot.find(root);
        if (found != maps.byRoot.end())
            return found->second;
    }

    ImplPtr const volume(new Sys_VolumePosix(root));
    Sys_VolumePosix* const posix = static_cast<Sys_VolumePosix*>(volume.get());
    Mount mount;
    if (posix->FindMount(&mount))
    {
        Sys_VolumePosixProbe::DeviceInfo device;
        Sys_VolumePosixProbe::Current().probeDevice(mount.major, mount.minor, mount.source, &device);
        posix->mVolumeType = VolumeTypeOf(mount, device);
    }

    std::lock_guard<std::mutex> lock(maps.mutex);
    // Another thread may have made the same root meanwhile: the first stays.
    return maps.byRoot.emplace(root, volume).first->second;
}

bool Sys_VolumePosix::FindMount(Mount* mount) const
{
    for (Mount const& m : GetMountTable())
        if (m.root == mRootPath)
        {
            *mount = m;
            return true;
        }
    return false;
}

ImplPtr Sys_VolumePosix::CreateByName(std::string const& name)
{
    Maps& maps = GetMaps();
    {
        std::lock_guard<std::mutex> lock(maps.mutex);
        auto const found = maps.byName.find(ToLower(name));
        if (found != maps.byName.end())
            return found->second;
    }
    return CreateByNameOrSerialNumber(&name, nullptr);
}

ImplPtr Sys_VolumePosix::CreateBySerialNumber(uint32 serialNumber)
{
    Maps& maps = GetMaps();
    {
        std::lock_guard<std::mutex> lock(maps.mutex);
        auto const found = maps.bySerialNumber.find(serialNumber);
        if (found != maps.bySerialNumber.end())
            return found->second;
    }
    return CreateByNameOrSerialNumber(nullptr, &serialNumber);
}

ImplPtr Sys_VolumePosix::CreateByNameOrSerialNumber(std::string const* name, uint32 const* serialNumber)
{
    CMN_ASSERT((name != nullptr) != (serialNumber != nullptr));

    // Fixed and removable disks first, then the rest that may hold files of
    // a user; each group in the order of the mount table.
    std::vector<ImplPtr> first, second;
    for (Mount const& mount : GetMountTable())
    {
        ImplPtr const volume = Create(mount.root.c_str());
        switch (volume->GetVolumeType())
        {
        case Sys_Volume::kVolumeTypeFixed:
        case Sys_Volume::kVolumeTypeRemovable: first.push_back(volume); break;
        case Sys_Volume::kVolumeTypeUnknown:
        case Sys_Volume::kVolumeTypeFloppy:
        case Sys_Volume::kVolumeTypeNetwork:
        case Sys_Volume::kVolumeTypeCDROM: second.push_back(volume); break;
        default: break;
        }
    }
    first.insert(first.end(), second.begin(), second.end());

    ImplPtr match;
    std::string matchLabel;
    uint32 matchSerial = 0;
    for (ImplPtr const& candidate : first)
    {
        Sys_VolumePosix const* const posix = static_cast<Sys_VolumePosix const*>(candidate.get());
        if (!posix->IsMounted())
            continue;
        std::string label;
        uint32 serial = 0;
        try
        {
            label = posix->GetLabel();
            serial = posix->GetSerialNumber();
        }
        catch (...)
        {
            continue;
        }
        if (name ? EqualIgnoringCase(label, *name) : serial == *serialNumber)
        {
            match = candidate;
            matchLabel = label;
            matchSerial = serial;
            break;
        }
    }

    Maps& maps = GetMaps();
    std::lock_guard<std::mutex> lock(maps.mutex);
    if (!match)
    {
        // Not there: a placeholder that stays not mounted for the rest of the run.
        ImplPtr const placeholder(new Sys_VolumePosix());
        if (name)
            return maps.byName.emplace(*name, placeholder).first->second;
        return maps.bySerialNumber.emplace(*serialNumber, placeholder).first->second;
    }
    if (name)
        maps.byName.emplace(matchLabel, match);
    else
        maps.bySerialNumber.emplace(matchSerial, match);
    return match;
}

void Sys_VolumePosix::GetMountedVolumes(int32 typeMask, std::list<ImplPtr>* volumes)
{
    volumes->clear();
    for (Mount const& mount : GetMountTable())
    {
        ImplPtr const volume = Create(mount.root.c_str());
        if ((volume->GetVolumeType() & typeMask) != 0 && volume->IsMounted())
            volumes->push_back(volume);
    }
}

// ---------------------------------------------------------------- examination

bool Sys_VolumePosix::IsMounted() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    return IsMountedLocked();
}

bool Sys_VolumePosix::IsMountedLocked() const
{
    Sys_VolumePosixProbe const& probe = Sys_VolumePosixProbe::Current();
    if (mMounted != -1)
    {
        // Only a CD-ROM drive changes its medium while the process runs.
        if (mVolumeType != Sys_Volume::kVolumeTypeCDROM)
            return mMounted != 0;
        if (probe.tickCount() - mLastCheckTicks <= kCDROMRecheckMs)
            return mMounted != 0;
    }

    mFileSystemType = Sys_Volume::kFileSystemNone;
    mSerialNumber = 0;
    mBytesPerSector = 0;
    mMinimumAllocationSize = 0;
    mMaxNameLength = 0;
    mLastCheckTicks = probe.tickCount();

    Mount mount;
    Sys_VolumePosixProbe::FsInfo fs;
    if (mVolumeType == Sys_Volume::kVolumeTypeNone || !FindMount(&mount) || !probe.statFs(mRootPath, &fs))
    {
        mMounted = 0;
        return false;
    }
    mMajor = mount.major;
    mMinor = mount.minor;
    mSource = mount.source;

    Sys_VolumePosixProbe::DeviceInfo device;
    probe.probeDevice(mount.major, mount.minor, mount.source, &device);

    mMaxNameLength = fs.maxNameLength;
    std::string const fsName = ToLower(mount.fsType);
    if (fsName == "hfs" || fsName == "hfsplus" || fs.magic == kHFSMagic || fs.magic == kHFSPlusMagic)
    {
        mFileSystemType = Sys_Volume::kFileSystemHFS;
        mMaxNameLength = 31;
    }
    else
        mFileSystemType = FileSystemTypeOf(mount.fsType, device);
    if (mFileSystemType == Sys_Volume::kFileSystemNone)
        mFileSystemType = Sys_Volume::kFileSystemUnknown;
    mSerialNumber = SerialNumberOf(device, fs, mount.major, mount.minor);

    // A file system this library does not know counts as not mounted, and
    // so does one without a serial number.
    mMounted = (mFileSystemType != Sys_Volume::kFileSystemUnknown && mSerialNumber != 0) ? 1 : 0;
    return mMounted != 0;
}

Sys_Volume::EVolumeType Sys_VolumePosix::GetVolumeType() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    return mVolumeType;
}

Sys_Volume::EFileSystemType Sys_VolumePosix::GetFileSystemType() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    CMN_ASSERT(IsMountedLocked());
    return mFileSystemType;
}

uint32 Sys_VolumePosix::GetSerialNumber() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    CMN_ASSERT(IsMountedLocked());
    return mSerialNumber;
}

int32 Sys_VolumePosix::GetMaxFileNameComponentLength() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    CMN_ASSERT(IsMountedLocked());
    return mMaxNameLength;
}

void Sys_VolumePosix::AssertMountedOrThrow() const
{
    bool const mounted = IsMountedLocked();
    CMN_ASSERT(mounted);
    // The device of a medium that has gone cannot be asked, and the empty
    // mount point would answer for the file system it stands on.
    if (!mounted)
        Sys_ThrowIfOSErr(ENOMEDIUM);
}

int32 Sys_VolumePosix::GetBytesPerSector() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    AssertMountedOrThrow();
    if (mBytesPerSector == 0)
    {
        Sys_VolumePosixProbe::DeviceInfo device;
        Sys_VolumePosixProbe::Current().probeDevice(mMajor, mMinor, mSource, &device);
        // Without a block device there is no sector to speak of; 512 is what
        // every tool assumes then.
        mBytesPerSector = device.logicalSectorSize > 0 ? device.logicalSectorSize : 512;
    }
    CMN_ASSERT(mBytesPerSector != 0);
    return mBytesPerSector;
}

int32 Sys_VolumePosix::GetMinimumAllocationSize() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    AssertMountedOrThrow();
    if (mMinimumAllocationSize == 0)
    {
        Sys_VolumePosixProbe::FsInfo fs;
        if (!Sys_VolumePosixProbe::Current().statFs(mRootPath, &fs))
            Sys_ThrowIfOSErr(errno != 0 ? errno : EIO);
        mMinimumAllocationSize = fs.blockSize;
    }
    CMN_ASSERT(mMinimumAllocationSize != 0);
    return mMinimumAllocationSize;
}

std::string Sys_VolumePosix::GetLabel() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    if (!IsMountedLocked())
        return std::string();
    Sys_VolumePosixProbe::DeviceInfo device;
    Sys_VolumePosixProbe::Current().probeDevice(mMajor, mMinor, mSource, &device);
    return device.label;
}

Sys_VolumeAttr Sys_VolumePosix::GetAttr() const
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    AssertMountedOrThrow();
    Sys_VolumePosixProbe::FsInfo fs;
    if (!Sys_VolumePosixProbe::Current().statFs(mRootPath, &fs))
        Sys_ThrowIfOSErr(errno != 0 ? errno : EIO);
    // The system volume is the one that holds the root of the file system.
    bool const isSystem = GetRootOfPath("/") == mRootPath;
    return Sys_VolumeAttr(GetLabel(), fs.size, fs.freeSpace, isSystem);
}

std::string Sys_VolumePosix::GetVolumeRootString() const
{
    return IsMounted() ? mRootPath : std::string(kUnmountedRootString);
}

bool Sys_VolumePosix::operator==(Sys_VolumeImpl const& other) const
{
    Sys_VolumePosix const* const posix = dynamic_cast<Sys_VolumePosix const*>(&other);
    if (!posix || !IsMounted() || !posix->IsMounted())
        return false;
    // Names on Linux are case-sensitive: /mnt/Case and /mnt/case are two
    // mount points, and so two volumes.
    return mRootPath == posix->mRootPath;
}
