// Sys_File: open modes, positions and transfers, failures of the disk, and
// the unbuffered path through a file system that enforces the sector rule:
// every call is logged, and a misaligned offset, count or buffer fails
// with EINVAL, as ext4 on a 4K-sector device does. The real file
// underneath is opened without O_DIRECT, so the rule the test sees is the
// fake's alone, whatever the machine's disk.
#include "Sys/Sys_File.h"
#include "Sys/Posix/Sys_FilePosix.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_VolumeAttr.h"
#include "Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using vfltest::Pattern;
using vfltest::SystemErrorOf;
using Bytes = std::vector<std::uint8_t>;

constexpr int64 kGiB = int64{1} << 30;

class SysFileTest : public vfltest::SysFolderTest
{
protected:
    std::string PathOf(std::string const& name) const { return mDir.File(name); }
    static Sys_FilePosix& Posix(Sys_File& file) { return dynamic_cast<Sys_FilePosix&>(*file.GetImpl()); }
    // A file of these bytes, open in this mode; given a sector size, the
    // file takes it for its disk's.
    std::unique_ptr<Sys_File> Opened(std::string const& name, Bytes const& content, int32 mode, int32 sector = 0)
    {
        vfltest::WriteWholeFile(PathOf(name), content);
        auto file = std::make_unique<Sys_File>(Loc(name));
        if (sector != 0)
            Posix(*file).SetSectorSizeOverride(sector);
        file->Open(mode);
        return file;
    }
};

// ---------------------------------------------------------------- open modes

struct OpenCase
{
    char const* name;
    int32 mode;
    bool exists;     // the file is there before the open
    int openErrno;   // 0: the open works
    int64 sizeAfter; // -1: no file afterwards
    bool canRead, canWrite;
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
        fs::remove(path);
        if (c.exists)
            vfltest::WriteWholeFile(path, Pattern(10));

        Sys_File file(Sys_FileLoc{path});
        ASSERT_EQ(SystemErrorOf([&] { file.Open(c.mode); }), c.openErrno);
        EXPECT_EQ(file.IsOpen(), c.openErrno == 0);
        if (file.IsOpen())
        {
            char buffer[4];
            EXPECT_EQ(SystemErrorOf([&] { file.Read(buffer, 1); }), c.canRead ? 0 : EBADF);
            file.SetPosition(Sys_File::kFromEnd, 0);
            int const writeSome = SystemErrorOf(
                [&]
                {
                    file.Write("", 0);
                    file.Write("y", 1);
                });
            EXPECT_EQ(writeSome, c.canWrite ? 0 : EBADF);
            if (c.canWrite)
                file.SetEOF(c.sizeAfter < 0 ? 10 : c.sizeAfter);
            else if (!c.canRead)
            {
                EXPECT_EQ(SystemErrorOf([&] { file.SetEOF(0); }), EBADF);
            }
            EXPECT_EQ(file.GetEOF(), c.sizeAfter < 0 ? 10 : c.sizeAfter);
            file.Close();
        }
        EXPECT_FALSE(file.IsOpen());
        EXPECT_EQ(fs::exists(path) ? static_cast<int64>(fs::file_size(path)) : -1, c.sizeAfter);
    }
}

// A closed file, a folder and a second open: refused, and the file left as
// it was. StOpen closes at the end of its scope unless released.
TEST_F(SysFileTest, TransfersOfAClosedFileAndASecondOpenAreRefusedAndStOpenCloses)
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
    file.Close();
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

// Positions count from the start, the current one and the end, beyond 2
// and 4 GiB too; transfers give what there is; SetEOF zero-fills growth and
// keeps the position.
TEST_F(SysFileTest, PositionsTransfersAndSetEOFWorkFromEveryOriginAndBeyondFourGiB)
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
    Bytes const data = Pattern(100);
    auto file = Opened("r.bin", data, 0x103);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "from " << c.from << " offset " << c.offset);
        file->SetPosition(Sys_File::kFromStart, 30);
        EXPECT_EQ(SystemErrorOf([&] { file->SetPosition(c.from, c.offset); }), c.expected < 0 ? EINVAL : 0);
        if (c.expected >= 0)
        {
            EXPECT_EQ(file->GetPosition(), c.expected);
        }
    }

    // A read gives what there is and 0 at or past the end; counts are cut to
    // 32 bits; a write moves the high-water mark up only.
    char buffer[64] = {};
    file->SetPosition(Sys_File::kFromStart, 70);
    EXPECT_EQ(file->Read(buffer, 64), 30);
    EXPECT_EQ(0, std::memcmp(buffer, data.data() + 70, 30));
    EXPECT_EQ(file->GetPosition(), 100);
    EXPECT_EQ(file->Read(buffer, 64), 0);
    file->SetPosition(Sys_File::kFromStart, 500);
    EXPECT_EQ(file->Read(buffer, 64), 0);

    file->SetPosition(Sys_File::kFromStart, 0);
    EXPECT_EQ(file->Read(buffer, (int64{1} << 32) + 5), 5);
    EXPECT_EQ(file->GetPosition(), 5);
    EXPECT_EQ(file->Write(buffer, (int64{1} << 32) + 3), 3);
    EXPECT_EQ(file->GetPosition(), 8);
    EXPECT_EQ(file->Read(buffer, int64{1} << 32), 0);

    auto fresh = Opened("w.bin", {}, 0x203);
    fresh->Write("abcdef", 6);
    EXPECT_EQ(fresh->QelGetHighWaterMark(), 6);
    fresh->SetPosition(Sys_File::kFromStart, 2);
    fresh->Write("x", 1);
    EXPECT_EQ(fresh->QelGetHighWaterMark(), 6);

    auto small = Opened("e.bin", Pattern(10), 0x103);
    small->SetPosition(Sys_File::kFromStart, 4);
    small->SetEOF(100000);
    EXPECT_EQ(small->GetPosition(), 4);
    EXPECT_EQ(small->GetEOF(), 100000);
    small->SetEOF(6);
    EXPECT_EQ(small->GetEOF(), 6);
    small->SetEOF(20);
    small->Close();
    Bytes expected = Pattern(10);
    expected.resize(6);
    expected.resize(20, 0);
    EXPECT_EQ(vfltest::ReadWholeFile(PathOf("e.bin")), expected);

    auto sparse = Opened("sparse.bin", {}, 0x203);
    sparse->SetEOF(7 * kGiB);
    EXPECT_EQ(sparse->GetEOF(), 7 * kGiB);
    int64 const positions[] = {2 * kGiB - 1, 2 * kGiB, 3 * kGiB + 17, 4 * kGiB, 4 * kGiB + 1, 6 * kGiB + kGiB / 2};
    for (int64 const position : positions)
    {
        SCOPED_TRACE(position);
        sparse->SetPosition(Sys_File::kFromStart, position);
        EXPECT_EQ(sparse->GetPosition(), position);
        char const mark = static_cast<char>(position & 0x7F);
        EXPECT_EQ(sparse->Write(&mark, 1), 1);
        EXPECT_EQ(sparse->GetPosition(), position + 1);
        char back = 0;
        sparse->SetPosition(Sys_File::kFromCurrent, -1);
        EXPECT_EQ(sparse->Read(&back, 1), 1);
        EXPECT_EQ(back, mark);
    }
    sparse->SetPosition(Sys_File::kFromEnd, kGiB / 2);
    EXPECT_EQ(sparse->GetPosition(), 6 * kGiB + kGiB / 2);
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
        auto file = Opened("m.bin", original, 0x103);
        file->SetPosition(Sys_File::kFromStart, 123);
        EXPECT_EQ(SystemErrorOf([&] { file->MoveBlock(c.start, c.size, c.moveBy); }), c.err);
        EXPECT_EQ(file->GetPosition(), 123);
        file->Close();
        bool const untouched = c.err != 0 || c.moveBy == 0;
        EXPECT_EQ(vfltest::ReadWholeFile(PathOf("m.bin")),
                  untouched ? original : MoveOracle(original, c.start, c.size, c.moveBy));
    }
}

// ---------------------------------------------------------------- attributes

TEST_F(SysFileTest, AttributesAreTheSameClosedAndOpenFollowTheFileAndReadOnlyRefusesWrites)
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
    fs::remove(PathOf("a.bin"));
    EXPECT_FALSE(file.IsOnline());

    // A read-only file refuses writing with EACCES, to a user without privileges.
    std::string const path = PathOf("ro.bin");
    vfltest::WriteWholeFile(path, Pattern(3));
    fs::permissions(mDir.Path(), fs::perms::all);
    fs::permissions(path, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
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

TEST(SysFileAttrTest, PrintOfFileAndVolumeShowsTheLowThirtyTwoBitsOfTheSizes)
{
    std::ostringstream file, volume;
    Sys_FileAttr((int64{1} << 32) + 9, true, 130000000000000000LL, -2).Print(file);
    Sys_VolumeAttr(std::string("Audio"), (int64{1} << 32) + 7, 5, false).Print(volume);
    EXPECT_EQ(file.str(), "Size: 9 bytes\nRead-Only\nCreated: 130000000000000000\nModified: -2\n");
    EXPECT_EQ(volume.str(), "Volume Name: Audio\nVolume size: 7 bytes\nVolume Free Space: 5 bytes\n");
}

// ---------------------------------------------------------------- failures of the disk

// The injected failures: a short writer, a disk that fails after a number
// of bytes, as a full disk does, and room ahead refused.
int64 sFailAfter = 0;
int sFailErrno = 0;
int sFallocateErrno = 0;

int Fail(int err)
{
    errno = err;
    return -1;
}

// Transfers up to the failure point, then the failure.
template <class Buffer, class Call> int64 FailAfter(int fd, Buffer buffer, uint64 count, int64 offset, Call call)
{
    if (offset >= sFailAfter)
        return Fail(sFailErrno);
    return call(fd, buffer, std::min<uint64>(count, static_cast<uint64>(sFailAfter - offset)), offset);
}

int64 FailingPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    return FailAfter(fd, buffer, count, offset, Sys_FilePosixCalls::System().pwrite);
}

int64 FailingPread(int fd, void* buffer, uint64 count, int64 offset)
{
    return FailAfter(fd, buffer, count, offset, Sys_FilePosixCalls::System().pread);
}

// Short writes are carried on; failures surface with their errno.
TEST_F(SysFileTest, ShortWritesAreCarriedOnAndInjectedFailuresSurfaceWithTheirErrno)
{
    Bytes const data = Pattern(10000);
    {
        vfltest::StFilePosixCalls calls;
        calls.Calls().pwrite = [](int fd, void const* buffer, uint64 count, int64 offset)
        { return Sys_FilePosixCalls::System().pwrite(fd, buffer, std::min<uint64>(count, 3), offset); };
        auto file = Opened("s.bin", {}, 0x201);
        EXPECT_EQ(file->Write(data.data(), 1000), 1000);
        EXPECT_EQ(file->GetPosition(), 1000);
    }
    EXPECT_EQ(vfltest::ReadWholeFile(PathOf("s.bin")), Bytes(data.begin(), data.begin() + 1000));

    struct Case
    {
        char const* name;
        int err;
        int64 failAfter;
    };
    Case const cases[] = {
        {"EIO at once", EIO, 0}, {"ENOSPC after 100 bytes", ENOSPC, 100}, {"EIO after 4097", EIO, 4097}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        vfltest::StFilePosixCalls calls;
        sFailAfter = c.failAfter;
        sFailErrno = c.err;
        calls.Calls().pwrite = &FailingPwrite;
        calls.Calls().pread = &FailingPread;
        calls.Calls().ftruncate = [](int, int64) { return Fail(sFailErrno); };
        auto file = Opened("f.bin", {}, 0x203);
        EXPECT_EQ(SystemErrorOf([&] { file->Write(data.data(), 10000); }), c.err);
        EXPECT_EQ(file->GetPosition(), c.failAfter);
        EXPECT_EQ(file->GetEOF(), c.failAfter);
        file->SetPosition(Sys_File::kFromStart, 0);
        char buffer[64];
        EXPECT_EQ(SystemErrorOf([&] { file->Read(buffer, 64); }), c.failAfter >= 64 ? 0 : c.err);
        EXPECT_EQ(SystemErrorOf([&] { file->SetEOF(5); }), c.err);
        file->Close();
        EXPECT_EQ(Bytes(data.begin(), data.begin() + c.failAfter), vfltest::ReadWholeFile(PathOf("f.bin")));
    }
}

// Room taken ahead: without a change of length where the file system takes
// it, as zeros where it cannot; a full disk leaves the file as it was.
TEST_F(SysFileTest, ReserveTakesRoomOrLeavesTheFileAsItWas)
{
    struct Case
    {
        char const* name;
        int fallocateErrno; // 0: the system's
        int64 diskFullAt;   // the offset writes fail at (ENOSPC); -1: never
        int err;
        int64 eof;
    } const cases[] = {
        {"taken ahead", 0, -1, 0, 10},
        {"full disk", ENOSPC, -1, ENOSPC, 10},
        {"no room ahead here: zeros", EOPNOTSUPP, -1, 0, 70000},
        {"no room ahead, and the disk fills", EOPNOTSUPP, 40000, ENOSPC, 10},
    };
    vfltest::WriteWholeFile(PathOf("probe"), {});
    int const probe = ::open(PathOf("probe").c_str(), O_RDWR);
    bool const takesRoomAhead = Sys_FilePosixCalls::System().fallocate(probe, 0, 4096) == 0;
    ::close(probe);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        if (c.fallocateErrno == 0 && !takesRoomAhead)
            continue; // the file system of the test folder does not
        vfltest::StFilePosixCalls calls;
        if (c.fallocateErrno != 0)
        {
            sFallocateErrno = c.fallocateErrno;
            calls.Calls().fallocate = [](int, int64, int64) { return Fail(sFallocateErrno); };
        }
        if (c.diskFullAt >= 0)
        {
            sFailAfter = c.diskFullAt;
            sFailErrno = ENOSPC;
            calls.Calls().pwrite = &FailingPwrite;
        }
        auto file = Opened("r.bin", Pattern(10), 0x103);
        file->SetPosition(Sys_File::kFromStart, 4);
        EXPECT_EQ(SystemErrorOf([&] { file->Reserve(70000); }), c.err);
        EXPECT_EQ(file->GetPosition(), 4);
        EXPECT_EQ(file->GetEOF(), c.eof);
        file->Reserve(5); // a file that long already: nothing to do
        file->Close();
        Bytes expected = Pattern(10);
        expected.resize(static_cast<std::size_t>(c.eof), 0);
        EXPECT_EQ(vfltest::ReadWholeFile(PathOf("r.bin")), expected);
        struct stat st = {};
        if (c.err == 0 && ::stat(PathOf("r.bin").c_str(), &st) == 0)
        {
            EXPECT_GE(st.st_blocks * 512, 70000) << "no room taken";
        }
    }
}

// ---------------------------------------------------------------- the unbuffered path

constexpr int32 kUnbuffered = Sys_File::kOpenUnbuffered | Sys_File::kOpenAsync;
constexpr int32 kReadWrite = Sys_File::kOpenRead | Sys_File::kOpenWrite | Sys_File::kOpenExisting;
constexpr uint64 kSector = 512;

// The sector-enforcing file system. Descriptors are named f0, f1, ... in
// the order they were opened, so that logs do not depend on numbers.
class SectorFake
{
public:
    SectorFake()
    {
        sCurrent = this;
        Sys_FilePosixCalls& calls = mSaved.Calls();
        calls.open = &Open;
        calls.close = [](int fd)
        {
            sCurrent->mNames.erase(fd);
            return Real().close(fd);
        };
        calls.pread = [](int fd, void* buffer, uint64 count, int64 offset)
        { return Transfer("pread", fd, buffer, count, offset, Real().pread); };
        calls.pwrite = [](int fd, void const* buffer, uint64 count, int64 offset)
        { return Transfer("pwrite", fd, buffer, count, offset, Real().pwrite); };
        calls.preadv = &Preadv;
        calls.ftruncate = [](int fd, int64 length)
        {
            sCurrent->mLog.push_back("ftruncate " + sCurrent->Name(fd) + " " + std::to_string(length));
            return Real().ftruncate(fd, length);
        };
    }
    ~SectorFake() { sCurrent = nullptr; }

    // The calls since the last look, joined by ", ".
    std::string TakeLog()
    {
        std::string joined;
        for (std::string const& entry : std::exchange(mLog, {}))
            joined += (joined.empty() ? "" : ", ") + entry;
        return joined;
    }

private:
    static Sys_FilePosixCalls const& Real() { return Sys_FilePosixCalls::System(); }

    std::string Name(int fd) { return mNames.count(fd) ? mNames[fd] : "f?"; }

    bool Aligned(int fd, void const* buffer, uint64 count, int64 offset)
    {
        if (!mDirect[fd])
            return true;
        return offset % static_cast<int64>(kSector) == 0 && count % kSector == 0 &&
               reinterpret_cast<std::uintptr_t>(buffer) % kSector == 0;
    }

    static int Open(char const* path, int flags, unsigned mode)
    {
        int const fd = Real().open(path, flags & ~O_DIRECT, mode);
        if (fd >= 0)
        {
            sCurrent->mNames[fd] = "f" + std::to_string(sCurrent->mOpened++);
            sCurrent->mDirect[fd] = (flags & O_DIRECT) != 0;
            sCurrent->mLog.push_back("open " + sCurrent->Name(fd) + ((flags & O_DIRECT) ? " direct" : ""));
        }
        return fd;
    }
    // Logs a transfer of these lengths; false, with EINVAL, if it is off the grid.
    static bool Allowed(char const* what, int fd, std::string const& lengths, int64 offset, bool aligned)
    {
        std::string const entry = std::string(what) + " " + sCurrent->Name(fd) + " " + lengths + " @" +
                                  std::to_string(offset) + (aligned ? "" : " EINVAL");
        sCurrent->mLog.push_back(entry);
        if (!aligned)
            errno = EINVAL;
        return aligned;
    }
    template <class Buffer, class Call>
    static int64 Transfer(char const* what, int fd, Buffer buffer, uint64 count, int64 offset, Call call)
    {
        bool const aligned = sCurrent->Aligned(fd, buffer, count, offset);
        return Allowed(what, fd, std::to_string(count), offset, aligned) ? call(fd, buffer, count, offset) : -1;
    }
    // Logged as the lengths of its pieces: "preadv f0 512+1024+512 @0".
    static int64 Preadv(int fd, Sys_FilePosixCalls::Segment const* segments, int count, int64 offset)
    {
        std::string lengths;
        bool aligned = true;
        for (int i = 0; i < count; ++i)
        {
            lengths += (i ? "+" : "") + std::to_string(segments[i].length);
            aligned = aligned && sCurrent->Aligned(fd, segments[i].base, segments[i].length, offset);
        }
        return Allowed("preadv", fd, lengths, offset, aligned) ? Real().preadv(fd, segments, count, offset) : -1;
    }

    static inline SectorFake* sCurrent = nullptr;
    vfltest::StFilePosixCalls mSaved;
    std::vector<std::string> mLog;
    std::map<int, std::string> mNames;
    std::map<int, bool> mDirect;
    int mOpened = 0;
};

// Memory whose byte at index `at` lies on a sector boundary: where an
// unbuffered transfer wants the middle of the caller's buffer.
class AlignedAt
{
public:
    AlignedAt(uint64 size, uint64 at, uint64 sector = kSector) : mMemory(size + 3 * sector)
    {
        uint64 const skew = reinterpret_cast<std::uintptr_t>(mMemory.data()) % sector;
        mBytes = mMemory.data() + (sector - skew) % sector + (sector - at % sector) % sector;
    }
    std::uint8_t* Get() const { return mBytes; }

private:
    Bytes mMemory;
    std::uint8_t* mBytes;
};

class SysFileUnbufferedTest : public SysFileTest
{
protected:
    // An unbuffered file of these bytes, with 512-byte sectors.
    std::unique_ptr<Sys_File> OpenWith(Bytes const& content, int32 mode = kReadWrite | kUnbuffered)
    {
        return Opened("file.bin", content, mode, static_cast<int32>(kSector));
    }
    Bytes OnDisk() const { return vfltest::ReadWholeFile(PathOf("file.bin")); }
    void MatchPlainTransfers(Sys_File& file, int64 sector, unsigned seed);
};

// ---------------------------------------------------------------- exact call logs

// Reads go through whole sectors and give the exact bytes, zeros past the
// end; writes merge the head and tail sectors and cut the file exactly.
TEST_F(SysFileUnbufferedTest, TransfersGoThroughWholeSectorsAndKeepTheBytesExact)
{
    struct Case
    {
        char const* name;
        bool write;
        int64 fileSize, position, count;
        char const* log;
    } const cases[] = {
        {"read one byte inside a sector", false, 2048, 1000, 1, "pread f0 512 @512"},
        {"read aligned: the head sector through the buffer, the rest direct", false, 2048, 512, 1024,
         "preadv f0 512+512 @512"},
        {"read one byte more adds a tail sector", false, 2048, 512, 1025, "preadv f0 512+512+512 @512"},
        {"read head, middle and tail", false, 4096, 100, 1500, "preadv f0 512+1024+512 @0"},
        {"read nothing", false, 2048, 700, 0, ""},
        {"read the short last sector: zeros past the end", false, 1000, 990, 20, "pread f0 512 @512"},
        {"write ten bytes into an empty file", true, 0, 0, 10, "pread f0 512 @0, pwrite f0 512 @0, ftruncate f0 10"},
        {"write inside a file: the end stays", true, 2048, 1000, 20,
         "pread f0 512 @512, pwrite f0 512 @512, ftruncate f0 2048"},
        {"write head, middle and tail", true, 2048, 100, 1500,
         "pread f0 512 @0, pwrite f0 512 @0, pwrite f0 1024 @512, pread f0 512 @1536, pwrite f0 512 @1536, "
         "ftruncate f0 2048"},
        {"write over the end", true, 1000, 900, 300,
         "pread f0 512 @512, pwrite f0 512 @512, pread f0 512 @1024, pwrite f0 512 @1024, ftruncate f0 1200"},
        {"write nothing: only the cut, at the old size", true, 1000, 300, 0, "ftruncate f0 1000"},
        {"write past the end leaves a hole of zeros", true, 100, 1300, 20,
         "pread f0 512 @1024, pwrite f0 512 @1024, ftruncate f0 1320"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bytes expected = Pattern(static_cast<size_t>(c.fileSize), c.write ? 5 : 11);
        Bytes const data = Pattern(static_cast<size_t>(c.count), 6);
        SectorFake fake;
        auto file = OpenWith(expected);
        fake.TakeLog();
        file->SetPosition(Sys_File::kFromStart, c.position);
        uint64 const head = std::min<uint64>(c.count, kSector - c.position % kSector);
        AlignedAt buffer(c.count, head);
        if (c.write)
            std::copy(data.begin(), data.end(), buffer.Get());
        // The count asked for, even past the end.
        EXPECT_EQ(c.write ? file->Write(buffer.Get(), c.count) : file->Read(buffer.Get(), c.count), c.count);
        EXPECT_EQ(fake.TakeLog(), c.log);
        EXPECT_EQ(file->GetPosition(), c.position + c.count);
        file->Close();

        if (c.position + c.count > c.fileSize)
            expected.resize(static_cast<size_t>(c.position + c.count), 0);
        if (c.write)
        {
            std::copy(data.begin(), data.end(), expected.begin() + c.position);
            EXPECT_EQ(OnDisk(), expected);
        }
        else
            EXPECT_EQ(Bytes(buffer.Get(), buffer.Get() + c.count),
                      Bytes(expected.begin() + c.position, expected.begin() + c.position + c.count));
    }
}

// Random transfers on an unbuffered file and the same ones, plain, on a
// copy: the bytes read, the sizes and the final contents agree. Only a
// sector the file lacks altogether is an error.
void SysFileUnbufferedTest::MatchPlainTransfers(Sys_File& file, int64 sector, unsigned seed)
{
    SCOPED_TRACE(sector);
    std::string const path = file.GetFileLoc().GetFullPath();
    std::string const oraclePath = PathOf("oracle.bin");
    vfltest::WriteWholeFile(oraclePath, vfltest::ReadWholeFile(path));
    Sys_File oracle{Sys_FileLoc(oraclePath)};
    oracle.Open(kReadWrite);
    std::mt19937 random(seed);
    for (int step = 0; step < 400; ++step)
    {
        int64 const size = oracle.GetEOF();
        bool const write = random() % 2 == 0;
        int64 const position = static_cast<int64>(random() % static_cast<uint32>(size + sector + 200));
        int64 const count = static_cast<int64>(random() % static_cast<uint32>(5 * sector));
        SCOPED_TRACE(testing::Message() << "step " << step << (write ? " write " : " read ") << count << " @"
                                        << position << " of " << size);
        uint64 const head = std::min<uint64>(count, sector - position % sector);
        AlignedAt buffer(count, head, sector);
        oracle.SetPosition(Sys_File::kFromStart, position);
        file.SetPosition(Sys_File::kFromStart, position);
        if (write)
        {
            Bytes const data = Pattern(static_cast<size_t>(count), step);
            std::copy(data.begin(), data.end(), buffer.Get());
            ASSERT_EQ(oracle.Write(data.data(), count), count);
            ASSERT_EQ(file.Write(buffer.Get(), count), count);
            ASSERT_EQ(file.GetEOF(), oracle.GetEOF());
        }
        else
        {
            Bytes expected(static_cast<size_t>(count));
            int64 const got = oracle.Read(expected.data(), count);
            int64 const firstSector = position - position % sector;
            int64 const lastSector = (position + count - 1) - (position + count - 1) % sector;
            bool const missing = count > 0 && (firstSector >= size || lastSector >= size);
            int const err = vfltest::SystemErrorOf([&] { EXPECT_EQ(file.Read(buffer.Get(), count), count); });
            ASSERT_EQ(err, missing ? Sys_File::kErrHandleEOF : 0);
            if (missing)
                continue;
            for (int64 i = 0; i < count; ++i)
                ASSERT_EQ(buffer.Get()[i], i < got ? expected[static_cast<size_t>(i)] : 0) << "byte " << i;
        }
        ASSERT_EQ(file.GetPosition(), position + count);
    }
    file.Close();
    EXPECT_EQ(vfltest::ReadWholeFile(path), vfltest::ReadWholeFile(oraclePath));
}

TEST_F(SysFileUnbufferedTest, RandomReadsAndWritesThroughTheFakeAndOnTheRealDiskMatchPlainTransfers)
{
    {
        SectorFake fake;
        MatchPlainTransfers(*OpenWith(Pattern(6000, 21)), kSector, 1234);
        EXPECT_EQ(fake.TakeLog().find("EINVAL"), std::string::npos);
    }

    // Whatever the file system of the temporary folder asks for, with O_DIRECT.
    auto direct = Opened("direct.bin", Pattern(20000, 22), kReadWrite | kUnbuffered);
    MatchPlainTransfers(*direct, static_cast<int64>(Posix(*direct).GetUnbufferedSectorSize()), 99);
}

// An ext4 file system on a loop device with 4096-byte sectors, mounted for
// the length of a test; only for root, with the tools there.
class LoopVolume
{
public:
    explicit LoopVolume(vfltest::TempDir const& dir) : mMount(dir.File("mnt"))
    {
        std::string const image = dir.File("volume.img");
        if (::geteuid() != 0)
            mWhyNot = "not root";
        else if (vfltest::RunCommand("truncate -s 64M " + image + " && mkfs.ext4 -q -b 4096 " + image +
                                         " 2>/dev/null && losetup --sector-size 4096 -f --show " + image +
                                         " 2>/dev/null",
                                     &mDevice) != 0 ||
                 mDevice.empty())
        {
            mDevice.clear();
            mWhyNot = "no loop device with 4096-byte sectors";
        }
        else
        {
            mDevice = mDevice.substr(0, mDevice.find('\n'));
            mMounted = std::make_unique<vfltest::StMount>(mDevice, mMount);
            if (!mMounted->Mounted())
                mWhyNot = "cannot mount " + mDevice;
        }
    }
    ~LoopVolume()
    {
        mMounted.reset();
        if (!mDevice.empty())
            vfltest::RunCommand("losetup -d " + mDevice);
    }
    std::string const& WhyNot() const { return mWhyNot; }
    std::string File(std::string const& name) const { return mMount + "/" + name; }

private:
    std::string mMount, mDevice, mWhyNot;
    std::unique_ptr<vfltest::StMount> mMounted;
};

TEST_F(SysFileUnbufferedTest, OnA4KSectorVolumeTheSectorIsLearnedAndTransfersStayExact)
{
    LoopVolume volume(mDir);
    if (!volume.WhyNot().empty())
        GTEST_SKIP() << volume.WhyNot();

    std::string const path = volume.File("direct.bin");
    vfltest::WriteWholeFile(path, Pattern(50000, 23));

    // The file system enforces the rule itself: a transfer off the grid fails.
    {
        int const fd = ::open(path.c_str(), O_RDONLY | O_DIRECT);
        ASSERT_GE(fd, 0);
        AlignedAt buffer(512, 0, 4096);
        errno = 0;
        EXPECT_EQ(::pread(fd, buffer.Get(), 512, 512), -1);
        EXPECT_EQ(errno, EINVAL);
        ::close(fd);
    }

    Sys_File file{Sys_FileLoc(path)};
    file.Open(kReadWrite | kUnbuffered);
    ASSERT_EQ(Posix(file).GetUnbufferedSectorSize(), 4096u);
    MatchPlainTransfers(file, 4096, 7);
}

// ---------------------------------------------------------------- the zero-fill handle

struct StZeroFill
{
    StZeroFill() { Sys_FilePosix::SetZeroFillingOnFATSubverted(true); }
    ~StZeroFill() { Sys_FilePosix::SetZeroFillingOnFATSubverted(false); }
};

TEST_F(SysFileUnbufferedTest, SetEOFGrowsBySectorsThroughTheZeroFillHandle)
{
    StZeroFill zeroFill;
    SectorFake fake;
    int32 const shared = kReadWrite | Sys_File::kOpenShareRead | Sys_File::kOpenShareWrite;
    auto file = OpenWith({}, shared);
    EXPECT_EQ(fake.TakeLog(), "open f0, open f1 direct");
    file->SetPosition(Sys_File::kFromStart, 77);

    struct Step
    {
        int64 size;
        char const* log;
    } const steps[] = {
        {1000, "ftruncate f1 512, pwrite f1 512 @512, ftruncate f0 1000"},
        {1100, "ftruncate f0 1100"}, // less than a sector more
        {1611, "ftruncate f0 1611"}, // one byte short of a sector more
        {2048, "ftruncate f0 2048"},
        {4096, "ftruncate f1 3584, pwrite f1 512 @3584, ftruncate f0 4096"}, // on a boundary
        {100, "ftruncate f0 100"},                                           // shrinking
    };
    for (Step const& step : steps)
    {
        SCOPED_TRACE(step.size);
        file->SetEOF(step.size);
        EXPECT_EQ(fake.TakeLog(), step.log);
        EXPECT_EQ(file->GetEOF(), step.size);
        EXPECT_EQ(file->GetPosition(), 77);
    }
    file->SetEOF(3000);
    file->Close();
    EXPECT_EQ(OnDisk(), Bytes(3000, 0));

    // Not for a file opened without both share bits, nor for an unbuffered one.
    for (int32 mode : {kReadWrite, shared | kUnbuffered})
    {
        auto other = OpenWith({}, mode);
        EXPECT_EQ(Posix(*other).GetZeroFillHandle(), -1);
    }
}

} // namespace
