#include "Sys/Sys_File.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <sstream>
#include <vector>

#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys_FileTestSupport.h"

namespace
{

using vfltest::SystemErrorOf;
using Bytes = std::vector<std::uint8_t>;

constexpr int64 kKiB = 1024;
constexpr int64 kGiB = kKiB * kKiB * kKiB;

using vfltest::Pattern;

class SysFileTest : public vfltest::SysFolderTest
{
protected:
    std::string PathOf(std::string const& name) const { return mDir.File(name); }
};

// ---------------------------------------------------------------- open modes

struct OpenCase
{
    char const* name;
    int32 mode;
    bool exists;     // the file is there before the open
    int openErrno;   // 0: the open works
    int64 sizeAfter; // -1: no file afterwards
    bool canRead;
    bool canWrite;
};

TEST_F(SysFileTest, OpenModesFollowTheDispositionAndAccessBits)
{
    constexpr int32 kShare = Sys_File::kOpenShareRead | Sys_File::kOpenShareWrite;
    OpenCase const cases[] = {
        {"read existing", 0x102, true, 0, 10, true, false},
        {"read missing", 0x102, false, ENOENT, -1, false, false},
        {"create and write over existing", 0x201, true, 0, 0, false, true},
        {"create and write new", 0x201, false, 0, 0, false, true},
        {"open or create existing", 0x302, true, 0, 10, true, false},
        {"open or create missing", 0x302, false, 0, 0, true, false},
        {"write existing", 0x101, true, 0, 10, false, true},
        {"read and write with shares", 0x103 | kShare, true, 0, 10, true, true},
        {"write-through", 0x105, true, 0, 10, false, true},
        {"delete on close keeps no file", 0x1103, true, 0, -1, true, true},
        {"neither existing nor create", 0x003, true, EINVAL, 10, false, false},
        {"neither, file missing", 0x002, false, EINVAL, -1, false, false},
        // Neither read nor write: a handle that names the file and gives no access.
        {"no access to existing", 0x100, true, 0, 10, false, false},
        {"no access, create over existing", 0x200, true, 0, 0, false, false},
        {"no access, open or create missing", 0x300, false, 0, 0, false, false},
        {"no access, delete on close", 0x1100, true, 0, -1, false, false},
    };
    for (OpenCase const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = PathOf("open.bin");
        std::filesystem::remove(path);
        if (c.exists)
            vfltest::WriteWholeFile(path, Pattern(10));

        Sys_File file(Sys_FileLoc{path});
        ASSERT_EQ(SystemErrorOf([&] { file.Open(c.mode); }), c.openErrno);
        EXPECT_EQ(file.IsOpen(), c.openErrno == 0);
        if (file.IsOpen())
        {
            char buffer[4];
            int const readErr = SystemErrorOf([&] { file.Read(buffer, 1); });
            EXPECT_EQ(readErr, c.canRead ? 0 : EBADF);
            file.SetPosition(Sys_File::kFromEnd, 0);
            int const writeSome = SystemErrorOf(
                [&]
                {
                    file.Write("", 0);
                    file.Write("y", 1);
                });
            EXPECT_EQ(writeSome, c.canWrite ? 0 : EBADF);
            if (c.canWrite)
            {
                file.SetEOF(c.sizeAfter < 0 ? 10 : c.sizeAfter);
            }
            else if (!c.canRead)
            {
                EXPECT_EQ(SystemErrorOf([&] { file.SetEOF(0); }), EBADF);
            }
            EXPECT_EQ(file.GetEOF(), c.sizeAfter < 0 ? 10 : c.sizeAfter);
            file.Close();
        }
        EXPECT_FALSE(file.IsOpen());
        std::error_code ec;
        int64 const size =
            std::filesystem::exists(path) ? static_cast<int64>(std::filesystem::file_size(path, ec)) : -1;
        EXPECT_EQ(size, c.sizeAfter);
    }
}

// A closed file, a folder and a second open: refused, and the file left as it was.
TEST_F(SysFileTest, TransfersOfAClosedFileAndASecondOpenAreRefused)
{
    Sys_File folder(Sys_FileLoc(mDir.Path().string()));
    EXPECT_EQ(SystemErrorOf([&] { folder.Open(0x102); }), EISDIR);
    EXPECT_FALSE(folder.IsOpen());

    vfltest::WriteWholeFile(PathOf("a.bin"), Pattern(100));
    Sys_File file(Loc("a.bin"));
    EXPECT_EQ(file.GetPosition(), 0);
    char buffer[4];
    EXPECT_EQ(SystemErrorOf([&] { file.Read(buffer, 4); }), EBADF);
    EXPECT_EQ(SystemErrorOf([&] { file.GetEOF(); }), EBADF);
    file.Close(); // harmless on a closed file

    file.Open(Sys_File::kOpenRead | Sys_File::kOpenExisting);
    file.SetPosition(Sys_File::kFromStart, 40);
    EXPECT_TRUE(
        vfltest::ThrowsCode([&] { file.Open(Sys_File::kOpenRead | Sys_File::kOpenExisting); }, XC_Sys_FileAlreadyOpen));
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.GetPosition(), 40);
    EXPECT_EQ(file.Read(buffer, 1), 1);
    EXPECT_EQ(static_cast<std::uint8_t>(buffer[0]), Pattern(100)[40]);
}

TEST_F(SysFileTest, StOpenClosesAtTheEndOfItsScopeUnlessReleased)
{
    vfltest::WriteWholeFile(PathOf("a.bin"), Pattern(4));
    Sys_File file(Loc("a.bin"));
    {
        Sys_File::StOpen open(&file, 0x102);
        EXPECT_TRUE(file.IsOpen());
    }
    EXPECT_FALSE(file.IsOpen());
    {
        Sys_File::StOpen open(&file, 0x102);
        open.Release();
    }
    EXPECT_TRUE(file.IsOpen());
}

// ---------------------------------------------------------------- positions and transfers

TEST_F(SysFileTest, SetPositionCountsFromStartCurrentAndEnd)
{
    struct Case
    {
        Sys_File::EOffsetFrom from;
        int64 offset;
        int64 expected; // -1: EINVAL
    };
    Case const cases[] = {
        {Sys_File::kFromStart, 10, 10},     {Sys_File::kFromCurrent, 5, 35}, {Sys_File::kFromCurrent, -30, 0},
        {Sys_File::kFromEnd, 10, 90},       {Sys_File::kFromEnd, 0, 100},    {Sys_File::kFromEnd, -20, 120},
        {Sys_File::kFromStart, 5000, 5000}, {Sys_File::kFromStart, -1, -1},  {Sys_File::kFromCurrent, -31, -1},
        {Sys_File::kFromEnd, 101, -1},
    };
    vfltest::WriteWholeFile(PathOf("p.bin"), Pattern(100));
    Sys_File file(Loc("p.bin"));
    file.Open(0x102);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "from " << c.from << " offset " << c.offset);
        file.SetPosition(Sys_File::kFromStart, 30);
        int const err = SystemErrorOf([&] { file.SetPosition(c.from, c.offset); });
        if (c.expected < 0)
            EXPECT_EQ(err, EINVAL);
        else
        {
            EXPECT_EQ(err, 0);
            EXPECT_EQ(file.GetPosition(), c.expected);
        }
    }
}

TEST_F(SysFileTest, ReadReturnsWhatThereIsAndZeroAtTheEnd)
{
    Bytes const data = Pattern(100);
    vfltest::WriteWholeFile(PathOf("r.bin"), data);
    Sys_File file(Loc("r.bin"));
    file.Open(0x102);
    char buffer[64];
    file.SetPosition(Sys_File::kFromStart, 70);
    EXPECT_EQ(file.Read(buffer, 64), 30);
    EXPECT_EQ(0, std::memcmp(buffer, data.data() + 70, 30));
    EXPECT_EQ(file.GetPosition(), 100);
    EXPECT_EQ(file.Read(buffer, 64), 0);
    file.SetPosition(Sys_File::kFromStart, 500);
    EXPECT_EQ(file.Read(buffer, 64), 0);
}

TEST_F(SysFileTest, TransferCountsAreCutToThirtyTwoBits)
{
    vfltest::WriteWholeFile(PathOf("r.bin"), Pattern(100));
    Sys_File file(Loc("r.bin"));
    file.Open(0x103);
    char buffer[16] = {};
    EXPECT_EQ(file.Read(buffer, (int64{1} << 32) + 5), 5);
    EXPECT_EQ(file.GetPosition(), 5);
    EXPECT_EQ(file.Write(buffer, (int64{1} << 32) + 3), 3);
    EXPECT_EQ(file.GetPosition(), 8);
    EXPECT_EQ(file.Read(buffer, int64{1} << 32), 0);
}

TEST_F(SysFileTest, PositionsBeyondTwoAndFourGiBReadBackExactly)
{
    Sys_File file(Loc("sparse.bin"));
    file.Open(0x203);
    file.SetEOF(7 * kGiB);
    EXPECT_EQ(file.GetEOF(), 7 * kGiB);
    int64 const positions[] = {2 * kGiB - 1, 2 * kGiB, 3 * kGiB + 17, 4 * kGiB, 4 * kGiB + 1, 6 * kGiB + kGiB / 2};
    for (int64 const position : positions)
    {
        SCOPED_TRACE(position);
        file.SetPosition(Sys_File::kFromStart, position);
        EXPECT_EQ(file.GetPosition(), position);
        char const mark = static_cast<char>(position & 0x7F);
        EXPECT_EQ(file.Write(&mark, 1), 1);
        EXPECT_EQ(file.GetPosition(), position + 1);
        char back = 0;
        file.SetPosition(Sys_File::kFromCurrent, -1);
        EXPECT_EQ(file.Read(&back, 1), 1);
        EXPECT_EQ(back, mark);
    }
    file.SetPosition(Sys_File::kFromEnd, kGiB / 2);
    EXPECT_EQ(file.GetPosition(), 6 * kGiB + kGiB / 2);
}

TEST_F(SysFileTest, SetEOFZeroFillsGrowthAndKeepsThePosition)
{
    vfltest::WriteWholeFile(PathOf("e.bin"), Pattern(10));
    Sys_File file(Loc("e.bin"));
    file.Open(0x103);
    file.SetPosition(Sys_File::kFromStart, 4);
    file.SetEOF(100000);
    EXPECT_EQ(file.GetPosition(), 4);
    EXPECT_EQ(file.GetEOF(), 100000);
    file.SetEOF(6);
    EXPECT_EQ(file.GetEOF(), 6);
    file.SetEOF(20);
    file.Close();
    Bytes expected = Pattern(10);
    expected.resize(6);
    expected.resize(20, 0);
    EXPECT_EQ(vfltest::ReadWholeFile(PathOf("e.bin")), expected);
}

TEST_F(SysFileTest, WriteMovesTheHighWaterMarkUpOnly)
{
    Sys_File file(Loc("w.bin"));
    file.Open(0x203);
    file.Write("abcdef", 6);
    EXPECT_EQ(file.QelGetHighWaterMark(), 6);
    file.SetPosition(Sys_File::kFromStart, 2);
    file.Write("x", 1);
    EXPECT_EQ(file.QelGetHighWaterMark(), 6);
}

// ---------------------------------------------------------------- MoveBlock

// What MoveBlock must do, on a plain vector.
Bytes MoveOracle(Bytes bytes, int64 start, int64 size, int64 moveBy)
{
    Bytes const block(bytes.begin() + start, bytes.begin() + start + size);
    size_t const end = static_cast<size_t>(start + moveBy + size);
    if (bytes.size() < end)
        bytes.resize(end, 0);
    std::copy(block.begin(), block.end(), bytes.begin() + start + moveBy);
    return bytes;
}

TEST_F(SysFileTest, MoveBlockMatchesACopyInBothDirections)
{
    struct Case
    {
        int64 start, size, moveBy;
        int err = 0; // the file and the position stay as they were
    };
    Case const cases[] = {
        {0, 100000, 1},         // overlapping, towards the end, grows the file
        {1, 99999, -1},         // overlapping, towards the start
        {1000, 70000, 40000},   // overlap larger than one buffer
        {30000, 70000, -29000}, // the same towards the start
        {10, 32768, 32768},     // exactly one buffer, adjacent
        {40000, 32769, -39999}, // one buffer and a byte
        {0, 5, 150000},         // far past the end
        {300, 0, 17},           // nothing to move
        {99990, 10, -99990},    // the tail to the head
        {-5, -5, 0},            // by nothing: not even the range is looked at
        {0, -1, 4, EINVAL},
        {-1, 10, 4, EINVAL},
        {10, 10, -11, EINVAL},
        {1, INT64_MAX, 1, EINVAL},
    };
    Bytes const original = Pattern(100000, 3);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.start << " " << c.size << " " << c.moveBy);
        vfltest::WriteWholeFile(PathOf("m.bin"), original);
        Sys_File file(Loc("m.bin"));
        file.Open(0x103);
        file.SetPosition(Sys_File::kFromStart, 123);
        EXPECT_EQ(SystemErrorOf([&] { file.MoveBlock(c.start, c.size, c.moveBy); }), c.err);
        EXPECT_EQ(file.GetPosition(), 123);
        file.Close();
        bool const untouched = c.err != 0 || c.moveBy == 0;
        EXPECT_EQ(vfltest::ReadWholeFile(PathOf("m.bin")),
                  untouched ? original : MoveOracle(original, c.start, c.size, c.moveBy));
    }
}

// ---------------------------------------------------------------- attributes

TEST_F(SysFileTest, AttributesAreTheSameClosedAndOpenAndFollowTheFile)
{
    Sys_File file(Loc("a.bin"));
    EXPECT_FALSE(file.IsOnline());
    EXPECT_EQ(SystemErrorOf([&] { file.GetFileAttr(); }), ENOENT);
    vfltest::WriteWholeFile(PathOf("a.bin"), Pattern(1234));
    EXPECT_TRUE(file.IsOnline());
    Sys_FileAttr const closed = file.GetFileAttr();
    file.Open(0x102);
    Sys_FileAttr const open = file.GetFileAttr();
    EXPECT_EQ(closed.GetSize(), 1234);
    EXPECT_EQ(open.GetSize(), 1234);
    EXPECT_EQ(closed.GetModified(), open.GetModified());
    EXPECT_EQ(closed.GetCreated(), open.GetCreated());
    EXPECT_FALSE(closed.IsReadOnly());
    EXPECT_LE(closed.GetCreated(), closed.GetModified());
    // A file written a moment ago, in 100 ns units since 1601.
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    int64 const nowFileTime =
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100 + 116444736000000000LL;
    EXPECT_NEAR(static_cast<double>(closed.GetModified()), static_cast<double>(nowFileTime), 600e7);

    file.SetPermissions(Sys_File::kPermissionReadOnly);
    EXPECT_TRUE(file.GetFileAttr().IsReadOnly());
    file.SetPermissions(0);
    EXPECT_FALSE(file.GetFileAttr().IsReadOnly());
    file.Close();
    std::filesystem::remove(PathOf("a.bin"));
    EXPECT_FALSE(file.IsOnline());
}

TEST(SysFileAttrTest, PrintShowsTheLowThirtyTwoBitsOfTheSize)
{
    std::ostringstream out;
    Sys_FileAttr((int64{1} << 32) + 9, true, 130000000000000000LL, -2).Print(out);
    EXPECT_EQ(out.str(), "Size: 9 bytes\nRead-Only\nCreated: 130000000000000000\nModified: -2\n");
}

// ---------------------------------------------------------------- failures of the disk

TEST_F(SysFileTest, AReadOnlyFileRefusesWritingWithEACCES)
{
    std::string const path = PathOf("ro.bin");
    vfltest::WriteWholeFile(path, Pattern(3));
    std::filesystem::permissions(mDir.Path(), std::filesystem::perms::all);
    std::filesystem::permissions(path, std::filesystem::perms::owner_read | std::filesystem::perms::group_read |
                                           std::filesystem::perms::others_read);
    int const status = vfltest::RunUnprivileged(
        [&]
        {
            Sys_File file(Sys_FileLoc{path});
            return SystemErrorOf([&] { file.Open(0x101); }) == EACCES ? 0 : 1;
        });
    if (status == -1)
        GTEST_SKIP() << "cannot drop privileges";
    EXPECT_EQ(status, 0);
}

// The injected failures: a short writer, and a disk that fails after a
// number of bytes, as a full disk does.
int64 sFailAfter = 0;
int sFailErrno = 0;

int64 ShortPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    return Sys_FilePosixCalls::System().pwrite(fd, buffer, std::min<uint64>(count, 3), offset);
}

int64 FailingPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    if (offset >= sFailAfter)
    {
        errno = sFailErrno;
        return -1;
    }
    uint64 const allowed = std::min<uint64>(count, static_cast<uint64>(sFailAfter - offset));
    return Sys_FilePosixCalls::System().pwrite(fd, buffer, allowed, offset);
}

int64 FailingPread(int fd, void* buffer, uint64 count, int64 offset)
{
    if (offset >= sFailAfter)
    {
        errno = sFailErrno;
        return -1;
    }
    uint64 const allowed = std::min<uint64>(count, static_cast<uint64>(sFailAfter - offset));
    return Sys_FilePosixCalls::System().pread(fd, buffer, allowed, offset);
}

int FailingFtruncate(int, int64)
{
    errno = sFailErrno;
    return -1;
}

TEST_F(SysFileTest, ShortWritesAreCarriedOn)
{
    vfltest::StFilePosixCalls calls;
    calls.Calls().pwrite = &ShortPwrite;
    Bytes const data = Pattern(1000);
    {
        Sys_File file(Loc("s.bin"));
        file.Open(0x201);
        EXPECT_EQ(file.Write(data.data(), 1000), 1000);
        EXPECT_EQ(file.GetPosition(), 1000);
    }
    EXPECT_EQ(vfltest::ReadWholeFile(PathOf("s.bin")), data);
}

TEST_F(SysFileTest, InjectedFailuresSurfaceWithTheirErrno)
{
    struct Case
    {
        char const* name;
        int err;
        int64 failAfter;
    };
    Case const cases[] = {
        {"EIO at once", EIO, 0}, {"ENOSPC after 100 bytes", ENOSPC, 100}, {"EIO after 4097", EIO, 4097}};
    Bytes const data = Pattern(10000);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        vfltest::StFilePosixCalls calls;
        sFailAfter = c.failAfter;
        sFailErrno = c.err;
        calls.Calls().pwrite = &FailingPwrite;
        calls.Calls().pread = &FailingPread;
        calls.Calls().ftruncate = &FailingFtruncate;
        Sys_File file(Loc("f.bin"));
        file.Open(0x203);
        EXPECT_EQ(SystemErrorOf([&] { file.Write(data.data(), 10000); }), c.err);
        EXPECT_EQ(file.GetPosition(), c.failAfter);
        EXPECT_EQ(file.GetEOF(), c.failAfter);
        file.SetPosition(Sys_File::kFromStart, 0);
        char buffer[64];
        EXPECT_EQ(SystemErrorOf([&] { file.Read(buffer, 64); }), c.failAfter >= 64 ? 0 : c.err);
        EXPECT_EQ(SystemErrorOf([&] { file.SetEOF(5); }), c.err);
        file.Close();
        Bytes const written = vfltest::ReadWholeFile(PathOf("f.bin"));
        EXPECT_EQ(Bytes(data.begin(), data.begin() + c.failAfter), written);
    }
}

} // namespace
