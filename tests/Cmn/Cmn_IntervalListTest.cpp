#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "Cmn/Cmn_IntervalList.h"

namespace
{
std::string Text(Cmn_IntervalList const& list)
{
    std::ostringstream out;
    list.Print(out);
    return out.str();
}

TEST(Cmn_IntervalList, InsertJoinsWhatTouchesOrOverlaps)
{
    struct Case
    {
        char const* name;
        std::vector<Cmn_Interval> inserts;
        char const* expected;
    } const cases[] = {
        {"touching joins", {{10, 20}, {20, 30}}, "( 10, 30 )"},
        {"bridge over a gap", {{10, 20}, {30, 40}, {15, 35}}, "( 10, 40 )"},
        {"cover both", {{10, 20}, {30, 40}, {0, 50}}, "( 0, 50 )"},
        {"twice the same", {{10, 20}, {10, 20}}, "( 10, 20 )"},
        {"in a gap", {{10, 20}, {30, 40}, {24, 26}}, "( 10, 20 )( 24, 26 )( 30, 40 )"},
        {"grows the next", {{10, 20}, {30, 40}, {25, 35}}, "( 10, 20 )( 25, 40 )"},
        {"empty adds nothing", {{10, 20}, {25, 25}}, "( 10, 20 )"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Cmn_IntervalList list;
        for (auto const& i : c.inserts)
            list.Insert(i);
        EXPECT_EQ(Text(list), c.expected);
    }
}

TEST(Cmn_IntervalList, MapAndContainsAtTheEdges)
{
    Cmn_IntervalList list;
    list.Insert({10, 20});
    list.Insert({30, 40});
    EXPECT_EQ(list.MapFlatToSparse(10), 0);
    EXPECT_EQ(list.MapFlatToSparse(20), 10); // an end maps inside its own interval
    EXPECT_EQ(list.MapFlatToSparse(30), 10);
    for (int64 gap : {0, 9, 25, 29, 41})
    {
        SCOPED_TRACE(gap);
        EXPECT_THROW(list.MapFlatToSparse(gap), std::runtime_error);
    }
    EXPECT_FALSE(list.Contains({18, 32}));
    EXPECT_FALSE(list.Contains({10, 21}));
    EXPECT_THROW(list.Insert({5, 4}), std::runtime_error);
}

// Every operation against a bitmap of the same positions.
TEST(Cmn_IntervalList, AgreesWithABitmap)
{
    constexpr int kLine = 2000;
    std::mt19937 random(20);
    for (int round = 0; round < 20; ++round)
    {
        Cmn_IntervalList list;
        std::vector<bool> bits(kLine, false);
        for (int step = 0; step < 200; ++step)
        {
            SCOPED_TRACE(::testing::Message() << "round " << round << " step " << step);
            int64 const s = std::uniform_int_distribution<int64>(0, kLine - 1)(random);
            int64 const e = std::min<int64>(kLine, s + std::uniform_int_distribution<int64>(1, 120)(random));
            bool const insert = std::uniform_int_distribution<int>(0, 2)(random) != 0;
            if (insert)
                list.Insert({s, e});
            else
                list.Delete({s, e});
            for (int64 p = s; p < e; ++p)
                bits[static_cast<std::size_t>(p)] = insert;

            // Sorted, disjoint, not touching, never empty; the same positions.
            std::vector<bool> covered(kLine, false);
            int64 lastEnd = -1;
            for (auto const& i : list)
            {
                ASSERT_LT(i.start, i.end);
                ASSERT_GT(i.start, lastEnd);
                lastEnd = i.end;
                for (int64 p = i.start; p < i.end; ++p)
                    covered[static_cast<std::size_t>(p)] = true;
            }
            ASSERT_EQ(covered, bits) << Text(list);

            // The packed place of every member, and Contains of random stretches.
            int64 packed = 0;
            for (int64 p = 0; p < kLine; ++p)
            {
                if (!bits[static_cast<std::size_t>(p)])
                    continue;
                // A different seventh of the members at each step.
                if (p % 7 == step % 7)
                {
                    ASSERT_EQ(list.MapFlatToSparse(p), packed) << p;
                }
                ++packed;
            }
            EXPECT_EQ(list.GetTotalLength(), packed);
            int64 const a = std::uniform_int_distribution<int64>(0, kLine - 1)(random);
            int64 const b = std::min<int64>(kLine, a + std::uniform_int_distribution<int64>(1, 60)(random));
            bool all = true;
            for (int64 p = a; p < b; ++p)
                all = all && bits[static_cast<std::size_t>(p)];
            EXPECT_EQ(list.Contains({a, b}), all) << a << "-" << b << " in " << Text(list);
        }
    }
}
} // namespace
