// Typed streams in both byte orders, the records that frame them, and
// the unique identifiers of media with their byte swap.
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_PolyVectorInStream.h"
#include "Cmn/Cmn_PolyVectorOutStream.h"
#include "Sys/Sys_BigEndianInStream.h"
#include "Sys/Sys_CrossPlatformInStream.h"
#include "Sys/Sys_CrossPlatformOutStream.h"
#include "Sys/Sys_Int64StreamIO.h"
#include "Sys/Sys_LittleEndianInStream.h"
#include "Sys/Sys_NativeInStream.h"
#include "Sys/Sys_NativeOutStream.h"
#include "Sys/Sys_StdStreamHeaderReader.h"
#include "Sys/Sys_StdStreamHeaderWriter.h"
#include "Sys/Sys_SwapBlock.h"
#include "Sys/Sys_Umid.h"
#include "Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using Bytes = Cmn_PolyVector<unsigned char>;

std::string Hex(Bytes const& b)
{
    std::string s;
    char buf[4];
    for (unsigned char c : b)
    {
        std::snprintf(buf, sizeof buf, s.empty() ? "%02X" : " %02X", c);
        s += buf;
    }
    return s;
}

// One value of each type, written and read back in this order.
auto const kValues =
    std::make_tuple(true, i8(-5), u8(0xFE), i16(-12345), u16(0xBEEF), i32(-123456789), u32(0xDEADBEEF),
                    std::numeric_limits<i64>::min() + 77, u64(0x0102030405060708ull), -1.5e-7f, 6.02214076e23);

// Writes every value, checks that each lies on the stream in the stream's
// byte order, and reads them back.
template <class Out, class In> void RoundTripEveryType(bool bigEndian)
{
    Bytes bytes;
    Cmn_PolyVectorOutStream sink(bytes);
    Out out(&sink);
    std::apply([&](auto... v) { (out.Write(v), ...); }, kValues);
    std::size_t at = 0;
    auto expectBytes = [&](auto v)
    {
        unsigned char raw[sizeof v];
        std::memcpy(raw, &v, sizeof v);
        if ((std::endian::native == std::endian::big) != bigEndian)
            std::reverse(raw, raw + sizeof v);
        ASSERT_LE(at + sizeof v, bytes.Size());
        EXPECT_EQ(std::memcmp(bytes.Begin() + at, raw, sizeof v), 0) << "value at " << at;
        at += sizeof v;
    };
    std::apply([&](auto... v) { (expectBytes(v), ...); }, kValues);
    EXPECT_EQ(at, bytes.Size());

    Cmn_PolyVectorInStream source(bytes);
    In in(&source);
    auto readBack = [&](auto v)
    {
        decltype(v) r{};
        in.Read(&r);
        EXPECT_EQ(r, v);
    };
    std::apply([&](auto... v) { (readBack(v), ...); }, kValues);
    EXPECT_EQ(in.GetPos(), in.GetEndPos());
}

// The bytes that write puts on a stream of type Out.
template <class Out = Sys_CrossPlatformOutStream> Bytes Written(auto&& write)
{
    Bytes bytes;
    Cmn_PolyVectorOutStream sink(bytes);
    Out out(&sink);
    write(out);
    return bytes;
}

std::string Thrown(auto&& action)
{
    try
    {
        action();
    }
    catch (char const* text)
    {
        return text;
    }
    catch (Cmn_Exception const& e)
    {
        return e.GetCode() == XC_Cmn_EndOfFile ? "end of file" : "other exception";
    }
    catch (std::runtime_error const&)
    {
        return "assertion";
    }
    return "";
}

TEST(Sys_TypedStreamTest, EveryTypeRoundTripsInBothByteOrders)
{
    RoundTripEveryType<Sys_CrossPlatformOutStream, Sys_CrossPlatformInStream>(true);
    RoundTripEveryType<Sys_CrossPlatformOutStream, Sys_BigEndianInStream>(true);
    RoundTripEveryType<Sys_NativeOutStream, Sys_NativeInStream>(std::endian::native == std::endian::big);
    RoundTripEveryType<Sys_NativeOutStream, Sys_LittleEndianInStream>(false);

    // A bool is one byte, and any byte but 0 is true.
    Bytes bytes;
    for (unsigned char c : {0, 1, 2, 0xFF})
        bytes.PushBack(c);
    Cmn_PolyVectorInStream source(bytes);
    Sys_NativeInStream in(&source);
    for (bool expected : {false, true, true, true})
    {
        bool value = !expected;
        in.Read(&value);
        EXPECT_EQ(value, expected);
    }
}

TEST(Sys_StdStreamHeaderTest, ReaderOfEveryAmountLandsBehindTheRecord)
{
    // A record of three int32 and then a marker; the reader reads 0 to 3
    // fields, and then 4, which is one too many.
    Bytes const bytes = Written(
        [](auto& out)
        {
            Sys_StdStreamHeaderWriter header(out, "REC", 1);
            for (i32 v : {11, 22, 33})
                out.Write(v);
            header.PatchSize();
            out.Write(i32(-1));
        });
    for (int fields = 0; fields <= 4; ++fields)
    {
        SCOPED_TRACE(fields);
        Cmn_PolyVectorInStream source(bytes);
        Sys_CrossPlatformInStream in(&source);
        Sys_StdStreamHeaderReader header(in, "REC");
        EXPECT_EQ(header.GetVersion(), 1);
        EXPECT_EQ(header.GetSize(), 12);
        for (int i = 0; i < fields; ++i)
        {
            i32 v = 0;
            in.Read(&v);
        }
        EXPECT_EQ(header.IsMoreLeft(), fields < 3);
        if (fields <= 3)
        {
            header.SkipTheRest();
            i32 marker = 0;
            in.Read(&marker);
            EXPECT_EQ(marker, -1);
        }
        else
            EXPECT_EQ(Thrown([&] { header.SkipTheRest(); }), "Size of header doesn't match amount of data read");
    }
}

TEST(Sys_StdStreamHeaderTest, OlderReaderSkipsWhatANewerWriterAdded)
{
    // Version 2 added a name and a nested record after version 1's count.
    Bytes const bytes = Written(
        [](auto& out)
        {
            Sys_StdStreamHeaderWriter outer(out, "LIST", 2);
            out.Write(i32(7));
            out.WriteBlock("name", 4);
            {
                Sys_StdStreamHeaderWriter inner(out, "ITEM", 5);
                out.Write(3.25);
                inner.PatchSize();
            }
            outer.PatchSize();
            Sys_StdStreamHeaderWriter next(out, "NEXT", 1);
            out.Write(u16(0xABCD));
            next.PatchSize();
        });
    Cmn_PolyVectorInStream source(bytes);
    Sys_CrossPlatformInStream in(&source);
    {
        Sys_StdStreamHeaderReader reader(in, "LIST");
        EXPECT_EQ(Thrown([&] { reader.CheckVersion(0, 1); }), "Cannot read data from newer version");
        EXPECT_EQ(Thrown([&] { reader.CheckVersion(3, 4); }), "Too old a version");
        EXPECT_EQ(Thrown([&] { reader.CheckVersion(2, 2); }), "");
        i32 count = 0;
        in.Read(&count);
        EXPECT_EQ(count, 7);
        EXPECT_TRUE(reader.IsMoreLeft());
        reader.SkipTheRest();
    }
    Sys_StdStreamHeaderReader next(in, "NEXT");
    u16 value = 0;
    in.Read(&value);
    EXPECT_EQ(value, 0xABCD);
    EXPECT_FALSE(next.IsMoreLeft());
    next.SkipTheRest();
    EXPECT_EQ(in.GetPos(), in.GetEndPos());
}

// The bytes of a record in both byte orders; bad ones are reported without
// reading past the data.
TEST(Sys_StdStreamHeaderTest, RecordBytesInBothByteOrdersAndBadRecordsAreReported)
{
    auto const magc = [](Sys_TypedOutStream& out)
    {
        Sys_StdStreamHeaderWriter header(out, "MAGC", 3);
        out.Write(i32(0x01020304));
        header.PatchSize();
    };
    EXPECT_EQ(Hex(Written<Sys_NativeOutStream>(magc)), "4D 41 47 43 03 00 04 00 00 00 04 03 02 01");
    Bytes const good = Written(magc);
    EXPECT_EQ(Hex(good), "4D 41 47 43 00 03 00 00 00 04 01 02 03 04");
    struct Case
    {
        char const* name;
        int truncateTo; // bytes kept, or -1
        int patchAt;    // a byte changed, or -1
        unsigned char patch;
        char const* magic;
        char const* thrown;
    } const cases[] = {
        {"good", -1, -1, 0, "MAGC", ""},
        {"other magic", -1, 0, 'X', "MAGC", "Magic ID does not match"},
        {"magic cut short", 2, -1, 0, "MAGC", "end of file"},
        {"no size", 7, -1, 0, "MAGC", "end of file"},
        {"body cut short", 12, -1, 0, "MAGC", "end of file"},
        {"size too large", -1, 9, 5, "MAGC", "end of file"},
        {"size negative", -1, 6, 0x80, "MAGC", "end of file"},
        {"empty stream", 0, -1, 0, "MAGC", "end of file"},
        {"empty magic: the magic taken for the header", -1, -1, 0, "", "end of file"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bytes bytes = good;
        if (c.truncateTo >= 0)
            bytes.Resize(std::size_t(c.truncateTo));
        if (c.patchAt >= 0)
            bytes[std::size_t(c.patchAt)] = c.patch;
        EXPECT_EQ(Thrown(
                      [&]
                      {
                          Cmn_PolyVectorInStream source(bytes);
                          Sys_CrossPlatformInStream in(&source);
                          Sys_StdStreamHeaderReader reader(in, c.magic);
                          reader.CheckVersion(3, 3);
                          i32 v = 0;
                          in.Read(&v);
                          reader.SkipTheRest();
                      }),
                  c.thrown);
    }
}

// A magic of more than 128 characters, and a size patched twice.
TEST(Sys_StdStreamHeaderTest, WriterMisuseIsAnAssertion)
{
    std::string const longest(128, 'm');
    Bytes bytes;
    Cmn_PolyVectorOutStream sink(bytes);
    Sys_NativeOutStream out(&sink);
    EXPECT_EQ(Thrown([&] { Sys_StdStreamHeaderWriter(out, longest.c_str(), 1).PatchSize(); }), "");
    EXPECT_EQ(Thrown([&] { Sys_StdStreamHeaderWriter(out, (longest + "m").c_str(), 1).PatchSize(); }), "assertion");
    Sys_StdStreamHeaderWriter header(out, "X", 1);
    header.PatchSize();
    EXPECT_EQ(Thrown([&] { header.PatchSize(); }), "assertion");
    // The longest magic reads back.
    Cmn_PolyVectorInStream source(bytes);
    Sys_NativeInStream in(&source);
    EXPECT_EQ(Thrown([&] { Sys_StdStreamHeaderReader(in, longest.c_str()).SkipTheRest(); }), "");
}

TEST(Sys_Int64StreamIOTest, DecimalAndUpperCaseHex)
{
    struct Case
    {
        bool hex;
        i64 value;
        char const* text;
    } const cases[] = {
        {false, 0, "0"},
        {false, -1, "-1"},
        {false, std::numeric_limits<i64>::min(), "-9223372036854775808"},
        {true, 255, "FF"},
        {true, -1, "FFFFFFFFFFFFFFFF"},
        {true, 0x1234ABCD5678EFll, "1234ABCD5678EF"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.text);
        std::ostringstream os;
        if (c.hex)
            os << std::hex;
        Sys_WriteInt64(os, c.value);
        EXPECT_EQ(os.str(), c.text);
        std::istringstream is(std::string(" ") + c.text + " rest");
        if (c.hex)
            is >> std::hex;
        i64 back = 0;
        Sys_ReadInt64(is, back);
        EXPECT_TRUE(is);
        EXPECT_EQ(back, c.value);
    }
    std::ostringstream os;
    Sys_WriteUInt64(os, std::numeric_limits<u64>::max());
    EXPECT_EQ(os.str(), "18446744073709551615");

    for (char const* bad : {"12x", "-", "99999999999999999999", ""})
    {
        SCOPED_TRACE(bad);
        std::istringstream is(bad);
        u64 value = 42;
        Sys_ReadUInt64(is, value);
        EXPECT_TRUE(is.fail());
        EXPECT_EQ(value, 42u);
    }
    std::istringstream is("0x7f");
    is >> std::hex;
    u64 value = 0;
    Sys_ReadUInt64(is, value);
    EXPECT_EQ(value, 0x7Fu);
}

using SysUmidTest = vfltest::SysLayerTest;

TEST_F(SysUmidTest, TheTextFormFollowsTheAlgorithmAndNewOnesHaveFourteenDigits)
{
    struct Case
    {
        Sys_Umid umid;
        char const* text;
    };
    Case const cases[] = {
        {Sys_Umid(0, 0, 0, 0), ""},
        // The last word 1 and the others 0: one significant byte, two digits.
        {Sys_Umid(0, 0, 0, 1), "ab"},
        {Sys_Umid(0, 0, 0, 63), "a!"},
        {Sys_Umid(0, 0, 0, 64), "ba"},
        {Sys_Umid(0, 0, 1, 0), "aeaaaaa"}, // 2^32 = 4 * 64^5, in seven digits for five bytes
        {Sys_Umid(0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu), "d!!!!!!!!!!!!!!!!!!!!!"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.umid.AsString(), c.text);
    }

    // New identifiers have fourteen digits and differ on one thread.
    std::set<Sys_Umid> seen;
    for (int i = 0; i < 10000; ++i)
    {
        Sys_Umid const umid = Sys_Umid::Create();
        ASSERT_EQ(umid.mWords[0], 0u);
        ASSERT_EQ(umid.mWords[1], 457u);
        ASSERT_TRUE(seen.insert(umid).second) << "repeated at " << i;
    }
    EXPECT_EQ(Sys_Umid::Create().AsString().size(), 14u);
}

// The order is that of the bytes in memory, the swap gives the file's
// big-endian order, and reading from a stream is not in use.
TEST_F(SysUmidTest, StreamsSwapAndOrder)
{
    std::ostringstream out;
    out << Sys_Umid(0, 457, 1000, 2000);
    EXPECT_EQ(out.str(), "0.457.1000.2000");

    Sys_Umid umid(0x01020304u, 0x05060708u, 0x090A0B0Cu, 0x0D0E0F10u);
    Sys_Umid swapped = umid;
    swapped.SwapIfWin32();
    unsigned char const* bytes = reinterpret_cast<unsigned char const*>(swapped.mWords);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(bytes[i], i + 1); // the file's big-endian order
    swapped.SwapIfWin32();
    EXPECT_EQ(swapped, umid);

    // On a little-endian host the low byte of a word comes first.
    Sys_Umid const a(0, 0, 0, 0x100), b(0, 0, 0, 0x001);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, Sys_Umid(0, 0, 0, 0x100));

    std::istringstream in("0123456789abcdef");
    EXPECT_THROW(in >> umid, std::runtime_error);
}

TEST(SysSwapBlockTest, ReversesOneValueInPlace)
{
    struct Case
    {
        std::string in, out;
    };
    Case const cases[] = {{"", ""},       {"a", "a"},       {"ab", "ba"},
                          {"abc", "cba"}, {"abcd", "dcba"}, {"abcdefgh", "hgfedcba"}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.in);
        std::string s = c.in;
        Sys_SwapBlock(s.data(), static_cast<int32>(s.size()));
        EXPECT_EQ(s, c.out);
    }
    char x = 'q';
    Sys_SwapBlock(&x, -4);
    EXPECT_EQ(x, 'q');
}

} // namespace
