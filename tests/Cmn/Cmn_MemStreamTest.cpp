#include <gtest/gtest.h>

#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_MemBufferInStream.h"
#include "Cmn/Cmn_PolyVectorInStream.h"
#include "Cmn/Cmn_PolyVectorOutStream.h"

namespace
{
using Bytes = Cmn_PolyVector<unsigned char>;

std::vector<int> AsInts(Bytes const& b)
{
    return std::vector<int>(b.begin(), b.end());
}

bool ThrowsEndOfFile(auto&& action)
{
    try
    {
        action();
    }
    catch (Cmn_Exception const& e)
    {
        return e.GetCode() == XC_Cmn_EndOfFile;
    }
    return false;
}
} // namespace

TEST(Cmn_MemStreamTest, OutStreamOverwritesFillsGapsAndAppends)
{
    struct Case
    {
        char const* name;
        std::vector<int> before;
        int32 position;
        std::vector<int> data;
        std::vector<int> after;
        int32 endPosition;
    } const cases[] = {
        {"append to empty", {}, 0, {1, 2}, {1, 2}, 2},
        {"past the end of an empty vector", {}, 10, {7}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}, 11},
        {"past the end", {1, 2}, 4, {7, 8}, {1, 2, 0, 0, 7, 8}, 6},
        {"inside", {1, 2, 3, 4}, 1, {7, 8}, {1, 7, 8, 4}, 3},
        {"across the end", {1, 2, 3}, 2, {7, 8, 9}, {1, 2, 7, 8, 9}, 5},
        {"at the end", {1, 2}, 2, {7}, {1, 2, 7}, 3},
        {"nothing", {1, 2}, 5, {}, {1, 2}, 5},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bytes bytes;
        for (int b : c.before)
            bytes.PushBack((unsigned char)b);
        Cmn_PolyVectorOutStream out(bytes);
        out.SetPos(c.position);
        std::vector<unsigned char> data(c.data.begin(), c.data.end());
        out.Write(data.data(), int32(data.size()));
        EXPECT_EQ(AsInts(bytes), c.after);
        EXPECT_EQ(out.GetPos(), c.endPosition);
        EXPECT_EQ(out.GetEndPos(), int32(c.after.size()));
    }
}

TEST(Cmn_MemStreamTest, InStreamNeverLeavesItsBlock)
{
    Bytes bytes;
    for (unsigned char b : {10, 20, 30, 40})
        bytes.PushBack(b);
    Cmn_PolyVectorInStream in(bytes);
    unsigned char got[4] = {};
    EXPECT_EQ(in.GetEndPos(), 4);
    in.Read(got, 3);
    EXPECT_EQ(got[2], 30);
    EXPECT_EQ(in.GetPos(), 3);
    EXPECT_TRUE(ThrowsEndOfFile([&] { in.Read(got, 2); }));
    EXPECT_EQ(in.GetPos(), 3);
    in.Read(got, 1);
    EXPECT_EQ(got[0], 40);
    in.Read(got, 0);
    EXPECT_TRUE(ThrowsEndOfFile([&] { in.Read(got, 1); }));
    EXPECT_TRUE(ThrowsEndOfFile([&] { in.SetPos(5); }));
    EXPECT_TRUE(ThrowsEndOfFile([&] { in.SetPos(-1); }));
    EXPECT_TRUE(ThrowsEndOfFile([&] { in.Read(got, -1); }));
    in.SetPos(4);
    in.SetPos(0);
    in.Read(got, 4);
    EXPECT_EQ(got[0], 10);

    Cmn_MemBufferInStream empty(nullptr, nullptr);
    EXPECT_EQ(empty.GetEndPos(), 0);
    EXPECT_TRUE(ThrowsEndOfFile([&] { empty.Read(got, 1); }));
}
