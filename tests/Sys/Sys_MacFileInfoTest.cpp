#include "Sys/MacFileInfo.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/xattr.h>

#include "Sys/FSSpec.h"
#include "Sys/Posix/Sys_MacFileSystemPosix.h"
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Posix/Sys_VolumePosixProbe.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacCompatibility.h"
#include "Sys/Sys_MacRoman.h"
#include "Sys/Sys_ResourceManager.h"
#include "Sys/Sys_Utils.h"
#include "Sys_FileTestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// ---------------------------------------------------------------- names

TEST(SysMacRomanTest, TableIsThePublishedOneWithTheCurrencySign)
{
    if (!vfltest::HaveProgram("python3"))
        GTEST_SKIP() << "python3 is needed for its mac_roman codec";
    std::string out;
    ASSERT_EQ(vfltest::RunCommand("python3 -c \"print(' '.join('%04X' % ord(bytes([b]).decode('mac_roman')) "
                                  "for b in range(256)))\"",
                                  &out),
              0);
    std::istringstream in(out);
    for (int b = 0; b < 256; ++b)
    {
        SCOPED_TRACE(b);
        std::string hex;
        in >> hex;
        u16 const expected = b == 0xDB ? 0x00A4 : u16(std::stoul(hex, nullptr, 16));
        EXPECT_EQ(Sys_MacRoman::ToUnicode(u8(b)), expected);
        u8 back = 0;
        EXPECT_TRUE(Sys_MacRoman::FromUnicode(expected, &back));
        EXPECT_EQ(back, b);
    }
    u8 byte;
    EXPECT_FALSE(Sys_MacRoman::FromUnicode(0x20AC, &byte)); // the euro sign has no place
    u16 const name[] = {'T', 0x00C4, 0x4E00, 0x00A4};
    EXPECT_EQ(Sys_MacRoman::FromName(name, 4), "T\x80_\xDB");
}

TEST(SysMacRomanTest, PrivateUseCharactersOfServersComeBack)
{
    struct Case
    {
        u16 in, out;
    };
    Case const cases[] = {{0xF000, 0x00}, {0xF01F, 0x1F}, {0xF020, '"'},    {0xF021, '*'},    {0xF022, '/'},
                          {0xF023, '<'},  {0xF024, '>'},  {0xF025, '?'},    {0xF026, '\\'},   {0xF027, '|'},
                          {0xF028, ' '},  {0xF029, '.'},  {0xF02A, 0xF02A}, {0xEFFF, 0xEFFF}, {'a', 'a'}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(Sys_MacRoman::FromPrivateUse(c.in), c.out);
    }
}

TEST(SysMacNamesTest, IllegalCharactersAreMappedAndReported)
{
    struct Case
    {
        std::string name;
        bool detect;
        std::string mapped;
        bool illegal;
        std::string message;
    };
    Case const cases[] = {
        {"a:b", true, "a_b", true, " : "},
        {"Take 1.wav", true, "Take 1.wav", false, ""},
        {"x|y:z/w:", true, "x_y_z_w_", true, " /  :  | "},
        {"caf\xC3\xA9", true, "caf__", true, " \xC3  \xA9 "},
        {"caf\xC3\xA9", false, "caf\xC3\xA9", false, ""},
        {"\xE9\x01\xE9", true, "___", true, " \xE9  \x01 "},
        {"a?\x01", false, "a_\x01", true, " ? "},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        SetDetectIllegalChars(c.detect);
        EXPECT_EQ(MapIllegalChars(c.name), c.mapped);
        std::string message = "old";
        EXPECT_EQ(ContainsIllegalChars(c.name, &message), c.illegal);
        EXPECT_EQ(message, c.message);
    }
    SetDetectIllegalChars(true);
}

// ---------------------------------------------------------------- Finder info

// The stream record: "AFP\0", version, directory number at 8, Finder info
// at 16, the attribute word (little-endian) at 52.
Bytes AfpInfo(Bytes const& finderInfo, u32 attributes, u32 directory = 0)
{
    Bytes b = {'A', 'F', 'P', 0, 0, 1, 0, 0};
    for (int i = 0; i < 4; ++i)
        b.push_back(u8(directory >> (8 * i)));
    b.resize(16, 0);
    b.insert(b.end(), finderInfo.begin(), finderInfo.end());
    b.resize(52, 0);
    for (int i = 0; i < 4; ++i)
        b.push_back(u8(attributes >> (8 * i)));
    b.resize(60, 0);
    return b;
}

class SysMacFileInfoTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        vfltest::SysFolderTest::SetUp();
        mRoot = Dir();
        vfltest::WriteWholeFile(mRoot + "probe", {});
        mHaveXattrs = ::setxattr((mRoot + "probe").c_str(), "user.probe", "1", 1, 0) == 0;
    }
    bool SetAttribute(std::string const& file, std::string const& name, Bytes const& value)
    {
        return ::setxattr(file.c_str(), name.c_str(), value.data(), value.size(), 0) == 0;
    }
    std::string mRoot;
    bool mHaveXattrs = false;
};

// Each place another system leaves Finder info, built byte by byte.
TEST_F(SysMacFileInfoTest, FinderInfoIsReadWhereOtherSystemsLeaveIt)
{
    struct Case
    {
        char const* place;
        bool needsXattrs;
        char const* typeAndCreator; // null: a record that is not read
        u32 flags;
    };
    Case const cases[] = {
        {"samba stream", true, "AIFFNuvo", 0x80000100},
        {"netatalk", true, "Vn4fNuvo", 0x0400},
        {"sidecar", false, "WAVEttxt", 0},
        {"samba stream, bad signature", true, nullptr, 0},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.place);
        if (c.needsXattrs && !mHaveXattrs)
            continue;
        std::string const file = mRoot + c.place;
        vfltest::WriteWholeFile(file, {1, 2, 3});
        Bytes const info = vfltest::FinderInfo(c.typeAndCreator ? c.typeAndCreator : "XXXXYYYY", u16(c.flags));
        std::string const place = c.place;
        if (place == "samba stream")
            ASSERT_TRUE(SetAttribute(file, "user.DosStream.AFP_AfpInfo:$DATA", AfpInfo(info, 0x01E00000)));
        else if (place == "netatalk")
            ASSERT_TRUE(SetAttribute(file, "user.org.netatalk.Metadata", vfltest::AppleDouble(info)));
        else if (place == "sidecar")
            vfltest::WriteWholeFile(mRoot + "._" + c.place, vfltest::AppleDouble(info));
        else
        {
            Bytes bad = AfpInfo(info, 0);
            bad[0] = 'X';
            ASSERT_TRUE(SetAttribute(file, "user.DosStream.AFP_AfpInfo:$DATA", bad));
        }
        MacFileInfo record;
        ASSERT_EQ(record.Open(file), 0);
        EXPECT_TRUE(record.mIsFile);
        EXPECT_EQ(record.mDataForkSize, 3u);
        auto code = [&](int at)
        {
            char const* s = c.typeAndCreator;
            return s ? (u32(u8(s[at])) << 24 | u32(u8(s[at + 1])) << 16 | u32(u8(s[at + 2])) << 8 | u8(s[at + 3])) : 0u;
        };
        EXPECT_EQ(record.GetFileType(), code(0));
        EXPECT_EQ(record.GetCreator(), code(4));
        EXPECT_EQ(record.mFinderFlags, c.flags);
        EXPECT_TRUE(record.mNoSeparateName);
        EXPECT_EQ(Sys_MacRoman::FromName(record.mName, record.mNameLength / 2u), c.place);
    }
}

// A file system that keeps no user attributes: nothing is ever there, and
// writing fails without harm.
class NoAttributes : public Sys_MacFileSystemPosix
{
public:
    int32 ReadStream(std::string const&, std::string const&, std::vector<u8>* bytes, bool*) override
    {
        bytes->clear();
        return EOPNOTSUPP;
    }
    int32 WriteStream(std::string const&, std::string const&, size_t, std::vector<u8> const&) override
    {
        return EOPNOTSUPP;
    }
};

TEST_F(SysMacFileInfoTest, WithoutUserAttributesTheInformationIsNeverThere)
{
    NoAttributes none;
    Sys_MacFileSystem* const platform = Sys_MacFileSystem::Get();
    Sys_MacFileSystem::Set(&none);
    std::string const file = mRoot + "on fat";
    vfltest::WriteWholeFile(file, {1});
    MacFileInfo record;
    EXPECT_EQ(record.Open(file), 0);
    EXPECT_EQ(record.GetFileType(), 0u);
    EXPECT_EQ(u32(record.SetInfo(MacFileInfo::kSetType, 1, 0)), 0x80070000u | EOPNOTSUPP);
    record.Close();
    // Making a fork there still works: only the Finder info is left out.
    Sys_ResourceManager::CreateFork(Sys_FileLoc(file), 0x4E75766F, 0x566E3466);
    EXPECT_EQ(Sys_ResourceManager::GetError(), 0);
    Sys_MacFileSystem::Set(platform);
}

TEST_F(SysMacFileInfoTest, AForkMadeHereCarriesItsTypeAndOnlyMacVolumesAreStamped)
{
    if (!mHaveXattrs)
        GTEST_SKIP() << "no user attributes on " << mRoot;
    std::string const file = mRoot + "take";
    Sys_ResourceManager::CreateFork(Sys_FileLoc(file), 0x4E75766F, 0x566E3466); // 'Nuvo', 'Vn4f'
    ASSERT_EQ(Sys_ResourceManager::GetError(), 0);
    MacFileInfo record;
    ASSERT_EQ(record.Open(file), 0);
    EXPECT_EQ(record.GetFileType(), 0x566E3466u);
    EXPECT_EQ(record.GetCreator(), 0x4E75766Fu);
    EXPECT_EQ(record.mResourceForkSize, 286u);
    Bytes stored(60);
    ASSERT_EQ(::getxattr(file.c_str(), "user.DosStream.AFP_AfpInfo:$DATA", stored.data(), stored.size()), 60);
    EXPECT_EQ(Bytes(stored.begin() + 16, stored.begin() + 24), (Bytes{'V', 'n', '4', 'f', 'N', 'u', 'v', 'o'}));

    std::string const wave = mRoot + "plain.wav";
    vfltest::WriteWholeFile(wave, {0});
    SetFileAndCreatorType(Sys_FileLoc(wave), 0x57415645, 0x4E75766F);
    EXPECT_EQ(::listxattr(wave.c_str(), nullptr, 0), 0);
    EXPECT_EQ(GetMacFileName(Sys_FileLoc(wave)), "plain.wav");
}

// ---------------------------------------------------------------- the gateway

// A volume driver's gateway that records the request and gives a canned answer.
class FakeGateway : public Sys_MacFileSystemPosix
{
public:
    bool UsesWideNames() override { return false; }
    int32 DriveOfPath(std::string const& path) override { return path.empty() ? -1 : 4; }
    int32 OpenGateway(int32 drive, int64* handle) override
    {
        *handle = drive;
        return 0;
    }
    int32 WriteGateway(int64, u8 const* bytes, size_t size) override
    {
        request.assign(bytes, bytes + size);
        return 0;
    }
    int32 ReadGateway(int64, u8* bytes, size_t size, size_t* got) override
    {
        *got = std::min(size, answer.size());
        std::memcpy(bytes, answer.data(), *got);
        return 0;
    }
    Bytes request, answer;
};

TEST_F(SysMacFileInfoTest, GatewayRequestsAreFramedAndAnswersChecked)
{
    FakeGateway gateway;
    Sys_MacFileSystem* const platform = Sys_MacFileSystem::Get();
    Sys_MacFileSystem::Set(&gateway);
    auto answer = [](u32 status, u32 bodySize)
    {
        Bytes b;
        for (u32 v : {status, bodySize + 8})
            for (int i = 0; i < 4; ++i)
                b.push_back(u8(v >> (8 * i)));
        Bytes body(bodySize, 0);
        if (bodySize == MacFileInfo::kGetInfoBodySize)
        {
            body[0] = 3;                                     // access right
            body[1] = 2;                                     // version
            body[3] = 1;                                     // is file
            std::memcpy(body.data() + 3 + 8, "TEXTttxt", 8); // Finder info
            body[99] = 4;                                    // name: two characters
            body[101] = 0xC4;
            body[103] = 'b';
        }
        b.insert(b.end(), body.begin(), body.end());
        return b;
    };
    struct Case
    {
        char const* what;
        Bytes answer;
        u32 result;
    };
    Case const cases[] = {
        {"whole", answer(0, MacFileInfo::kGetInfoBodySize), 0},
        {"short", answer(0, 100), 0x80004005},
        {"larger than the buffer", answer(0, MacFileInfo::kGetInfoBodySize + 1), 0x8007006F},
        {"refused", answer(0x80070002, 0), 0x80070002},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        gateway.answer = c.answer;
        MacFileInfo record;
        EXPECT_EQ(u32(record.Open("E:\\ab")), c.result);
        // Code, size with its 8 bytes, name length in bytes, the name after the drive.
        EXPECT_EQ(gateway.request, (Bytes{0x90, 0x13, 0x4F, 0xCD, 16, 0, 0, 0, 6, 0, '\\', 0, 'a', 0, 'b', 0}));
        if (c.result == 0)
        {
            EXPECT_EQ(record.mAccessRight, 3);
            EXPECT_EQ(record.mVersion, 2);
            EXPECT_TRUE(record.mIsFile);
            EXPECT_EQ(record.GetFileType(), 0x54455854u);
            EXPECT_EQ(Sys_MacRoman::FromName(record.mName, record.mNameLength / 2u), "\x80"
                                                                                     "b");
        }
    }
    MacFileInfo none;
    EXPECT_EQ(u32(none.Open("")), 0x80004005u); // no drive
    Sys_MacFileSystem::Set(platform);
}

// ---------------------------------------------------------------- file records

TEST_F(SysMacFileInfoTest, SpecificationsLeadBackToTheirFiles)
{
    std::string const longName(100, 'n');
    for (std::string const& name : {std::string("Take 1.aif"), longName, longName + "x"})
    {
        SCOPED_TRACE(name.size());
        Sys_FileLoc const loc(mRoot + "folder/" + name);
        FSSpec fileSpec;
        Sys_FileLoc2FSSpec(loc, &fileSpec, true);
        EXPECT_LE(fileSpec.name[0], 63);
        Sys_FileLoc back;
        ASSERT_TRUE(FSSpec2Sys_FileLoc(fileSpec, &back));
        EXPECT_EQ(back.GetFullPath(), loc.GetFullPath());
    }
    FSSpec unknown;
    unknown.vRefNum = 99;
    Sys_FileLoc untouched(mRoot + "x");
    EXPECT_FALSE(FSSpec2Sys_FileLoc(unknown, &untouched));
    EXPECT_EQ(untouched.GetFullPath(), mRoot + "x");
}

// ---------------------------------------------------------------- on a Macintosh volume

// Files on a Macintosh volume, presented through a mount table that says a
// folder of the test is mounted by the HFS+ driver.
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
