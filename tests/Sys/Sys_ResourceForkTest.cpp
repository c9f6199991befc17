#include "Sys/Sys_ResourceFork.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_ResourceManager.h"
#include "Sys_FileTestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
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
    Res r;
    r.type = Sys_ResourceFork::Code(type);
    r.id = id;
    r.attributes = attributes;
    r.hasName = name != nullptr;
    r.name = name ? name : "";
    r.data.assign(data.begin(), data.end());
    return r;
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
        {R("STR ", 1000, "sample-size",
           "\x01"
           "2")},
        {R("STR ", 1000, "sample-size",
           "\x01"
           "2"),
         R("STR ", 1001, "sample-rate",
           "\x09"
           "44100.000"),
         R("STR ", 1002, "channels",
           "\x01"
           "2"),
         R("umid", 1000, nullptr, std::string(24, '\x07')),
         R("qxOV", 1000, nullptr, std::string(14 + 300, '\x80'), 0x20), R("qxRL", -5, "", "")},
        {R("a\xff"
           "b ",
           32767, "x", "y"),
         R("a\xff"
           "b ",
           -32768, std::string(255, 'n').c_str(), ""),
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
        mRoot = Dir();
    }
    void TearDown() override { Sys_ResourceManager::Reset(); }
    std::vector<std::string> Listing() const
    {
        std::vector<std::string> names;
        for (auto const& e : fs::recursive_directory_iterator(mRoot))
            names.push_back(e.path().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    using M = Sys_ResourceManager;
    std::string mRoot;
};

TEST_F(SysResourceManagerTest, OpeningNeverMakesAForkAndCreatingMakesAnEmptyOne)
{
    vfltest::WriteWholeFile(mRoot + "notes.txt", {1, 2, 3});
    Sys_FileLoc const file(mRoot + "notes.txt");
    auto const before = Listing();
    for (i8 permission : {M::kPermissionRead, M::kPermissionReadWrite})
    {
        EXPECT_EQ(M::OpenFork(file, permission), -1);
        EXPECT_EQ(M::GetError(), M::kErrForkNotFound);
    }
    EXPECT_EQ(Listing(), before);

    M::CreateFork(file, Sys_ResourceFork::Code("Nuvo"), Sys_ResourceFork::Code("Vn4f"));
    EXPECT_EQ(M::GetError(), 0);
    EXPECT_EQ(fs::file_size(mRoot + "Resource.FRK/notes.txt"), Sys_ResourceFork::kEmptyForkSize);
    M::CreateFork(file, 0, 0);
    EXPECT_EQ(M::GetError(), M::kErrDuplicateFile);
    EXPECT_EQ(vfltest::ReadWholeFile(mRoot + "notes.txt"), (Bytes{1, 2, 3}));
}

// The calls a format handler makes: add, write, close, reopen, get,
// remove with loading off, release, detach.
TEST_F(SysResourceManagerTest, ResourcesSurviveCloseAndReopen)
{
    Sys_FileLoc const file(mRoot + "Take 1");
    M::CreateFork(file, 0, 0);
    int16 const ref = M::OpenFork(file, M::kPermissionReadWrite);
    ASSERT_GT(ref, 0);
    EXPECT_EQ(M::CurrentFile(), ref);
    struct Case
    {
        u32 type;
        int16 id;
        std::string name;
        std::string data;
    };
    Case const cases[] = {{Sys_ResourceFork::Code("STR "), 1000, "\x0bsample-size",
                           "\x01"
                           "3"},
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
    fork.Add(R("STR ", 1002, "channels",
               "\x01"
               "1"));
    Bytes bytes;
    ASSERT_TRUE(fork.Serialize(&bytes));
    vfltest::WriteWholeFile(mRoot + "from a mac.aif", {});
    vfltest::WriteWholeFile(mRoot + "._from a mac.aif", vfltest::AppleDouble(Bytes(32, 0), bytes));

    Sys_FileLoc const file(mRoot + "from a mac.aif");
    M::ForkPlace place;
    ASSERT_TRUE(M::FindFork(file, &place));
    EXPECT_EQ(place.offset, 82);
    ASSERT_GT(M::OpenFork(file, M::kPermissionRead), 0);
    M::Handle const h = M::GetString(1002);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(std::string(*h, 2), "\x01"
                                  "1");

    bytes.resize(100);
    fs::create_directory(mRoot + "Resource.FRK");
    vfltest::WriteWholeFile(mRoot + "Resource.FRK/cut", bytes);
    vfltest::WriteWholeFile(mRoot + "cut", {});
    EXPECT_EQ(M::OpenFork(Sys_FileLoc(mRoot + "cut"), M::kPermissionRead), -1);
    EXPECT_EQ(M::GetError(), M::kErrMapRead);
}

} // namespace
