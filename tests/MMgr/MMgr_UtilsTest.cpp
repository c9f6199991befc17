// Folder mappings, and directory numbers of Macintosh volumes on a made-up
// HFS volume: a temporary tree whose folders are numbered by their inodes,
// as the Linux HFS drivers number them.
#include "MMgr/MMgr_Utils.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_FileTestSupport.h"
#include "Sys/Sys_HFSUtils.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"
#include "Sys/Sys_VolumeImpl.h"
#include "support/TestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

Paths PathsOf(std::list<Sys_FileLoc> const& list)
{
    Paths paths;
    for (auto const& loc : list)
        paths.push_back(loc.GetFullPath());
    return paths;
}

class MMgrUtilsTest : public vfltest::SysFolderTest
{
protected:
    Sys_FileLoc Folder(std::string const& name)
    {
        fs::create_directories(Dir() + name);
        return Loc(name + "/");
    }
};

TEST_F(MMgrUtilsTest, MappingsKeepTheOrderOfAddingWithoutDuplicatesAndNumbersAreKeyedByThePlainSum)
{
    Sys_FileLoc const from = Folder("old"), a = Folder("a"), b = Folder("b"), unknown = Folder("unknown");
    std::string const upperA = a.GetFullPath().substr(0, a.GetFullPath().size() - 2) + "A/";
    MMgr_Utils::AddFolderMapping(from, b);
    MMgr_Utils::AddFolderMapping(from, a);
    MMgr_Utils::AddFolderMapping(from, b);
    // Locations compare without case: the same folder again.
    MMgr_Utils::AddFolderMapping(from, Sys_FileLoc(upperA));

    std::list<Sys_FileLoc> got;
    MMgr_Utils::GetFolderMappings(from, &got);
    EXPECT_EQ(PathsOf(got), (Paths{b.GetFullPath(), a.GetFullPath()}));

    MMgr_Utils::GetFolderMappings(unknown, &got);
    EXPECT_TRUE(got.empty());

    // By volume and directory number.
    struct Case
    {
        int16 addVolume;
        int32 addDirectory;
        int16 askVolume;
        int32 askDirectory;
        bool shared;
    } const cases[] = {
        // Each case on keys of its own, far from the others'.
        {1, 5, 2, 4, true},                                // the same sum
        {-1, 1001, 0, 1000, true},                         // the volume is sign-extended
        {-32768, 0x7FFFFFFF, 0, 0x7FFFFFFF - 32768, true}, // no 32-bit overflow
        {32767, 0x7FFFFFFF, 0, -0x7FFF8002, false},        // the 32-bit sum wraps here, the key does not
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.addVolume);
        MMgr_Utils::AddFolderMapping(c.addVolume, c.addDirectory, a);
        MMgr_Utils::AddFolderMapping(c.addVolume, c.addDirectory, b);
        MMgr_Utils::AddFolderMapping(c.addVolume, c.addDirectory, a);
        got = {a};
        MMgr_Utils::GetFolderMappings(c.askVolume, c.askDirectory, &got);
        Paths const expected = c.shared ? Paths{a.GetFullPath(), b.GetFullPath()} : Paths{};
        EXPECT_EQ(PathsOf(got), expected);
    }
}

// A volume that says it is HFS, with a serial number of its own.
class FakeVolume : public Sys_VolumeImpl
{
public:
    FakeVolume(uint32 serial, Sys_Volume::EFileSystemType type) : mSerial(serial), mType(type) {}
    Sys_VolumeAttr GetAttr() const override { return Sys_VolumeAttr(std::string("Mac"), 0, 0, false); }
    Sys_Volume::EVolumeType GetVolumeType() const override { return Sys_Volume::kVolumeTypeFixed; }
    Sys_Volume::EFileSystemType GetFileSystemType() const override { return mType; }
    uint32 GetSerialNumber() const override { return mSerial; }
    int32 GetBytesPerSector() const override { return 512; }
    int32 GetMinimumAllocationSize() const override { return 512; }
    int32 GetMaxFileNameComponentLength() const override { return 31; }
    bool IsMounted() const override { return true; }
    bool operator==(Sys_VolumeImpl const& other) const override { return this == &other; }

private:
    uint32 mSerial;
    Sys_Volume::EFileSystemType mType;
};

std::string sHFSRoot; // paths below it are on the made-up volume
Paths sAsked;

bool FakeDirID(std::string const& path, int32* directory)
{
    sAsked.push_back(path);
    struct stat st = {};
    if (path.rfind(sHFSRoot, 0) != 0 || ::stat(path.c_str(), &st) != 0)
        return false;
    *directory = static_cast<int32>(st.st_ino);
    return true;
}

Sys_FileLoc FakeRoot(Sys_Volume const&)
{
    return Sys_FileLoc(sHFSRoot);
}

class MMgrUtilsHFSTest : public MMgrUtilsTest
{
protected:
    void SetUp() override
    {
        MMgrUtilsTest::SetUp();
        sHFSRoot = Dir();
        sAsked.clear();
        mSavedDirID = Sys_HFSUtils::GetGetDirIDMethod();
        Sys_HFSUtils::SetGetDirIDMethod(&FakeDirID);
        Sys_Utils::SetGetVolumeRootFolderLocMethod(&FakeRoot);
    }
    void TearDown() override
    {
        Sys_HFSUtils::SetGetDirIDMethod(mSavedDirID);
        Sys_Utils::SetGetVolumeRootFolderLocMethod(&Sys_UtilsPosix::GetVolumeRootFolderLoc);
    }

    static int32 InodeOf(std::string const& path)
    {
        struct stat st = {};
        EXPECT_EQ(::stat(path.c_str(), &st), 0) << path;
        return static_cast<int32>(st.st_ino);
    }

    Sys_HFSUtils::GetDirIDMethod mSavedDirID = nullptr;
};

TEST_F(MMgrUtilsHFSTest, EveryFolderBelowTheRootIsFoundByItsNumberOnceAndOnlyFoldersOnHFSVolumesHaveNumbers)
{
    Sys_Volume const mac(Sys_Volume::ImplPtr(new FakeVolume(0x48460001, Sys_Volume::kFileSystemHFS)));
    Paths const names = {"Audio", "Audio/Take 1", "Audio/Take 1/Deep", "Sessions"};
    for (auto const& n : names)
        Folder(n);
    vfltest::WriteWholeFile(sHFSRoot + "Audio/file.snd", {1});

    EXPECT_FALSE(MMgr_Utils::IsHFSVolumeMapped(mac));
    for (auto const& n : names)
    {
        SCOPED_TRACE(n);
        Sys_FileLoc found;
        ASSERT_TRUE(MMgr_Utils::GetFolderLocFromDirID(mac, InodeOf(sHFSRoot + n), &found));
        EXPECT_EQ(found.GetFullPath(), sHFSRoot + n + "/");
    }
    EXPECT_TRUE(MMgr_Utils::IsHFSVolumeMapped(mac));
    // Folders are asked for without their closing separator.
    for (auto const& asked : sAsked)
        EXPECT_NE(asked.back(), '/') << asked;

    // The walk never yields its start, and a later folder is not seen;
    // a miss leaves the caller's location as it was.
    Sys_FileLoc const kept(sHFSRoot + "Audio/");
    Folder("Later");
    for (std::string const n : {"", "Later", "Audio/file.snd"})
    {
        SCOPED_TRACE(n);
        Sys_FileLoc loc = kept;
        EXPECT_FALSE(MMgr_Utils::GetFolderLocFromDirID(mac, InodeOf(sHFSRoot + n), &loc));
        EXPECT_EQ(loc.GetFullPath(), kept.GetFullPath());
    }

    // From a folder to its number.
    vfltest::TempDir elsewhere;
    std::string const other = fs::canonical(elsewhere.Path()).string() + "/";
    struct Case
    {
        std::string path;
        bool answer;
    } const cases[] = {
        {sHFSRoot + "Audio/", true},
        {sHFSRoot + "Audio/file.snd", false}, // a file
        {sHFSRoot + "missing/", false},       // nothing there
        {other, false},                       // a folder of another file system
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.path);
        int32 directory = -7;
        EXPECT_EQ(MMgr_Utils::GetDirIDFromFolderLoc(Sys_FileLoc(c.path), &directory), c.answer);
        EXPECT_EQ(directory, c.answer ? InodeOf(c.path) : -7);
    }
    // Asking a number of another file system is an assertion.
    Sys_Volume const disk(Sys_Volume::ImplPtr(new FakeVolume(0x48460002, Sys_Volume::kFileSystemNative)));
    vfltest::StCountAsserts const asserts;
    Sys_FileLoc loc;
    MMgr_Utils::GetFolderLocFromDirID(disk, 2, &loc);
    EXPECT_EQ(asserts.Failed(), 1);
}

} // namespace
