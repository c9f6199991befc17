#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>

#include "Cmn/Cmn_LogHistogram.h"

namespace
{
Cmn_LogHistogram MakeMsAndS(i64 ticksPerUnit = 1, double smallestTime = 1.0)
{
    Cmn_LogHistogram h(ticksPerUnit, smallestTime);
    h.AddExponentString("ms");
    h.AddExponentString("s");
    return h;
}

std::string Dumped(Cmn_LogHistogram const& h)
{
    std::ostringstream os;
    h.Dump(os);
    return os.str();
}
} // namespace

TEST(Cmn_LogHistogramTest, FormatsTimesWithUnits)
{
    struct Case
    {
        double t;
        std::string text;
    } const cases[] = {
        {1500, "1.5s"},
        {15, "15ms"},
        {150, "150ms"},
        {1.5, "1.5ms"},
        {1, "1.0ms"},
        {9.99, "9.9ms"},
        {1000, "1.0s"},
        {15000, "15s"},
        {150000, "150s"},
        {1.5e6, "1.5000s"},
        {1.5e9, "1.5000000s"},
        {0.5, "<1.0ms"},
        {1e20, "100000000000000000s"},
    };
    Cmn_LogHistogram const h = MakeMsAndS();
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.t);
        EXPECT_EQ(h.FormatTime(c.t), c.text);
    }
    // Without unit names there is no unit, and thousands are written out.
    Cmn_LogHistogram const bare(1, 1.0);
    EXPECT_EQ(bare.FormatTime(1500), "1.5000");
    EXPECT_EQ(bare.FormatTime(15), "15");
}

TEST(Cmn_LogHistogramTest, OneUnitStartsBinOneAndTenUnitsBinSix)
{
    for (i64 tpu : {i64(1), i64(7), i64(1000), i64(1000000)})
    {
        SCOPED_TRACE(tpu);
        Cmn_LogHistogram h(tpu, 1.0);
        EXPECT_EQ(h.BinOf(tpu - 1), 0);
        EXPECT_EQ(h.BinOf(tpu), 1);
        EXPECT_EQ(h.BinOf(10 * tpu), 6);
        EXPECT_EQ(h.BinOf(100 * tpu), 11);
        EXPECT_EQ(h.BinOf(-5), 0);
    }
}

TEST(Cmn_LogHistogramTest, DumpOfASeries)
{
    Cmn_LogHistogram h = MakeMsAndS();
    EXPECT_EQ(Dumped(h), ""); // no summary of nothing
    for (i64 v : {1, 3, 10, 100, 1000})
        h.Log(v);
    EXPECT_EQ(h.GetCount(), 5);
    EXPECT_EQ(h.GetMin(), 1);
    EXPECT_EQ(h.GetMax(), 1000);
    EXPECT_EQ(Dumped(h), "Min: 1.0ms, Max: 1.0s, avg: 220ms, count: 5\n"
                         "<1.0ms: 0\n"
                         "1.0ms: 1\n"
                         "1.5ms: 0\n"
                         "2.5ms: 1\n"
                         "3.9ms: 0\n"
                         "6.3ms: 0\n"
                         "10ms: 1\n"
                         "15ms: 0\n"
                         "25ms: 0\n"
                         "39ms: 0\n"
                         "63ms: 0\n"
                         "100ms: 1\n"
                         "150ms: 0\n"
                         "250ms: 0\n"
                         "390ms: 0\n"
                         "630ms: 1\n");
    h.Reset();
    EXPECT_EQ(Dumped(h), "");
}

// The table lookup of Log must give the formula's bin for every value: at
// each bit length's edges, at each bin's first value, and at random values
// spread evenly over the bit lengths.
TEST(Cmn_LogHistogramTest, TableBinsEqualTheFormulaOverTheWholeRange)
{
    constexpr i64 kMax = std::numeric_limits<i64>::max();
    std::mt19937_64 rng(25);
    for (i64 tpu : {i64(1), i64(3), i64(1000), i64(2500000), i64(1) << 40, (i64(1) << 53) + 1, kMax / 3, kMax})
    {
        SCOPED_TRACE(tpu);
        Cmn_LogHistogram const h(tpu, 1.0);
        auto check = [&](i64 v) { ASSERT_EQ(h.BinOf(v), h.FormulaBin(v)) << "value " << v; };
        for (int bits = 0; bits < 63; ++bits)
        {
            i64 const p = i64(1) << bits;
            for (i64 d = -2; d <= 2; ++d)
                if (p + d >= 0 || bits == 0)
                    check(p + d);
        }
        check(kMax);
        check(std::numeric_limits<i64>::min());
        for (i64 m = 1; m <= 12 && tpu <= kMax / 12; ++m)
            for (i64 d = -1; d <= 1; ++d)
                check(tpu * m + d);
        // Every bin border, and just around it.
        for (int bin = 1; bin < 100; ++bin)
        {
            double const border = double(tpu) * std::exp((bin - 1) * (std::log(10.0) / 5));
            if (border >= 0x1p62)
                break;
            i64 const b = i64(border);
            for (i64 d = -3; d <= 3; ++d)
                check(b + d);
        }
        for (int i = 0; i < 1000000 / 8; ++i)
        {
            int const bits = int(rng() % 63);
            i64 const v = bits == 0 ? i64(rng() % 2) : (i64(1) << bits) | i64(rng() & ((u64(1) << bits) - 1));
            check(v);
        }
    }
}
