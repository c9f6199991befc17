// Files on a Macintosh volume, presented through a mount table that says a
// folder of the test is mounted by the HFS+ driver.
#include <gtest/gtest.h>

#include <filesystem>
#include <sys/xattr.h>

#include "Sys/MacFileInfo.h"
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Posix/Sys_VolumePosixProbe.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacCompatibility.h"
#include "Sys/Sys_ResourceManager.h"
#include "Sys/Sys_Utils.h"
#include "Sys_FileTestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

std::string sMacRoot; // mounted "hfsplus"

std::string MountInfoWithAMac()
{
    return Sys_VolumePosixProbe::System().readMountInfo() + "990 1 8:77 / " + sMacRoot +
           " rw - hfsplus /dev/h3mac rw\n";
}

class SysMacVolumeTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        vfltest::SysFolderTest::SetUp();
        sMacRoot = Dir() + "mac";
        fs::create_directory(sMacRoot);
        mSaved = Sys_VolumePosixProbe::Current();
        Sys_VolumePosixProbe::Current().readMountInfo = &MountInfoWithAMac;
        Sys_VolumePosix::FlushMountTableCache();
        ASSERT_EQ(Sys_FileLoc(sMacRoot + "/x").GetVolume().GetFileSystemType(), Sys_Volume::kFileSystemHFS);
    }
    void TearDown() override
    {
        Sys_VolumePosixProbe::Current() = mSaved;
        Sys_VolumePosix::FlushMountTableCache();
    }
    std::string Mac(std::string const& name) const { return sMacRoot + "/" + name; }

    Sys_VolumePosixProbe mSaved;
};

TEST_F(SysMacVolumeTest, AFileKeepsItsMacintoshTypeWhateverItsNameSays)
{
    struct Case
    {
        char const* name;
        char const* finderInfo; // type and creator in a sidecar; null for none
        Sys_FileType expected;
    };
    Case const cases[] = {
        {"take", "AIFFNuvo", Sys_FileType(vfltest::MacCode("AIFF"))},
        {"take.wav", "AIFFNuvo", Sys_FileType(vfltest::MacCode("AIFF"))},
        {"song.aif", "AIFFNuvo", Sys_FileType("aif")},
        {"text.wav", "TEXTttxt", Sys_FileType("wav")},
        {"plain.wav", nullptr, Sys_FileType("wav")},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        vfltest::WriteWholeFile(Mac(c.name), {1});
        if (c.finderInfo)
            vfltest::WriteWholeFile(Mac(std::string("._") + c.name),
                                    vfltest::AppleDouble(vfltest::FinderInfo(c.finderInfo)));
        Sys_FileType const type = Sys_Utils::GetFileType(Sys_FileLoc(Mac(c.name)));
        EXPECT_EQ(type.GetFileType(), c.expected.GetFileType());
        EXPECT_EQ(type.GetMacFileType(), c.expected.GetMacFileType());
        EXPECT_EQ(type.GetWin32Extension(), c.expected.GetWin32Extension());
    }
}

TEST_F(SysMacVolumeTest, MacintoshNamesForksAndTypes)
{
    struct Case
    {
        char const* name;
        char const* macName;
    };
    Case const cases[] = {{"\xC3\x84 b", "\x80 b"},
                          {"x\xE4\xB8\x80y", "x_y"},
                          {"a\xEF\x80\xA2"
                           "b",
                           "a/b"}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.macName);
        vfltest::WriteWholeFile(Mac(c.name), {});
        EXPECT_EQ(GetMacFileName(Sys_FileLoc(Mac(c.name))), c.macName);
    }

    // The HFS+ driver shows a file's fork as NAME/rsrc.
    fs::create_directory(Mac("forked"));
    vfltest::WriteWholeFile(Mac("forked/rsrc"), Bytes(286, 0));
    Sys_ResourceManager::ForkPlace place;
    ASSERT_TRUE(Sys_ResourceManager::FindFork(Sys_FileLoc(Mac("forked")), &place));
    EXPECT_EQ(place.length, 286);

    vfltest::WriteWholeFile(Mac("stamped"), {});
    SetFileAndCreatorType(Sys_FileLoc(Mac("stamped")), 0x57415645, 0x4E75766F); // 'WAVE', 'Nuvo'
    if (::setxattr(Mac("stamped").c_str(), "user.probe", "", 0, 0) != 0)
        GTEST_SKIP() << "no user attributes here";
    MacFileInfo info;
    ASSERT_EQ(info.Open(Mac("stamped")), 0);
    EXPECT_EQ(info.GetFileType(), 0x57415645u);
    EXPECT_EQ(info.GetCreator(), 0x4E75766Fu);
}

} // namespace
