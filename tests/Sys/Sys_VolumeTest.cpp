#include "Sys/Sys_Volume.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <list>
#include <map>
#include <set>
#include <sstream>

#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Posix/Sys_VolumePosixProbe.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_VolumeAttr.h"
#include "Sys_FileTestSupport.h"

namespace
{

// ---------------------------------------------------------------- this machine

using SysVolumeTest = vfltest::SysLayerTest;

std::string Trimmed(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

// findmnt writes unusual characters as \xHH.
std::string DecodeFindmnt(std::string const& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x')
        {
            out += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
            i += 3;
        }
        else
            out += text[i];
    return out;
}

TEST_F(SysVolumeTest, MountedVolumesAreThoseOfFindmnt)
{
    if (!vfltest::HaveProgram("findmnt"))
        GTEST_SKIP() << "no findmnt";
    std::string listing;
    ASSERT_EQ(vfltest::RunCommand("findmnt -rn -o TARGET,FSTYPE", &listing), 0);
    std::set<std::string> pseudo = {"proc",       "sysfs",      "devtmpfs", "devpts",      "cgroup", "cgroup2",
                                    "securityfs", "debugfs",    "tracefs",  "pstore",      "bpf",    "mqueue",
                                    "hugetlbfs",  "configfs",   "fusectl",  "binfmt_misc", "autofs", "efivarfs",
                                    "selinuxfs",  "rpc_pipefs", "nsfs"};
    std::map<std::string, std::string> expected; // root -> file system
    std::istringstream lines(listing);
    std::string target, fsType;
    while (lines >> target >> fsType)
        if (!pseudo.count(fsType))
        {
            target = DecodeFindmnt(target);
            expected[target == "/" ? target : target + "/"] = fsType;
        }

    std::list<Sys_Volume> volumes;
    Sys_Volume::GetMountedVolumes(0x7F, &volumes);
    std::map<std::string, std::string> found; // root -> file system, as findmnt says
    for (Sys_Volume const& volume : volumes)
    {
        std::string const root = Sys_FileLoc(volume).GetFullPath();
        SCOPED_TRACE(root);
        std::string const type = found[root] = expected.count(root) ? expected[root] : "not in findmnt";
        if (type == "tmpfs")
        {
            EXPECT_EQ(volume.GetVolumeType(), Sys_Volume::kVolumeTypeRAMDisk);
        }
        if (type == "ext4" || type == "xfs" || type == "btrfs" || type == "tmpfs")
        {
            EXPECT_EQ(volume.GetFileSystemType(), Sys_Volume::kFileSystemNative);
        }
        EXPECT_NE(volume.GetSerialNumber(), 0u);
        EXPECT_GT(volume.GetBytesPerSector(), 0);
    }
    EXPECT_EQ(found, expected);
}

TEST_F(SysVolumeTest, TheRootVolumeAgreesWithDfAndBlkid)
{
    Sys_Volume const root = Sys_FileLoc(std::string("/")).GetVolume();
    ASSERT_TRUE(root.IsMounted());
    Sys_VolumeAttr const attr = root.GetAttr();
    EXPECT_TRUE(attr.IsSystemVolume());
    EXPECT_GT(attr.GetSize(), attr.GetFreeSpace());
    if (vfltest::HaveProgram("df"))
    {
        std::string avail, size;
        ASSERT_EQ(vfltest::RunCommand("df -B1 --output=avail / | tail -1", &avail), 0);
        ASSERT_EQ(vfltest::RunCommand("df -B1 --output=size / | tail -1", &size), 0);
        EXPECT_NEAR(static_cast<double>(attr.GetFreeSpace()), std::stod(avail), 8.0 * 1024 * 1024);
        EXPECT_EQ(attr.GetSize(), std::stoll(size));
    }
    if (vfltest::HaveProgram("blkid") && vfltest::HaveProgram("findmnt"))
    {
        std::string source, label;
        vfltest::RunCommand("findmnt -rn -o SOURCE /", &source);
        vfltest::RunCommand("blkid -s LABEL -o value '" + Trimmed(source) + "' 2>/dev/null", &label);
        EXPECT_EQ(attr.GetName(), Trimmed(label));
    }
    std::string sectorSize, source;
    if (vfltest::RunCommand("findmnt -rn -o MAJ:MIN /", &source) == 0 &&
        vfltest::RunCommand("cat /sys/dev/block/" + Trimmed(source) + "/queue/logical_block_size 2>/dev/null",
                            &sectorSize) == 0)
    {
        EXPECT_EQ(root.GetBytesPerSector(), std::stoi(sectorSize));
    }
}

TEST_F(SysVolumeTest, ASmallTmpfsIsARamDiskWithItsOwnSize)
{
    vfltest::TempDir dir;
    std::string const mountPoint = dir.File("ram");
    {
        vfltest::StMount const ram("-t tmpfs -o size=1m h3ram", mountPoint);
        if (!ram.Mounted())
            GTEST_SKIP() << "cannot mount a tmpfs here";
        Sys_VolumePosix::FlushMountTableCache();
        Sys_FileLoc const loc(mountPoint + "/take.wav");
        Sys_Volume const volume = loc.GetVolume();
        ASSERT_TRUE(volume.IsMounted());
        EXPECT_EQ(volume.GetVolumeType(), Sys_Volume::kVolumeTypeRAMDisk);
        EXPECT_EQ(volume.GetAttr().GetSize(), 1024 * 1024);
        EXPECT_EQ(loc.GetParentFolder().GetFullPath(), mountPoint + "/");
        EXPECT_TRUE(loc.GetParentFolder().IsVolumeRoot());
    }
    Sys_VolumePosix::FlushMountTableCache();
}

TEST_F(SysVolumeTest, OneRootHasOneObjectPlaceholdersAreNotMountedAndMountInfoIsDecoded)
{
    EXPECT_EQ(Sys_VolumePosix::Create("/").get(), Sys_VolumePosix::Create("/").get());
    EXPECT_EQ(Sys_VolumePosix::Create("/h3-not-a-mount").get(), Sys_VolumePosix::Create("/h3-not-a-mount/").get());
    Sys_Volume const notAMount(Sys_VolumePosix::Create("/h3-not-a-mount"));
    EXPECT_FALSE(notAMount.IsMounted());
    EXPECT_EQ(notAMount.GetVolumeType(), Sys_Volume::kVolumeTypeNone);
    EXPECT_FALSE(notAMount == notAMount);

    Sys_Volume const byLabel(std::string("h3 label nobody has"));
    EXPECT_FALSE(byLabel.IsMounted());
    EXPECT_EQ(Sys_FileLoc(byLabel).GetFullPath(), "*:/");
    Sys_Volume const bySerial(uint32{0});
    EXPECT_FALSE(bySerial.IsMounted());
    EXPECT_FALSE(byLabel == bySerial);
    EXPECT_THROW(byLabel.GetSerialNumber(), std::runtime_error); // asked of a volume that is not there

    // In the mount table escapes are decoded, and the last mount of a root wins.
    std::string const text = "27 1 254:0 / / rw - ext4 /dev/vda rw\n"
                             "40 27 0:50 / /media/My\\040Disk rw shared:1 master:2 - vfat /dev/sdb1 rw\n"
                             "41 27 0:51 / /mnt/x rw - tmpfs none rw\n"
                             "42 27 0:52 / /mnt/x rw - ext4 /dev/sdc1 rw\n"
                             "garbage line\n";
    std::vector<Sys_VolumePosix::Mount> const table = Sys_VolumePosix::ParseMountInfo(text);
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table[0].root, "/");
    EXPECT_EQ(table[1].root, "/media/My Disk/");
    EXPECT_EQ(table[1].fsType, "vfat");
    EXPECT_EQ(table[1].source, "/dev/sdb1");
    EXPECT_EQ(table[1].major, 0u);
    EXPECT_EQ(table[1].minor, 50u);
    EXPECT_EQ(table[2].root, "/mnt/x/");
    EXPECT_EQ(table[2].fsType, "ext4");
}

// ---------------------------------------------------------------- a machine of the test's making

struct FakeVolume
{
    char const* root;
    char const* fsType;
    uint32 minor;
    char const* label;
    char const* uuid;
    bool removable;
    uint32 fsid;
};

// Each root appears in no other test: volumes live for the whole process.
std::vector<FakeVolume> sFake;
uint32 sTicks = 0;

std::string FakeMountInfo()
{
    std::string text = "1 0 254:0 / / rw - ext4 /dev/vda rw\n";
    for (FakeVolume const& v : sFake)
        text += "9 1 8:" + std::to_string(v.minor) + " / " + v.root + " rw - " + v.fsType + " /dev/h3fake" +
                std::to_string(v.minor) + " rw\n";
    return text;
}

bool FakeStatFs(std::string const& root, Sys_VolumePosixProbe::FsInfo* info)
{
    for (FakeVolume const& v : sFake)
        if (root == std::string(v.root) + "/")
        {
            *info = {
                .size = 1 << 30, .freeSpace = 1 << 20, .maxNameLength = 255, .blockSize = 4096, .foldedFsid = v.fsid};
            return true;
        }
    return Sys_VolumePosixProbe::System().statFs(root, info);
}

void FakeProbeDevice(uint32 major, uint32 minor, std::string const& source, Sys_VolumePosixProbe::DeviceInfo* info)
{
    *info = Sys_VolumePosixProbe::DeviceInfo();
    for (FakeVolume const& v : sFake)
        if (major == 8 && minor == v.minor)
        {
            info->isBlockDevice = true;
            info->removable = v.removable;
            info->logicalSectorSize = 4096;
            info->label = v.label;
            info->uuid = v.uuid;
            return;
        }
    Sys_VolumePosixProbe::System().probeDevice(major, minor, source, info);
}

class SysVolumeFakeTest : public vfltest::SysLayerTest
{
protected:
    void SetUp() override
    {
        SysLayerTest::SetUp();
        mSaved = Sys_VolumePosixProbe::Current();
        Sys_VolumePosixProbe::Current() = {&FakeMountInfo, &FakeStatFs, &FakeProbeDevice, [] { return sTicks; }};
        Sys_VolumePosix::FlushMountTableCache();
    }
    void TearDown() override
    {
        Sys_VolumePosixProbe::Current() = mSaved;
        Sys_VolumePosix::FlushMountTableCache();
        sFake.clear();
    }

    Sys_Volume At(char const* root) const { return Sys_Volume(Sys_VolumePosix::Create(root)); }

    Sys_VolumePosixProbe mSaved;
};

TEST_F(SysVolumeFakeTest, TypesComeFromTheFileSystemAndTheDeviceAndMasksSelectThem)
{
    sFake = {{"/h3t/fixed", "ext4", 1, "", "11111111-0000-0000-0000-000000000000", false, 0},
             {"/h3t/stick", "vfat", 2, "STICK", "ABCD-1234", true, 0},
             {"/h3t/cd", "iso9660", 3, "DISC", "2001-01-01-00-00-00-00", true, 0},
             {"/h3t/net", "nfs4", 4, "", "", false, 77},
             {"/h3t/proc", "proc", 5, "", "", false, 78},
             {"/h3t/ntfs", "ntfs3", 6, "Win", "0123456789ABCDEF", false, 0},
             {"/h3t/strange", "h3strange", 11, "", "", false, 5},
             {"/h3t/zero", "ext4", 12, "", "00000000-0000", false, 0},
             {"/h3t/mac", "hfsplus", 13, "Mac", "12345678-1", false, 0},
             {"/h3t/ram", "tmpfs", 14, "", "", false, 43}};
    struct Expect
    {
        char const* root;
        Sys_Volume::EVolumeType type;
        Sys_Volume::EFileSystemType fs; // kFileSystemUnknown: not mounted
        uint32 serial;
        int32 maxName;
    };
    Expect const cases[] = {
        {"/h3t/fixed", Sys_Volume::kVolumeTypeFixed, Sys_Volume::kFileSystemNative, 0x11111111u, 255},
        {"/h3t/stick", Sys_Volume::kVolumeTypeRemovable, Sys_Volume::kFileSystemFAT, 0xABCD1234u, 255},
        {"/h3t/cd", Sys_Volume::kVolumeTypeCDROM, Sys_Volume::kFileSystemCDFS, 0x20010101u, 255},
        {"/h3t/net", Sys_Volume::kVolumeTypeNetwork, Sys_Volume::kFileSystemNative, 77u, 255},
        {"/h3t/ntfs", Sys_Volume::kVolumeTypeFixed, Sys_Volume::kFileSystemNTFS, 0x01234567u, 255},
        // No UUID of its own and no fsid: the device number stands in, never 0.
        {"/h3t/zero", Sys_Volume::kVolumeTypeFixed, Sys_Volume::kFileSystemNative, (8u << 20) | 12u, 255},
        {"/h3t/mac", Sys_Volume::kVolumeTypeFixed, Sys_Volume::kFileSystemHFS, 0x12345678u, 31},
        {"/h3t/ram", Sys_Volume::kVolumeTypeRAMDisk, Sys_Volume::kFileSystemNative, 43u, 255},
        {"/h3t/proc", Sys_Volume::kVolumeTypeNone, Sys_Volume::kFileSystemUnknown, 0, 0},
        {"/h3t/strange", Sys_Volume::kVolumeTypeFixed, Sys_Volume::kFileSystemUnknown, 0, 0},
    };
    for (Expect const& c : cases)
    {
        SCOPED_TRACE(c.root);
        Sys_Volume const v = At(c.root);
        EXPECT_EQ(v.GetVolumeType(), c.type);
        ASSERT_EQ(v.IsMounted(), c.fs != Sys_Volume::kFileSystemUnknown);
        if (!v.IsMounted())
            continue;
        EXPECT_EQ(v.GetFileSystemType(), c.fs);
        EXPECT_EQ(v.GetSerialNumber(), c.serial);
        EXPECT_EQ(v.GetBytesPerSector(), 4096);
        EXPECT_EQ(v.GetMinimumAllocationSize(), 4096);
        EXPECT_EQ(v.GetMaxFileNameComponentLength(), c.maxName);
    }

    // Masks select the mounted volumes of their types.
    auto roots = [](int32 mask)
    {
        std::list<Sys_Volume> volumes;
        Sys_Volume::GetMountedVolumes(mask, &volumes);
        std::vector<std::string> result;
        for (Sys_Volume const& v : volumes)
        {
            std::string const root = Sys_FileLoc(v).GetFullPath();
            if (root.rfind("/h3t/", 0) == 0)
                result.push_back(root);
        }
        return result;
    };
    using Roots = std::vector<std::string>;
    EXPECT_EQ(roots(0), Roots{});
    EXPECT_EQ(roots(Sys_Volume::kVolumeTypeFixed), (Roots{"/h3t/fixed/", "/h3t/ntfs/", "/h3t/zero/", "/h3t/mac/"}));
    EXPECT_EQ(roots(Sys_Volume::kVolumeTypeRemovable | Sys_Volume::kVolumeTypeRAMDisk),
              (Roots{"/h3t/stick/", "/h3t/ram/"}));
    EXPECT_EQ(roots(0x7F), (Roots{"/h3t/fixed/", "/h3t/stick/", "/h3t/cd/", "/h3t/net/", "/h3t/ntfs/", "/h3t/zero/",
                                  "/h3t/mac/", "/h3t/ram/"}));
}

TEST_F(SysVolumeFakeTest, LabelsAreFoundWithoutCaseFixedDisksWinAndRootsKeepTheirCase)
{
    sFake = {{"/h3l/net", "nfs", 21, "Audio 1", "", false, 31},
             {"/h3l/fixedA", "ext4", 22, "Audio 1", "aaaaaaaa-1", false, 0},
             {"/h3l/fixedB", "ext4", 23, "Audio 1", "bbbbbbbb-1", false, 0},
             {"/h3l/other", "ext4", 24, "Other", "cccccccc-1", false, 0},
             {"/h3k/Case", "ext4", 71, "", "71717171-1", false, 0},
             {"/h3k/case", "ext4", 72, "", "72727272-1", false, 0}};
    Sys_Volume const found(std::string("audio 1"));
    ASSERT_TRUE(found.IsMounted());
    EXPECT_EQ(found.GetSerialNumber(), 0xaaaaaaaau);
    EXPECT_EQ(Sys_FileLoc(found).GetFullPath(), "/h3l/fixedA/");
    EXPECT_TRUE(found == At("/h3l/fixedA"));
    EXPECT_FALSE(found == At("/h3l/fixedB"));

    Sys_Volume const bySerial(uint32{0xcccccccc});
    EXPECT_TRUE(bySerial == At("/h3l/other"));
    EXPECT_EQ(bySerial.GetAttr().GetName(), "Other");

    // Roots that differ only in case are two volumes.
    Sys_Volume const upper = At("/h3k/Case");
    Sys_Volume const lower = At("/h3k/case");
    ASSERT_TRUE(upper.IsMounted());
    ASSERT_TRUE(lower.IsMounted());
    EXPECT_NE(upper.GetSerialNumber(), lower.GetSerialNumber());
    EXPECT_FALSE(upper == lower);
    EXPECT_TRUE(upper == At("/h3k/Case/"));
    EXPECT_TRUE(lower == lower);
}

// A placeholder stays one; a name with capitals is sought again at every
// request, one in lower case is not.
TEST_F(SysVolumeFakeTest, ANameSoughtBeforeItCameIsSoughtAgainOnlyWithCapitals)
{
    Sys_Volume const lower(std::string("h3 late disk"));
    Sys_Volume const upper(std::string("H3 Later Disk"));
    EXPECT_FALSE(lower.IsMounted());
    EXPECT_FALSE(upper.IsMounted());
    sFake = {{"/h3p/late", "ext4", 31, "H3 Late Disk", "dddddddd-1", false, 0},
             {"/h3p/later", "ext4", 32, "h3 later disk", "dddddddd-2", false, 0}};
    EXPECT_FALSE(Sys_Volume(std::string("h3 late disk")).IsMounted());
    EXPECT_FALSE(Sys_Volume(std::string("H3 LATE DISK")).IsMounted());
    EXPECT_TRUE(Sys_Volume(std::string("H3 Later Disk")).IsMounted());
    EXPECT_FALSE(upper.IsMounted());
}

// A drive whose disc has gone is seen a second later; its layout questions
// then assert, and when the assertion handler lets the code go on, they
// fail rather than answer what the old disc had.
TEST_F(SysVolumeFakeTest, ACDROMIsLookedAtAgainAfterASecond)
{
    sTicks = 5000;
    sFake = {{"/h3c/cd", "iso9660", 51, "DISC", "2001-02-03-00", true, 0},
             {"/h3c/fixed", "ext4", 52, "", "ffffffff-1", false, 0}};
    Sys_Volume const cd = At("/h3c/cd");
    Sys_Volume const fixed = At("/h3c/fixed");
    ASSERT_TRUE(cd.IsMounted());
    ASSERT_TRUE(fixed.IsMounted());
    sFake.clear(); // the disc is taken out, the disk unplugged
    sTicks += 1000;
    EXPECT_TRUE(cd.IsMounted());
    EXPECT_TRUE(fixed.IsMounted());
    sTicks += 1;
    EXPECT_FALSE(cd.IsMounted());
    EXPECT_TRUE(fixed.IsMounted()); // examined once for the whole run
    EXPECT_EQ(Sys_FileLoc(cd).GetFullPath(), "*:/");
    vfltest::StCountAsserts asserts;
    EXPECT_EQ(vfltest::SystemErrorOf([&] { cd.GetBytesPerSector(); }), ENOMEDIUM);
    EXPECT_EQ(vfltest::SystemErrorOf([&] { cd.GetMinimumAllocationSize(); }), ENOMEDIUM);
    EXPECT_EQ(vfltest::SystemErrorOf([&] { cd.GetAttr(); }), ENOMEDIUM);
    EXPECT_EQ(asserts.Failed(), 3);
}

} // namespace
