// Sys_RealTimeTraceBuffer: records through the ring's end, the full line
// where records were lost, writers and a reader at once, and no heap
// allocation while storing.
#include "Sys/Sys_RealTimeTraceBuffer.h"
#include "Sys/Sys_RealTimeTraceBuffer_VarLenElem.h"

#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::string const kFull = "*** Buffer full, some messages lost ***";

// A record of VarLenElem form: its length, then its bytes as text.
void PrintText(Sys_RingBuffer<char>& ring, std::ostream& out)
{
    int32 length = 0;
    ring.Read(&length, sizeof(length));
    std::string text(static_cast<std::size_t>(length), '\0');
    ring.Read(text.data(), length);
    out << text << '\n';
}

void StoreText(Sys_RealTimeTraceBuffer& buffer, std::string const& text)
{
    Sys_RealTimeTraceBuffer_VarLenElem const elem(static_cast<int32>(text.size()), text.data());
    buffer.Store(elem, &PrintText);
}

// Appends the lines that Dump prints.
void DumpInto(Sys_RealTimeTraceBuffer& buffer, std::vector<std::string>* lines)
{
    std::ostringstream out;
    buffer.Dump(&out);
    std::istringstream in(out.str());
    for (std::string line; std::getline(in, line);)
        lines->push_back(line);
}

TEST(Sys_RealTimeTraceBuffer, TheFullLineStandsExactlyWhereRecordsWereLost)
{
    // Room for two records of 8 characters and the full line.
    int32 const roomForTwo =
        static_cast<int32>(2 * Sys_RealTimeTraceBuffer::RecordBytes(4 + 8) + Sys_RealTimeTraceBuffer::RecordBytes(0));
    std::string const kDump = "<dump>"; // a step that dumps rather than stores
    struct Case
    {
        char const* name;
        int32 capacity;
        std::vector<std::string> steps, dumped;
    };
    Case const cases[] = {
        {"empty", 256, {}, {}},
        {"larger than the ring", 64, {std::string(100, 'x'), "b"}, {kFull, "b"}},
        {"ring stays full: one line", roomForTwo, {"one-0000", "two-0000", "3", "4"}, {"one-0000", "two-0000", kFull}},
        {"a line per full episode, and records again after a Dump",
         roomForTwo,
         {"one-0000", "two-0000", "3", kDump, "4", "5-000000", "6-000000", "7"},
         {"one-0000", "two-0000", kFull, "4", "5-000000", kFull}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_RealTimeTraceBuffer buffer(c.capacity);
        std::vector<std::string> dumped;
        for (auto const& step : c.steps)
            step == kDump ? DumpInto(buffer, &dumped) : StoreText(buffer, step);
        DumpInto(buffer, &dumped);
        EXPECT_EQ(dumped, c.dumped);
    }
}

TEST(Sys_RealTimeTraceBuffer, RecordsOfEverySizeComeBackWholeAcrossTheRingsEnd)
{
    Sys_RealTimeTraceBuffer buffer(257);
    std::mt19937 random(26);
    std::vector<std::string> stored, dumped;
    for (int i = 0; i < 2000; ++i)
    {
        std::string text(random() % 90 + 1, '\0');
        for (auto& ch : text)
            ch = static_cast<char>('a' + random() % 26);
        StoreText(buffer, text);
        stored.push_back(text);
        if (random() % 3 == 0)
            DumpInto(buffer, &dumped);
    }
    DumpInto(buffer, &dumped);
    // Whatever was lost is marked; everything else is whole and in order.
    std::size_t s = 0;
    bool markedSinceLoss = true;
    for (auto const& line : dumped)
    {
        if (line == kFull)
        {
            markedSinceLoss = true;
            continue;
        }
        std::size_t skipped = 0;
        while (s < stored.size() && stored[s] != line)
            ++s, ++skipped;
        ASSERT_LT(s, stored.size()) << "a record that was never stored: " << line;
        EXPECT_TRUE(skipped == 0 || markedSinceLoss) << "records lost without the full line before " << line;
        markedSinceLoss = false;
        ++s;
    }
}

// Two writers and a reader at once. Each record carries its writer, its
// number and a checksum: a torn record fails the sum, and a gap in a
// writer's numbers must have a full line before the record after it.
struct Stamped
{
    u32 writer;
    u32 seq;
    u32 payload[250]; // long enough for a copy to be caught half done
    u32 sum;
};

u32 SumOf(Stamped const& r)
{
    u32 sum = r.writer * 7919u + r.seq;
    for (u32 p : r.payload)
        sum = sum * 31u + p;
    return sum;
}

void PrintStamped(Sys_RingBuffer<char>& ring, std::ostream& out)
{
    Stamped r;
    ring.Read(&r, sizeof(r));
    out << r.writer << ' ' << r.seq << ' ' << (SumOf(r) == r.sum ? "ok" : "torn") << '\n';
}

TEST(Sys_RealTimeTraceBuffer, TwoWritersAndALiveReaderSeeNoTornRecordAndNoUnmarkedGap)
{
    constexpr u32 kPerWriter = 20000;
    Sys_RealTimeTraceBuffer buffer(16384);
    std::atomic<int> writing{2};
    std::atomic<u64> allocations{0};
    std::vector<std::thread> writers;
    for (u32 w = 0; w < 2; ++w)
        writers.emplace_back(
            [&, w]
            {
                vfltest::AllocationCounter counter;
                for (u32 i = 0; i < kPerWriter; ++i)
                {
                    Stamped r{w, i, {}, 0};
                    for (u32 k = 0; k < std::size(r.payload); ++k)
                        r.payload[k] = i * 2654435761u + k * w;
                    r.sum = SumOf(r);
                    buffer.Store(&r, sizeof(r), &PrintStamped);
                }
                allocations += counter.Count();
                --writing;
            });
    std::ostringstream text;
    while (writing.load() > 0)
        buffer.Dump(&text);
    for (auto& t : writers)
        t.join();
    buffer.Dump(&text);
    EXPECT_EQ(allocations.load(), 0u);

    std::istringstream in(text.str());
    i64 last[2] = {-1, -1};
    bool marked[2] = {false, false};
    int torn = 0, unmarkedGaps = 0, backwards = 0;
    for (std::string line; std::getline(in, line);)
    {
        if (line == kFull)
        {
            marked[0] = marked[1] = true;
            continue;
        }
        std::istringstream fields(line);
        u32 w = 2, seq = 0;
        std::string state;
        fields >> w >> seq >> state;
        ASSERT_LT(w, 2u) << line;
        torn += state != "ok";
        backwards += static_cast<i64>(seq) <= last[w];
        unmarkedGaps += static_cast<i64>(seq) > last[w] + 1 && !marked[w];
        last[w] = seq;
        marked[w] = false;
    }
    EXPECT_GE(last[0] + last[1], 0) << "the reader got records";
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(backwards, 0);
    EXPECT_EQ(unmarkedGaps, 0);
}

} // namespace
