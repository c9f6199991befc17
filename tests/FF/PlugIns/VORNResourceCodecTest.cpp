// The resources of a VORN fork as bytes: laid out big-endian, as Macintosh
// systems write them (expected bytes spelled out by hand), and what the
// readers refuse or pass over. Strings and umid: VORNTest.
#include "FF/PlugIns/VORNResourceCodec.h"
#include "Sys/Sys_Init.h"
#include "support/InstrumentCompare.h"

#include <gtest/gtest.h>

#include <cstring>
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

TEST_F(VORNResourceCodec, RegionsAreBigEndianRecordsBehindTheirHeader)
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
}

TEST_F(VORNResourceCodec, RegionListsOfAnotherShapeAreIgnored)
{
    Bytes const good = C::EncodeRegions({Region(0, 10, 0, "a")});
    struct Case
    {
        char const* what;
        std::size_t at;
        Bytes patch;
        std::size_t size;
    } const cases[] = {
        {"record size 48", 6, Hex("00000030"), good.size()},
        {"version 2", 0, Hex("0002"), good.size()},
        {"second field 10", 2, Hex("0000000a"), good.size()},
        {"a partial record", 0, {}, good.size() - 1},
        {"shorter than the header", 0, {}, 17},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        Bytes bytes = good;
        std::copy(c.patch.begin(), c.patch.end(), bytes.begin() + static_cast<std::ptrdiff_t>(c.at));
        bytes.resize(c.size);
        std::vector<PlugInRegion> back = {Region(1, 2, 1, "stale")};
        EXPECT_FALSE(C::DecodeRegions(bytes, &back));
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

} // namespace
