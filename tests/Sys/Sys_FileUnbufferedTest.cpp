// The unbuffered path of Sys_File through a file system that enforces the
// sector rule: every call is logged, and a misaligned offset, count or
// buffer fails with EINVAL, as ext4 on a 4K-sector device does. The real
// file underneath is opened without O_DIRECT, so the rule the test sees is
// the fake's alone, whatever the machine's disk.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Sys/Posix/Sys_FilePosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys_FileTestSupport.h"

namespace
{

using Bytes = std::vector<std::uint8_t>;
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
        calls.close = &Close;
        calls.pread = &Pread;
        calls.pwrite = &Pwrite;
        calls.preadv = &Preadv;
        calls.ftruncate = &Ftruncate;
    }
    ~SectorFake() { sCurrent = nullptr; }

    std::vector<std::string> TakeLog() { return std::exchange(mLog, {}); }

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
    static int Close(int fd)
    {
        sCurrent->mNames.erase(fd);
        return Real().close(fd);
    }
    template <class Buffer, class Call>
    static int64 Transfer(char const* what, int fd, Buffer buffer, uint64 count, int64 offset, Call call)
    {
        std::string entry =
            std::string(what) + " " + sCurrent->Name(fd) + " " + std::to_string(count) + " @" + std::to_string(offset);
        if (!sCurrent->Aligned(fd, buffer, count, offset))
        {
            sCurrent->mLog.push_back(entry + " EINVAL");
            errno = EINVAL;
            return -1;
        }
        sCurrent->mLog.push_back(entry);
        return call(fd, buffer, count, offset);
    }
    static int64 Pread(int fd, void* buffer, uint64 count, int64 offset)
    {
        return Transfer("pread", fd, buffer, count, offset, Real().pread);
    }
    static int64 Pwrite(int fd, void const* buffer, uint64 count, int64 offset)
    {
        return Transfer("pwrite", fd, buffer, count, offset, Real().pwrite);
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
        std::string const entry = "preadv " + sCurrent->Name(fd) + " " + lengths + " @" + std::to_string(offset);
        if (!aligned)
        {
            sCurrent->mLog.push_back(entry + " EINVAL");
            errno = EINVAL;
            return -1;
        }
        sCurrent->mLog.push_back(entry);
        return Real().preadv(fd, segments, count, offset);
    }
    static int Ftruncate(int fd, int64 length)
    {
        sCurrent->mLog.push_back("ftruncate " + sCurrent->Name(fd) + " " + std::to_string(length));
        return Real().ftruncate(fd, length);
    }

    static inline SectorFake* sCurrent = nullptr;
    vfltest::StFilePosixCalls mSaved;
    std::vector<std::string> mLog;
    std::map<int, std::string> mNames;
    std::map<int, bool> mDirect;
    int mOpened = 0;
};

using vfltest::Pattern;

// Memory whose byte at index `at` lies on a sector boundary: where an
// unbuffered transfer wants the middle of the caller's buffer.
class AlignedAt
{
public:
    AlignedAt(uint64 size, uint64 at, uint64 sector = kSector)
    {
        uint64 const lead = (sector - at % sector) % sector;
        void* memory = nullptr;
        EXPECT_EQ(::posix_memalign(&memory, std::max<uint64>(sector, sizeof(void*)), size + lead + sector), 0);
        mMemory.reset(static_cast<std::uint8_t*>(memory));
        mBytes = mMemory.get() + lead;
    }
    std::uint8_t* Get() const { return mBytes; }

private:
    struct Free
    {
        void operator()(std::uint8_t* p) const { std::free(p); }
    };
    std::unique_ptr<std::uint8_t, Free> mMemory;
    std::uint8_t* mBytes = nullptr;
};

class SysFileUnbufferedTest : public vfltest::SysFolderTest
{
protected:
    // An unbuffered file of these bytes, with 512-byte sectors.
    std::unique_ptr<Sys_File> OpenWith(Bytes const& content, int32 mode = kReadWrite | kUnbuffered)
    {
        std::string const path = mDir.File("file.bin");
        vfltest::WriteWholeFile(path, content);
        auto file = std::make_unique<Sys_File>(Sys_FileLoc(path));
        Posix(*file).SetSectorSizeOverride(static_cast<int32>(kSector));
        file->Open(mode);
        return file;
    }
    static Sys_FilePosix& Posix(Sys_File& file) { return dynamic_cast<Sys_FilePosix&>(*file.GetImpl()); }
    Bytes OnDisk() const { return vfltest::ReadWholeFile(mDir.File("file.bin")); }
    void MatchPlainTransfers(Sys_File& file, int64 sector, unsigned seed);
};

// ---------------------------------------------------------------- exact call logs

struct TransferCase
{
    char const* name;
    int64 fileSize;
    int64 position;
    int64 count;
    std::vector<std::string> log;
};

TEST_F(SysFileUnbufferedTest, ReadsGoThroughWholeSectorsAndGiveTheExactBytes)
{
    TransferCase const cases[] = {
        {"one byte inside a sector", 2048, 1000, 1, {"pread f0 512 @512"}},
        {"aligned: the head sector through the buffer, the rest direct", 2048, 512, 1024, {"preadv f0 512+512 @512"}},
        {"one byte more adds a tail sector", 2048, 512, 1025, {"preadv f0 512+512+512 @512"}},
        {"head, middle and tail", 4096, 100, 1500, {"preadv f0 512+1024+512 @0"}},
        {"nothing", 2048, 700, 0, {}},
        {"the short last sector: zeros past the end", 1000, 990, 20, {"pread f0 512 @512"}},
    };
    for (TransferCase const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bytes const content = Pattern(static_cast<size_t>(c.fileSize), 11);
        SectorFake fake;
        auto file = OpenWith(content);
        fake.TakeLog();
        file->SetPosition(Sys_File::kFromStart, c.position);
        uint64 const head = std::min<uint64>(c.count, kSector - c.position % kSector);
        AlignedAt buffer(c.count, head);
        EXPECT_EQ(file->Read(buffer.Get(), c.count), c.count); // the count asked for, even past the end
        EXPECT_EQ(fake.TakeLog(), c.log);
        EXPECT_EQ(file->GetPosition(), c.position + c.count);
        for (int64 i = 0; i < c.count; ++i)
        {
            int64 const at = c.position + i;
            std::uint8_t const expected = at < c.fileSize ? content[static_cast<size_t>(at)] : 0;
            ASSERT_EQ(buffer.Get()[i], expected) << "byte " << at;
        }
    }
}

TEST_F(SysFileUnbufferedTest, WritesMergeHeadAndTailSectorsAndCutTheFileExactly)
{
    TransferCase const cases[] = {
        {"ten bytes into an empty file", 0, 0, 10, {"pread f0 512 @0", "pwrite f0 512 @0", "ftruncate f0 10"}},
        {"inside a file: the end stays",
         2048,
         1000,
         20,
         {"pread f0 512 @512", "pwrite f0 512 @512", "ftruncate f0 2048"}},
        {"head, middle and tail",
         2048,
         100,
         1500,
         {"pread f0 512 @0", "pwrite f0 512 @0", "pwrite f0 1024 @512", "pread f0 512 @1536", "pwrite f0 512 @1536",
          "ftruncate f0 2048"}},
        {"over the end",
         1000,
         900,
         300,
         {"pread f0 512 @512", "pwrite f0 512 @512", "pread f0 512 @1024", "pwrite f0 512 @1024", "ftruncate f0 1200"}},
        {"nothing: only the cut, at the old size", 1000, 300, 0, {"ftruncate f0 1000"}},
        {"past the end leaves a hole of zeros",
         100,
         1300,
         20,
         {"pread f0 512 @1024", "pwrite f0 512 @1024", "ftruncate f0 1320"}},
    };
    for (TransferCase const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bytes expected = Pattern(static_cast<size_t>(c.fileSize), 5);
        Bytes const data = Pattern(static_cast<size_t>(c.count), 6);
        SectorFake fake;
        auto file = OpenWith(expected);
        fake.TakeLog();
        file->SetPosition(Sys_File::kFromStart, c.position);
        uint64 const head = std::min<uint64>(c.count, kSector - c.position % kSector);
        AlignedAt buffer(c.count, head);
        std::copy(data.begin(), data.end(), buffer.Get());
        EXPECT_EQ(file->Write(buffer.Get(), c.count), c.count);
        EXPECT_EQ(fake.TakeLog(), c.log);
        EXPECT_EQ(file->GetPosition(), c.position + c.count);
        file->Close();

        if (c.position + c.count > c.fileSize)
            expected.resize(static_cast<size_t>(c.position + c.count), 0);
        std::copy(data.begin(), data.end(), expected.begin() + c.position);
        EXPECT_EQ(OnDisk(), expected);
    }
}

// Random transfers on an unbuffered file and the same ones, plain, on a
// copy: the bytes read, the sizes and the final contents agree. Only a
// sector the file lacks altogether is an error.
void SysFileUnbufferedTest::MatchPlainTransfers(Sys_File& file, int64 sector, unsigned seed)
{
    SCOPED_TRACE(sector);
    std::string const path = file.GetFileLoc().GetFullPath();
    std::string const oraclePath = mDir.File("oracle.bin");
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

TEST_F(SysFileUnbufferedTest, RandomReadsAndWritesMatchPlainTransfers)
{
    SectorFake fake;
    auto file = OpenWith(Pattern(6000, 21));
    MatchPlainTransfers(*file, kSector, 1234);
    for (std::string const& entry : fake.TakeLog())
        ASSERT_EQ(entry.find("EINVAL"), std::string::npos) << entry;
}

TEST_F(SysFileUnbufferedTest, RandomTransfersOnTheRealDiskMatchPlainTransfers)
{
    // Whatever the file system of the temporary folder asks for, with O_DIRECT.
    std::string const path = mDir.File("direct.bin");
    vfltest::WriteWholeFile(path, Pattern(20000, 22));
    Sys_File file{Sys_FileLoc(path)};
    file.Open(kReadWrite | kUnbuffered);
    MatchPlainTransfers(file, static_cast<int64>(Posix(file).GetUnbufferedSectorSize()), 99);
}

// An ext4 file system on a loop device with 4096-byte sectors, mounted for
// the length of a test; only for root, with the tools there.
class LoopVolume
{
public:
    explicit LoopVolume(vfltest::TempDir const& dir) : mImage(dir.File("volume.img")), mMount(dir.File("mnt"))
    {
        if (::geteuid() != 0)
        {
            mWhyNot = "not root";
            return;
        }
        std::string device;
        if (vfltest::RunCommand("truncate -s 64M " + mImage + " && mkfs.ext4 -q -b 4096 " + mImage +
                                    " 2>/dev/null && losetup --sector-size 4096 -f --show " + mImage + " 2>/dev/null",
                                &device) != 0 ||
            device.empty())
        {
            mWhyNot = "no loop device with 4096-byte sectors";
            return;
        }
        mDevice = device.substr(0, device.find('\n'));
        if (vfltest::RunCommand("mkdir -p " + mMount + " && mount " + mDevice + " " + mMount + " 2>/dev/null") != 0)
            mWhyNot = "cannot mount " + mDevice;
        else
            mMounted = true;
    }
    ~LoopVolume()
    {
        if (mMounted)
            vfltest::RunCommand("umount " + mMount);
        if (!mDevice.empty())
            vfltest::RunCommand("losetup -d " + mDevice);
    }
    std::string const& WhyNot() const { return mWhyNot; }
    std::string File(std::string const& name) const { return mMount + "/" + name; }

private:
    std::string mImage;
    std::string mMount;
    std::string mDevice;
    std::string mWhyNot;
    bool mMounted = false;
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
    EXPECT_EQ(fake.TakeLog(), (std::vector<std::string>{"open f0", "open f1 direct"}));
    file->SetPosition(Sys_File::kFromStart, 77);

    struct Step
    {
        int64 size;
        std::vector<std::string> log;
    } const steps[] = {
        {1000, {"ftruncate f1 512", "pwrite f1 512 @512", "ftruncate f0 1000"}},
        {1100, {"ftruncate f0 1100"}}, // less than a sector more
        {1611, {"ftruncate f0 1611"}}, // one byte short of a sector more
        {2048, {"ftruncate f0 2048"}},
        {4096, {"ftruncate f1 3584", "pwrite f1 512 @3584", "ftruncate f0 4096"}}, // on a boundary
        {100, {"ftruncate f0 100"}},                                               // shrinking
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
