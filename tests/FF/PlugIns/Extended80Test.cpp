// The 80-bit extended float of AIFF sample rates, both ways: the rates in
// common use against bytes written by an independent implementation,
// rounding, the special values, and every double surviving a round trip.
#include "FF/PlugIns/Extended80.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace
{
using X80 = std::array<unsigned char, 10>;

X80 ToX80(double d)
{
    X80 b;
    dtox80(&d, b.data());
    return b;
}

std::uint64_t Bits(double d)
{
    return std::bit_cast<std::uint64_t>(d);
}

TEST(Extended80, CommonRatesBothWays)
{
    // The bytes as Python's aifc module writes them.
    struct
    {
        double rate;
        X80 bytes;
    } const cases[] = {
        {8000, {0x40, 0x0B, 0xFA, 0x00}},   {11025, {0x40, 0x0C, 0xAC, 0x44}},
        {16000, {0x40, 0x0C, 0xFA, 0x00}},  {22050, {0x40, 0x0D, 0xAC, 0x44}},
        {32000, {0x40, 0x0D, 0xFA, 0x00}},  {44056, {0x40, 0x0E, 0xAC, 0x18}},
        {44100, {0x40, 0x0E, 0xAC, 0x44}},  {47952, {0x40, 0x0E, 0xBB, 0x50}},
        {48000, {0x40, 0x0E, 0xBB, 0x80}},  {64000, {0x40, 0x0E, 0xFA, 0x00}},
        {88200, {0x40, 0x0F, 0xAC, 0x44}},  {96000, {0x40, 0x0F, 0xBB, 0x80}},
        {176400, {0x40, 0x10, 0xAC, 0x44}}, {192000, {0x40, 0x10, 0xBB, 0x80}},
        {384000, {0x40, 0x11, 0xBB, 0x80}}, {1, {0x3F, 0xFF, 0x80}},
        {0.5, {0x3F, 0xFE, 0x80}},          {44100.9, {0x40, 0x0E, 0xAC, 0x44, 0xE6, 0x66, 0x66, 0x66, 0x68, 0x00}},
        {-44100, {0xC0, 0x0E, 0xAC, 0x44}}, {0, {}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.rate);
        EXPECT_EQ(ToX80(c.rate), c.bytes);
        EXPECT_EQ(Bits(x80tod(c.bytes.data())), Bits(c.rate));
    }
}

TEST(Extended80, SpecialValuesAndRanges)
{
    double const inf = std::numeric_limits<double>::infinity();
    double const tiny = std::numeric_limits<double>::denorm_min();
    struct
    {
        char const* name;
        X80 bytes;
        double expected; // NaN stands for any NaN
    } const cases[] = {
        {"minus zero", {0x80}, -0.0},
        {"infinity", {0x7F, 0xFF, 0x80}, inf},
        {"minus infinity", {0xFF, 0xFF, 0x80}, -inf},
        {"quiet NaN", {0x7F, 0xFF, 0xC0}, std::nan("")},
        {"signalling NaN", {0x7F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 1}, std::nan("")},
        {"too large for a double", {0x43, 0xFF, 0x80}, inf},
        {"largest double",
         {0x43, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF8, 0x00},
         std::numeric_limits<double>::max()},
        {"rounds up past the largest double", {0x43, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFC, 0x00}, inf},
        {"80-bit denormal", {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}, 0.0},
        {"smallest double denormal", {0x3B, 0xCD, 0x80}, tiny},
        {"half the smallest denormal rounds to even", {0x3B, 0xCC, 0x80}, 0.0},
        {"just over half rounds up", {0x3B, 0xCC, 0x80, 0, 0, 0, 0, 0, 0, 1}, tiny},
        {"three halves round to two", {0x3B, 0xCD, 0xC0}, 2 * tiny},
        {"smallest normal from a rounded denormal",
         {0x3C, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
         std::numeric_limits<double>::min()},
        {"unnormalised 44100", {0x40, 0x0F, 0x56, 0x22}, 44100},
        {"tie rounds to even, down", {0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0x04, 0x00}, 1.0},
        {"tie rounds to even, up", {0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0x0C, 0x00}, 1.0 + 4 * 0x1p-52 / 2},
        {"rounding carries into the exponent", {0x3F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, 2.0},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        double const got = x80tod(c.bytes.data());
        if (std::isnan(c.expected))
            EXPECT_TRUE(std::isnan(got)) << got;
        else
            EXPECT_EQ(Bits(got), Bits(c.expected)) << got;
    }
    // Written: infinities and NaNs keep the all-ones exponent; the double
    // denormals become normal 80-bit numbers.
    EXPECT_EQ(ToX80(inf), (X80{0x7F, 0xFF, 0x80}));
    EXPECT_EQ(ToX80(-inf), (X80{0xFF, 0xFF, 0x80}));
    X80 const nan = ToX80(std::nan(""));
    EXPECT_EQ(nan[0], 0x7F);
    EXPECT_EQ(nan[1], 0xFF);
    EXPECT_EQ(nan[2] & 0xC0, 0xC0);
    EXPECT_EQ(ToX80(tiny), (X80{0x3B, 0xCD, 0x80}));
    EXPECT_EQ(ToX80(-0.0), (X80{0x80}));
}

TEST(Extended80, EveryDoubleSurvivesARoundTrip)
{
    std::mt19937_64 rng(80);
    for (int i = 0; i < 200000; ++i)
    {
        std::uint64_t bits = rng();
        // Every exponent is drawn as often as every other, denormals included.
        if (i % 4 == 0)
            bits &= 0x800FFFFFFFFFFFFFull;
        double const d = std::bit_cast<double>(bits);
        if (std::isnan(d))
            continue;
        X80 const b = ToX80(d);
        ASSERT_EQ(Bits(x80tod(b.data())), bits) << std::hex << bits;
    }
}

#if defined(__x86_64__) || defined(__i386__)
// On x86 the hardware's long double is this very format: an oracle for
// the rounding of all 80-bit values, which the library itself must not use.
TEST(Extended80, AgreesWithTheX87Conversion)
{
    static_assert(std::numeric_limits<long double>::digits == 64);
    std::mt19937_64 rng(87);
    for (int i = 0; i < 200000; ++i)
    {
        X80 b;
        std::uint64_t const mantissa = rng();
        // Exponents around the double's range, where the rounding happens.
        auto exponent = static_cast<std::uint32_t>(rng() % 0x1000 + 0x3A00);
        if (i % 8 == 0)
            exponent = static_cast<std::uint32_t>(rng() % 0x8000);
        exponent |= static_cast<std::uint32_t>(rng() & 1) << 15;
        b[0] = static_cast<unsigned char>(exponent >> 8);
        b[1] = static_cast<unsigned char>(exponent);
        for (int k = 0; k < 8; ++k)
            b[2 + k] = static_cast<unsigned char>(mantissa >> (56 - 8 * k));
        // The hardware treats an unnormalised number with a non-zero
        // exponent as invalid; only the well-formed ones are compared.
        if ((exponent & 0x7FFF) != 0 && !(mantissa >> 63))
            continue;
        long double x = 0;
        unsigned char little[10];
        for (int k = 0; k < 10; ++k)
            little[k] = b[9 - k];
        std::memcpy(&x, little, 10);
        double const expected = static_cast<double>(x);
        double const got = x80tod(b.data());
        if (std::isnan(expected))
            ASSERT_TRUE(std::isnan(got));
        else
            ASSERT_EQ(Bits(got), Bits(expected)) << std::hex << exponent << " " << mantissa;
    }
}
#endif
} // namespace
