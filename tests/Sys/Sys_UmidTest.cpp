#include "Sys/Sys_Umid.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <stdexcept>

#include "Sys/Sys_SwapBlock.h"
#include "Sys_FileTestSupport.h"

namespace
{

using SysUmidTest = vfltest::SysLayerTest;

TEST_F(SysUmidTest, TheTextFormFollowsTheAlgorithm)
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
}

TEST_F(SysUmidTest, NewIdentifiersHaveFourteenDigitsAndDifferOnOneThread)
{
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
