// VORN files: the resources of their fork as bytes, laid out big-endian as
// Macintosh systems write them (expected bytes spelled out by hand) and
// what the readers refuse or pass over; then files on disk through
// FF_AudioFile, beyond what every format does (FormatMatrixTest): files laid
// out by hand as a Mac writes them, and files that are refused, without
// anything being written for them.
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioInstrumentAttr.h"
#include "FF/PlugIns/VORNResourceCodec.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_ResourceFork.h"
#include "support/InstrumentCompare.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

namespace
{
using C = VORNResourceCodec;
using Bytes = C::Bytes;

// "00 01 ff" to bytes; blanks are ignored.
Bytes Hex(std::string const& text)
{
    Bytes out;
    std::string digits;
    for (char c : text)
        if (c != ' ')
            digits += c;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        out.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return out;
}

// Fresh region identifiers come from the system layer's clock.
class VORNResourceCodec : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }
};

PlugInRegion Region(std::uint64_t start, std::uint64_t stop, std::uint64_t sync, std::string const& name)
{
    PlugInRegion r = {};
    r.startSample = start;
    r.stopSample = stop;
    r.syncSample = sync;
    r.userTimeStamp = 7;
    r.originalTimeStamp = 0xFFFFFFFFFFFFFFFEull; // -2
    r.nameLength = static_cast<std::uint8_t>(name.size());
    std::memcpy(r.name, name.data(), std::min<std::size_t>(name.size(), 31));
    return r;
}

TEST_F(VORNResourceCodec, RegionsAreBigEndianRecordsBehindTheirHeaderOrIgnored)
{
    Bytes const bytes = C::EncodeRegions({Region(0x10203, 0x1FFFFFFFF, 5, "Intro")});
    Bytes expected = Hex("0001 0000000c 00000038 00000000 00000001"
                         "00000000 00010203 ffffffff 00000005 00000007 fffffffe 05 496e74726f");
    expected.resize(18 + 56, 0);
    EXPECT_EQ(bytes, expected);

    std::vector<PlugInRegion> back;
    ASSERT_TRUE(C::DecodeRegions(bytes, &back));
    ASSERT_EQ(back.size(), 1u);
    // Cut to 32 bits on the way out, sign-extended on the way in.
    EXPECT_EQ(back[0].startSample, 0x10203u);
    EXPECT_EQ(back[0].stopSample, ~std::uint64_t{0});
    EXPECT_EQ(back[0].originalTimeStamp, 0xFFFFFFFFFFFFFFFEull);
    EXPECT_EQ(std::string(back[0].name, back[0].nameLength), "Intro");
    // Regions have no identity on disk: each read gives new ones.
    std::vector<PlugInRegion> again;
    ASSERT_TRUE(C::DecodeRegions(bytes, &again));
    EXPECT_NE(std::memcmp(again[0].umid, back[0].umid, 16), 0);

    // Lists of another shape are ignored.
    struct Case
    {
        char const* what;
        std::size_t at;
        Bytes patch;
        std::size_t size;
    } const cases[] = {
        {"record size 48", 6, Hex("00000030"), bytes.size()},
        {"version 2", 0, Hex("0002"), bytes.size()},
        {"second field 10", 2, Hex("0000000a"), bytes.size()},
        {"a partial record", 0, {}, bytes.size() - 1},
        {"shorter than the header", 0, {}, 17},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        Bytes bad = bytes;
        std::copy(c.patch.begin(), c.patch.end(), bad.begin() + static_cast<std::ptrdiff_t>(c.at));
        bad.resize(c.size);
        back = {Region(1, 2, 1, "stale")};
        EXPECT_FALSE(C::DecodeRegions(bad, &back));
        EXPECT_TRUE(back.empty());
    }
}

// Written: one record for each loop in use. Read: by their number and
// direction, whatever the instrument held before.
TEST_F(VORNResourceCodec, LoopsBothWays)
{
    std::optional<PlugInInstrument> const readOnly;
    struct Case
    {
        char const* what;
        std::optional<PlugInInstrument> in; // encoded to hex; none: hex is only read
        char const* hex;
        std::int16_t error;
        PlugInInstrument out;
    } const cases[] = {
        {"none", PlugInInstrument{}, "0001 0001 0001 0000", 0, {}},
        {"loop 2 only, back and forth",
         PlugInInstrument{0, 0, 0, 2, 100, 200, 60, 0},
         "0001 0001 0001 0001  00000064 000000c8 0002 0076 0000",
         0,
         {0, 0, 0, 2, 100, 200, 60, 0}},
        {"both, an unknown type forward",
         PlugInInstrument{1, 1, 2, 9, -1, 0x100000005, 64, -3},
         "0001 0001 0001 0002  00000001 00000002 0001 0075 0000  ffffffff 00000005 0002 0075 0000",
         0,
         {1, 1, 2, 1, -1, 5, 60, 0}},
        {"an unknown direction is forward, loop 3 is passed over",
         readOnly,
         "0001 0001 0001 0002  fffffffe 00000010 0001 0042 0000  00000001 00000002 0003 0076 0000",
         0,
         {1, -2, 16, 0, 0, 0, 60, 0}},
        {"a count beyond the records read",
         readOnly,
         "0001 0001 0001 0009  00000001 00000002 0001 0076 0000  0000",
         0,
         {2, 1, 2, 0, 0, 0, 60, 0}},
        {"version 1 written little-endian", readOnly, "0100 0100 0100 0000", C::kBadLoopList, {}},
        {"shorter than the header", readOnly, "0001 0001 0001", C::kBadLoopList, {}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        if (c.in)
        {
            EXPECT_EQ(C::EncodeLoops(*c.in), Hex(c.hex));
        }
        PlugInInstrument got;
        got.loop1Type = 7;
        got.rootMIDINote = 1;
        EXPECT_EQ(C::DecodeLoops(Hex(c.hex), &got), c.error);
        EXPECT_EQ(got, c.out);
    }
}

TEST_F(VORNResourceCodec, OverviewHeaderIsBigEndianOnDiskAndHostOrderInMemory)
{
    Bytes const onDisk = Hex("0001 0000000e 00000100 00000000  7f80 0102 0304");
    Bytes block;
    std::uint32_t spi = 0;
    ASSERT_TRUE(C::DecodeOverview(onDisk, &block, &spi));
    EXPECT_EQ(spi, 256u);
    ASSERT_EQ(block.size(), onDisk.size());
    std::uint32_t fromBlock = 0, offset = 0;
    std::memcpy(&offset, block.data() + 2, 4);
    std::memcpy(&fromBlock, block.data() + 6, 4);
    EXPECT_EQ(offset, 14u);
    EXPECT_EQ(fromBlock, 256u);
    EXPECT_TRUE(std::equal(block.begin() + 14, block.end(), onDisk.begin() + 14));
    EXPECT_EQ(C::EncodeOverview(block.data(), block.size(), 256), onDisk);

    for (char const* bad : {"0001 0000000e 00000000 00000000 7f80", "0001 0000000e 00000100 000000"})
    {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(C::DecodeOverview(Hex(bad), &block, &spi));
    }
}

namespace fs = std::filesystem;
using RF = Sys_ResourceFork;

class VORNFile : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }

    std::string Fork(std::string const& name) const { return mDir.File("Resource.FRK/" + name); }

    // A fork made here by hand, resource by resource.
    void WriteFork(std::string const& name, std::vector<RF::Resource> resources) const
    {
        RF fork;
        for (auto& r : resources)
            fork.Add(std::move(r));
        Bytes bytes;
        ASSERT_TRUE(fork.Serialize(&bytes));
        fs::create_directories(mDir.Path() / "Resource.FRK");
        vfltest::WriteWholeFile(Fork(name), bytes);
    }

    vfltest::TempDir mDir;
};

RF::Resource Resource(char const (&type)[5], std::int16_t id, Bytes data, std::string name = "")
{
    RF::Resource r;
    r.type = RF::Code(type);
    r.id = id;
    r.hasName = !name.empty();
    r.name = name;
    r.data = std::move(data);
    return r;
}

RF::Resource Str(std::int16_t id, std::string const& name, std::string const& value)
{
    Bytes data{static_cast<std::uint8_t>(value.size())};
    data.insert(data.end(), value.begin(), value.end());
    return Resource("STR ", id, data, name);
}

// The three strings every file has, then any further resources.
template <class... More>
std::vector<RF::Resource> Strings(char const* size, char const* rate, char const* channels, More... more)
{
    return {Str(1000, "sample-size", size), Str(1001, "sample-rate", rate), Str(1002, "channels", channels), more...};
}

TEST_F(VORNFile, AMacFileIsReadFromItsBigEndianResources)
{
    std::string const path = mDir.File("From a Mac");
    vfltest::WriteWholeFile(path, Bytes{0x01, 0x02, 0xFF, 0xFE, 0x80, 0x00}); // three 16-bit frames
    Bytes regions = Hex("0001 0000000c 00000038 00000000 00000001"            // header
                        "00000000 00000001 00000002 00000001 00000000 00000000 04 6c6f6f70");
    regions.resize(18 + 56, 0);
    WriteFork("From a Mac",
              Strings("2", "22050.000000", "1",
                      Resource("umid", 1000, Hex("0000000000000000 00000001 00000002 00000003 00000004")),
                      Resource("qxRL", 1000, regions),
                      Resource("qxLL", 1000, Hex("0001 0001 0001 0001  00000001 00000002 0002 0076 0000"))));

    FF_AudioFile file((Sys_FileLoc(path)));
    ASSERT_TRUE(file.Implements(FF_AudioFile::eVelmoraInterface)) << file.GetUnknownReason();
    EXPECT_EQ(file.GetAudioFileAttr().GetSamplesPerSec(), 22050);
    EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), 3);
    EXPECT_TRUE(file.GetUmid() == Sys_Umid(1, 2, 3, 4));
    std::vector<FF_ImportAudioRegion> found;
    file.GetRegions(&found, false);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].GetName(), "loop");
    EXPECT_EQ(found[0].GetStopSample(), 2u);
    FF_AudioInstrumentAttr loops;
    file.GetInstrumentAttr(&loops);
    EXPECT_EQ(loops.GetLoop1Type(), FF_AudioInstrumentAttr::kLoopNone);
    EXPECT_EQ(loops.GetLoop2Type(), FF_AudioInstrumentAttr::kLoopForwardBackward);
    EXPECT_EQ(loops.GetLoop2StopSample(), 2);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    std::int16_t samples[3] = {};
    file.SampleRead(samples, 3);
    EXPECT_EQ(samples[0], 0x0102);
    EXPECT_EQ(samples[1], -2);
    EXPECT_EQ(samples[2], -32768);
}

// A Mac file without the system's identity gets one in its fork; the
// resources another program put there stay as they were.
TEST_F(VORNFile, AdoptingAMacFileKeepsItsOtherResources)
{
    std::string const path = mDir.File("Take");
    vfltest::WriteWholeFile(path, Bytes(8, 1));
    WriteFork("Take", Strings("2", "44100.000000", "2", Resource("ANNO", 128, {'n', 'o', 't', 'e'}, "by hand")));
    Sys_Umid umid;
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface)) << file.GetUnknownReason();
        ASSERT_FALSE(file.Implements(FF_AudioFile::eVelmoraInterface));
        ASSERT_TRUE(file.Implement(FF_AudioFile::eVelmoraInterface));
        umid = file.GetUmid();
    }
    RF fork;
    Bytes const bytes = vfltest::ReadWholeFile(Fork("Take"));
    ASSERT_TRUE(fork.Parse(bytes.data(), bytes.size()));
    ASSERT_NE(fork.Find(RF::Code("ANNO"), 128), nullptr);
    EXPECT_EQ(fork.Find(RF::Code("ANNO"), 128)->data, (Bytes{'n', 'o', 't', 'e'}));
    EXPECT_EQ(fork.Find(RF::Code("ANNO"), 128)->name, "by hand");
    EXPECT_NE(fork.Find(RF::Code("umid"), 1000), nullptr);
    FF_AudioFile again((Sys_FileLoc(path)));
    ASSERT_TRUE(again.Implements(FF_AudioFile::eVelmoraInterface));
    EXPECT_TRUE(again.GetUmid() == umid);
    EXPECT_EQ(again.GetAudioFileAttr().GetNumSamples(), 2);
    EXPECT_EQ(vfltest::ReadWholeFile(path), Bytes(8, 1));
}

TEST_F(VORNFile, FilesThatAreNoneAreRefusedAndNothingIsWritten)
{
    struct Case
    {
        char const* what;
        Bytes data;
        bool fork;
        std::vector<RF::Resource> resources;
    } const cases[] = {
        {"no fork", Bytes(12, 0), false, {}},
        {"11 bytes of 8-bit stereo", Bytes(11, 0), true, Strings("1", "44100.000000", "2")},
        {"no channels string", Bytes(12, 0), true, {Str(1000, "sample-size", "1"), Str(1001, "sample-rate", "8000")}},
        {"sample size 0", Bytes(12, 0), true, Strings("0", "8000", "1")},
        {"no rate", Bytes(12, 0), true, Strings("2", "fast", "1")},
        {"a loop list written little-endian", Bytes(12, 0), true,
         Strings("2", "8000", "1", Resource("qxLL", 1000, {1, 0, 1, 0, 1, 0, 0, 0}))},
        {"a damaged fork", Bytes(12, 0), true, {}},
    };
    int n = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        std::string const name = "file" + std::to_string(n++);
        vfltest::WriteWholeFile(mDir.File(name), c.data);
        if (c.fork)
            WriteFork(name, c.resources);
        if (std::string(c.what) == "a damaged fork")
            vfltest::WriteWholeFile(Fork(name), Bytes(300, 0xFF));
        Bytes const forkBefore = c.fork ? vfltest::ReadWholeFile(Fork(name)) : Bytes();
        auto const before = fs::last_write_time(mDir.File(name));

        FF_AudioFile file(Sys_FileLoc(mDir.File(name)));
        EXPECT_FALSE(file.Implements(FF_AudioFile::eImportExportInterface));
        EXPECT_EQ(fs::exists(Fork(name)), c.fork);
        if (c.fork)
        {
            EXPECT_EQ(vfltest::ReadWholeFile(Fork(name)), forkBefore);
        }
        EXPECT_EQ(fs::last_write_time(mDir.File(name)), before);
    }
    EXPECT_FALSE(fs::exists(Fork("file0")));
    // A name that says VORN gets a word about the missing fork.
    vfltest::WriteWholeFile(mDir.File("lost.vorn"), Bytes(4, 0));
    FF_AudioFile lost(Sys_FileLoc(mDir.File("lost.vorn")));
    EXPECT_NE(lost.GetUnknownReason().find("without its resource fork"), std::string::npos);
}

} // namespace
