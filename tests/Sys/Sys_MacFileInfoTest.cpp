// Macintosh file information where other systems leave it, names in the
// Macintosh character set, and resource forks with their manager.
#include "Sys/FSSpec.h"
#include "Sys/MacFileInfo.h"
#include "Sys/Posix/Sys_MacFileSystemPosix.h"
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Posix/Sys_VolumePosixProbe.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacCompatibility.h"
#include "Sys/Sys_MacRoman.h"
#include "Sys/Sys_ResourceFork.h"
#include "Sys/Sys_ResourceManager.h"
#include "Sys/Sys_Utils.h"
#include "Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace
{

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// ---------------------------------------------------------------- names

// The private-use characters of file servers come back as what they stand
// for; the table is the published one, with the currency sign.
TEST(SysMacRomanTest, PrivateUseCharactersComeBackAndTheTableIsThePublishedOne)
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
    u8 byte;
    EXPECT_FALSE(Sys_MacRoman::FromUnicode(0x20AC, &byte)); // the euro sign has no place
    u16 const name[] = {'T', 0x00C4, 0x4E00, 0x00A4};
    EXPECT_EQ(Sys_MacRoman::FromName(name, 4), "T\x80_\xDB");
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
        vfltest::WriteWholeFile(Dir() + "probe", {});
        mHaveXattrs = ::setxattr((Dir() + "probe").c_str(), "user.probe", "1", 1, 0) == 0;
    }
    bool SetAttribute(std::string const& file, std::string const& name, Bytes const& value)
    {
        return ::setxattr(file.c_str(), name.c_str(), value.data(), value.size(), 0) == 0;
    }
    bool mHaveXattrs = false;
};

// Each place another system leaves Finder info, built byte by byte.
TEST_F(SysMacFileInfoTest, FinderInfoIsReadWhereOtherSystemsLeaveIt)
{
    char const* const stream = "user.DosStream.AFP_AfpInfo:$DATA";
    struct Case
    {
        char const* place;
        char const* attribute; // null: in a sidecar
        Bytes record;
        u32 type, creator, flags;
    };
    Bytes badSignature = AfpInfo(vfltest::FinderInfo("XXXXYYYY"), 0);
    badSignature[0] = 'X';
    using vfltest::MacCode;
    Case const cases[] = {
        {"samba stream", stream, AfpInfo(vfltest::FinderInfo("AIFFNuvo", 0x0100), 0x01E00000), MacCode("AIFF"),
         MacCode("Nuvo"), 0x80000100},
        {"netatalk", "user.org.netatalk.Metadata", vfltest::AppleDouble(vfltest::FinderInfo("Vn4fNuvo", 0x0400)),
         MacCode("Vn4f"), MacCode("Nuvo"), 0x0400},
        {"sidecar", nullptr, vfltest::AppleDouble(vfltest::FinderInfo("WAVEttxt")), MacCode("WAVE"), MacCode("ttxt"),
         0},
        {"samba stream, bad signature", stream, badSignature, 0, 0, 0},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.place);
        if (c.attribute && !mHaveXattrs)
            continue;
        std::string const file = Dir() + c.place;
        vfltest::WriteWholeFile(file, {1, 2, 3});
        if (c.attribute)
            ASSERT_TRUE(SetAttribute(file, c.attribute, c.record));
        else
            vfltest::WriteWholeFile(Dir() + "._" + c.place, c.record);
        MacFileInfo record;
        ASSERT_EQ(record.Open(file), 0);
        EXPECT_TRUE(record.mIsFile);
        EXPECT_EQ(record.mDataForkSize, 3u);
        EXPECT_EQ(record.GetFileType(), c.type);
        EXPECT_EQ(record.GetCreator(), c.creator);
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
    std::string const file = Dir() + "on fat";
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
        GTEST_SKIP() << "no user attributes on " << Dir();
    std::string const file = Dir() + "take";
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

    std::string const wave = Dir() + "plain.wav";
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
            EXPECT_EQ(Sys_MacRoman::FromName(record.mName, record.mNameLength / 2u), "\200b");
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
        Sys_FileLoc const loc(Dir() + "folder/" + name);
        FSSpec fileSpec;
        Sys_FileLoc2FSSpec(loc, &fileSpec, true);
        EXPECT_LE(fileSpec.name[0], 63);
        Sys_FileLoc back;
        ASSERT_TRUE(FSSpec2Sys_FileLoc(fileSpec, &back));
        EXPECT_EQ(back.GetFullPath(), loc.GetFullPath());
    }
    FSSpec unknown;
    unknown.vRefNum = 99;
    Sys_FileLoc untouched(Dir() + "x");
    EXPECT_FALSE(FSSpec2Sys_FileLoc(unknown, &untouched));
    EXPECT_EQ(untouched.GetFullPath(), Dir() + "x");
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
    Case const cases[] = {{"\xC3\x84 b", "\x80 b"}, {"x\xE4\xB8\x80y", "x_y"}, {"a\357\200\242b", "a/b"}};
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

using Res = Sys_ResourceFork::Resource;

// An independent reader and writer of the published fork layout. "parse F"
// prints a line per resource: type, id, attributes, name or "-", data, in
// hex; "build F" reads such lines and writes a fork laid out unlike ours:
// types sorted backwards, data and names in reverse order, junk in the
// reserved area, a map without the header copy.
char const kPython[] = R"PY(
import struct, sys
def parse(b):
    doff, moff, dlen, mlen = struct.unpack('>IIII', b[:16])
    m = b[moff:moff + mlen]
    tl, nl = struct.unpack('>HH', m[24:28])
    out = []
    for i in range((struct.unpack('>H', m[tl:tl + 2])[0] + 1) & 0xFFFF):
        t, c, ro = struct.unpack('>4sHH', m[tl + 2 + 8 * i:tl + 10 + 8 * i])
        for j in range(c + 1):
            r = tl + ro + 12 * j
            rid, no, w = struct.unpack('>hHI', m[r:r + 8])
            off = doff + (w & 0xFFFFFF)
            ln = struct.unpack('>I', b[off:off + 4])[0]
            name = '-' if no == 0xFFFF else m[nl + no + 1:nl + no + 1 + m[nl + no]].hex()
            out.append('%s %d %d %s %s' % (t.hex(), rid, w >> 24, name, b[off + 4:off + 4 + ln].hex()))
    return out
def build(lines):
    res = [l.split(' ') for l in lines if l.strip()]
    types = sorted(set(r[0] for r in res), reverse=True)
    data, names, noff, doff = b'', b'', {}, {}
    for k, r in reversed(list(enumerate(res))):
        d = bytes.fromhex(r[4] if len(r) > 4 else '')
        doff[k] = len(data); data += struct.pack('>I', len(d)) + d
        if r[3] != '-':
            n = bytes.fromhex(r[3]); noff[k] = len(names); names += bytes([len(n)]) + n
    tlist = struct.pack('>H', (len(types) - 1) & 0xFFFF)
    refs = b''
    for t in types:
        ks = [k for k, r in enumerate(res) if r[0] == t]
        tlist += bytes.fromhex(t) + struct.pack('>HH', len(ks) - 1, 2 + 8 * len(types) + len(refs))
        for k in ks:
            r = res[k]
            refs += struct.pack('>hHI', int(r[1]), noff.get(k, 0xFFFF), (int(r[2]) << 24) | doff[k]) + b'\0' * 4
    m = b'\0' * 24 + struct.pack('>HH', 28, 28 + len(tlist) + len(refs)) + tlist + refs + names
    head = struct.pack('>IIII', 256, 256 + len(data), len(data), len(m))
    return head + b'\x5a' * 240 + data + m
if sys.argv[1] == 'parse':
    print('\n'.join(parse(open(sys.argv[2], 'rb').read())))
else:
    open(sys.argv[2], 'wb').write(build(sys.stdin.read().splitlines()))
)PY";

std::string Hex(std::string const& bytes)
{
    static char const digits[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : bytes)
    {
        out += digits[c >> 4];
        out += digits[c & 15];
    }
    return out;
}

std::string Line(Res const& r)
{
    std::ostringstream os;
    os << Hex(Sys_ResourceFork::CodeText(r.type)) << ' ' << r.id << ' ' << int(r.attributes) << ' '
       << (r.hasName ? Hex(r.name) : "-") << ' ' << Hex(std::string(r.data.begin(), r.data.end()));
    return os.str();
}

Res R(char const (&type)[5], i16 id, char const* name, std::string const& data, u8 attributes = 0)
{
    return Res{Sys_ResourceFork::Code(type),   id, attributes, name != nullptr, name ? name : "",
               Bytes(data.begin(), data.end())};
}

class SysResourceForkTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        vfltest::SysFolderTest::SetUp();
        if (!vfltest::HaveProgram("python3"))
            GTEST_SKIP() << "python3 is needed for the independent reader";
        vfltest::WriteWholeFile(mDir.File("fork.py"), Bytes(kPython, kPython + sizeof kPython - 1));
    }
    std::string Python(std::string const& args)
    {
        std::string out;
        EXPECT_EQ(vfltest::RunCommand("python3 " + mDir.File("fork.py") + " " + args, &out), 0) << args;
        return out;
    }
};

// Forks of several types, names and ids, written here and read there, then
// written there and read here.
TEST_F(SysResourceForkTest, ForksReadTheSameHereAndInAnIndependentParser)
{
    std::vector<std::vector<Res>> const cases = {
        {},
        {R("STR ", 1000, "sample-size", "\0012")},
        {R("STR ", 1000, "sample-size", "\0012"), R("STR ", 1001, "sample-rate", "\01144100.000"),
         R("STR ", 1002, "channels", "\0012"), R("umid", 1000, nullptr, std::string(24, '\x07')),
         R("qxOV", 1000, nullptr, std::string(14 + 300, '\x80'), 0x20), R("qxRL", -5, "", "")},
        {R("a\377b ", 32767, "x", "y"), R("a\377b ", -32768, std::string(255, 'n').c_str(), ""),
         R("zzzz", 0, nullptr, std::string(70000, '\0'))},
    };
    for (size_t i = 0; i < cases.size(); ++i)
    {
        SCOPED_TRACE(i);
        Sys_ResourceFork fork;
        std::string expected;
        for (Res const& r : cases[i])
        {
            fork.Add(r);
            expected += Line(r) + "\n";
        }
        Bytes bytes;
        ASSERT_TRUE(fork.Serialize(&bytes));
        if (cases[i].empty())
        {
            EXPECT_EQ(bytes.size(), Sys_ResourceFork::kEmptyForkSize);
        }
        vfltest::WriteWholeFile(mDir.File("here"), bytes);
        std::string const there = Python("parse " + mDir.File("here"));
        EXPECT_EQ(there, expected.empty() ? "\n" : expected);

        std::string const input = mDir.File("lines");
        vfltest::WriteWholeFile(input, Bytes(expected.begin(), expected.end()));
        Python("build " + mDir.File("there") + " < " + input);
        Bytes const built = vfltest::ReadWholeFile(mDir.File("there"));
        Sys_ResourceFork back;
        std::string why;
        ASSERT_TRUE(back.Parse(built.data(), built.size(), &why)) << why;
        ASSERT_EQ(back.GetResources().size(), cases[i].size());
        for (Res const& r : cases[i])
        {
            Res const* got = back.Find(r.type, r.id);
            ASSERT_NE(got, nullptr) << Line(r);
            EXPECT_EQ(Line(*got), Line(r));
        }
    }
}

// Damage of every kind is refused with a reason, never read past.
TEST_F(SysResourceForkTest, DamagedForksAreRefused)
{
    Sys_ResourceFork fork;
    fork.Add(R("STR ", 1, "name", "data"));
    fork.Add(R("STR ", 2, nullptr, "more"));
    Bytes good;
    ASSERT_TRUE(fork.Serialize(&good));
    size_t const map = (size_t(good[4]) << 24) | (size_t(good[5]) << 16) | (size_t(good[6]) << 8) | good[7];
    struct Case
    {
        char const* what;
        size_t at; // byte to set, or with value 0 the length to cut the fork to
        u8 value;
    };
    Case const cases[] = {
        {"cut inside the header", 10, 0},
        {"cut inside the map", map + 20, 0},
        {"data length past the end", 8, 0x7F},
        {"map offset past the end", 4, 0x7F},
        {"type list offset past the map", map + 24, 0x7F},
        {"reference count past the map", map + 28 + 2 + 4, 0x70},
        {"name offset past the map", map + 28 + 10 + 2, 0x7F},
        {"data offset past the data", map + 28 + 10 + 5, 0x7F},
        {"resource length past the data", 256, 0x7F},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        Bytes bad = good;
        if (c.value == 0)
            bad.resize(c.at);
        else
            bad[c.at] = c.value;
        Sys_ResourceFork parsed;
        parsed.Add(R("keep", 1, nullptr, ""));
        std::string why;
        EXPECT_FALSE(parsed.Parse(bad.data(), bad.size(), &why));
        EXPECT_FALSE(why.empty());
        EXPECT_EQ(parsed.GetResources().size(), 1u); // untouched
    }
}

// ---------------------------------------------------------------- the manager

class SysResourceManagerTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        vfltest::SysFolderTest::SetUp();
        Sys_ResourceManager::Reset();
    }
    void TearDown() override { Sys_ResourceManager::Reset(); }
    std::vector<std::string> Listing() const
    {
        std::vector<std::string> names;
        for (auto const& e : fs::recursive_directory_iterator(Dir()))
            names.push_back(e.path().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    using M = Sys_ResourceManager;
};

TEST_F(SysResourceManagerTest, OpeningNeverMakesAForkAndCreatingMakesAnEmptyOne)
{
    vfltest::WriteWholeFile(Dir() + "notes.txt", {1, 2, 3});
    Sys_FileLoc const file(Dir() + "notes.txt");
    auto const before = Listing();
    for (i8 permission : {M::kPermissionRead, M::kPermissionReadWrite})
    {
        EXPECT_EQ(M::OpenFork(file, permission), -1);
        EXPECT_EQ(M::GetError(), M::kErrForkNotFound);
    }
    EXPECT_EQ(Listing(), before);

    M::CreateFork(file, Sys_ResourceFork::Code("Nuvo"), Sys_ResourceFork::Code("Vn4f"));
    EXPECT_EQ(M::GetError(), 0);
    EXPECT_EQ(fs::file_size(Dir() + "Resource.FRK/notes.txt"), Sys_ResourceFork::kEmptyForkSize);
    M::CreateFork(file, 0, 0);
    EXPECT_EQ(M::GetError(), M::kErrDuplicateFile);
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "notes.txt"), (Bytes{1, 2, 3}));
}

// The calls a format handler makes: add, write, close, reopen, get,
// remove with loading off, release, detach.
TEST_F(SysResourceManagerTest, ResourcesSurviveCloseAndReopen)
{
    Sys_FileLoc const file(Dir() + "Take 1");
    M::CreateFork(file, 0, 0);
    int16 const ref = M::OpenFork(file, M::kPermissionReadWrite);
    ASSERT_GT(ref, 0);
    EXPECT_EQ(M::CurrentFile(), ref);
    struct Case
    {
        u32 type;
        int16 id;
        std::string name, data;
    };
    Case const cases[] = {{Sys_ResourceFork::Code("STR "), 1000, "\x0bsample-size", "\0013"},
                          {Sys_ResourceFork::Code("umid"), 1000, "", std::string(24, '\x11')},
                          {Sys_ResourceFork::Code("qxRL"), 1000, "", std::string(18, '\x02')}};
    for (Case const& c : cases)
    {
        M::Handle h = M::NewHandle(int64(c.data.size()));
        ASSERT_NE(h, nullptr);
        std::copy(c.data.begin(), c.data.end(), *h);
        M::AddResource(h, c.type, c.id, reinterpret_cast<unsigned char const*>(c.name.c_str()));
        EXPECT_EQ(M::GetError(), 0);
        M::ReleaseResource(h);
        EXPECT_EQ(M::GetError(), M::kErrAttribute); // changed and not written yet
        M::WriteResource(h);
        EXPECT_EQ(M::GetError(), 0);
        M::ReleaseResource(h);
        EXPECT_EQ(M::GetError(), 0);
    }
    M::CloseFork(ref);
    EXPECT_EQ(M::CurrentFile(), 0);

    int16 const again = M::OpenFork(file, M::kPermissionReadWrite);
    ASSERT_GT(again, 0);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(Sys_ResourceFork::CodeText(c.type));
        M::Handle h = M::GetResource(c.type, c.id);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(std::string(*h, size_t(M::GetHandleSize(h))), c.data);
        u32 t;
        int16 id;
        std::string name;
        ASSERT_TRUE(M::GetResourceInfo(h, &t, &id, &name));
        EXPECT_EQ(name, c.name.empty() ? "" : c.name.substr(1));
        EXPECT_EQ(M::GetResource(c.type, c.id), h); // the same handle
    }
    M::Handle const text = M::GetString(1000);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(*text + 1, size_t((*text)[0])), "3");
    // Disposed of like a plain block: the manager lets go of it and loads afresh.
    M::DisposeHandle(text);
    M::Handle const reloaded = M::GetString(1000);
    ASSERT_NE(reloaded, nullptr);
    EXPECT_EQ(std::string(*reloaded + 1, size_t((*reloaded)[0])), "3");
    M::Handle const detached = M::GetResource(Sys_ResourceFork::Code("qxRL"), 1000);
    M::DetachResource(detached);
    EXPECT_EQ(M::GetError(), 0);

    M::SetLoad(false);
    M::Handle const umid = M::GetResource(Sys_ResourceFork::Code("umid"), 1000);
    M::SetLoad(true);
    M::RemoveResource(umid);
    EXPECT_EQ(M::GetError(), 0);
    M::DisposeHandle(umid);
    EXPECT_EQ(M::GetResource(Sys_ResourceFork::Code("nope"), 1), nullptr);
    EXPECT_EQ(M::GetError(), M::kErrResourceNotFound);
    M::CloseFork(again);
    EXPECT_EQ(M::GetError(), 0);
    // The detached block outlived its fork.
    EXPECT_EQ(M::GetHandleSize(detached), 18);
    M::DisposeHandle(detached);

    ASSERT_GT(M::OpenFork(file, M::kPermissionRead), 0);
    EXPECT_EQ(M::GetResource(Sys_ResourceFork::Code("umid"), 1000), nullptr);
    M::Handle h = M::NewHandle(4);
    M::AddResource(h, Sys_ResourceFork::Code("more"), 1, nullptr);
    EXPECT_EQ(M::GetError(), M::kErrWritePermission);
    M::DisposeHandle(h);
}

// Forks that macOS and file servers leave: a sidecar's resource fork entry;
// a damaged fork is refused.
TEST_F(SysResourceManagerTest, ForksAreFoundInSidecarsAndDamageIsRefused)
{
    Sys_ResourceFork fork;
    fork.Add(R("STR ", 1002, "channels", "\0011"));
    Bytes bytes;
    ASSERT_TRUE(fork.Serialize(&bytes));
    vfltest::WriteWholeFile(Dir() + "from a mac.aif", {});
    vfltest::WriteWholeFile(Dir() + "._from a mac.aif", vfltest::AppleDouble(Bytes(32, 0), bytes));

    Sys_FileLoc const file(Dir() + "from a mac.aif");
    M::ForkPlace place;
    ASSERT_TRUE(M::FindFork(file, &place));
    EXPECT_EQ(place.offset, 82);
    ASSERT_GT(M::OpenFork(file, M::kPermissionRead), 0);
    M::Handle const h = M::GetString(1002);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(std::string(*h, 2), "\0011");

    bytes.resize(100);
    fs::create_directory(Dir() + "Resource.FRK");
    vfltest::WriteWholeFile(Dir() + "Resource.FRK/cut", bytes);
    vfltest::WriteWholeFile(Dir() + "cut", {});
    EXPECT_EQ(M::OpenFork(Sys_FileLoc(Dir() + "cut"), M::kPermissionRead), -1);
    EXPECT_EQ(M::GetError(), M::kErrMapRead);
}

} // namespace
