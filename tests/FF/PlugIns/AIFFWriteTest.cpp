// Writing AIFF and AIFF-C files through their handlers, in memory: the
// layout of a new file, instrument loops as 'INST' and 'MARK', identity and
// instrument data added to foreign files, and what a rewrite keeps of them.
#include "FF/PlugIns/AIFFTestSupport.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"

#include <random>

namespace
{
using namespace aifftest;

Bytes Noise(std::size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    Bytes b(n);
    for (auto& x : b)
        x = static_cast<std::uint8_t>(rng());
    return b;
}

std::vector<std::string> Ids(Bytes const& b)
{
    std::vector<std::string> ids;
    for (auto const& c : Walk(b))
        ids.push_back(c.id);
    return ids;
}

class AIFFWrite : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }

    // A new file written and flushed.
    static void MakeNew(Handler& h, std::uint16_t channels, std::uint16_t bits, std::int64_t frames, Bytes const& audio)
    {
        ASSERT_EQ(h.mAudio->Format(channels, 44100, bits, frames), S_OK);
        Bytes copy = audio;
        ASSERT_EQ(h.IE()->SampleSetPosition(0, 0), S_OK);
        ASSERT_EQ(h.IE()->SampleWrite(copy.data(), frames), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
    }
};

TEST_F(AIFFWrite, NewFileLayout)
{
    struct Expected
    {
        char const* id;
        std::int64_t at;
        std::uint32_t size;
    };
    struct
    {
        bool aifc;
        std::uint16_t channels, bits;
        std::int64_t frames;
        std::vector<Expected> chunks;
    } const cases[] = {
        // FORM 12, 'bext' 622 and COMM 26 (AIFF) or FVER 12 and COMM 46
        // (AIFF-C) in front of the pad; with its header and SSND's 16 bytes,
        // the audio is at 1024.
        {false,
         2,
         16,
         1000,
         {{"FORM", 0, 5124},
          {"bext", 12, 614},
          {"COMM", 634, 18},
          {"Elmo", 660, 340},
          {"SSND", 1008, 4008},
          {"umid", 5024, 24},
          {"minf", 5056, 16},
          {"regn", 5080, 4},
          {"ovwf", 5092, 4},
          {"INST", 5104, 20}}},
        {true,
         2,
         16,
         1000,
         {{"FORM", 0, 5124},
          {"FVER", 12, 4},
          {"bext", 24, 614},
          {"COMM", 646, 38},
          {"Elmo", 692, 308},
          {"SSND", 1008, 4008},
          {"umid", 5024, 24},
          {"minf", 5056, 16},
          {"regn", 5080, 4},
          {"ovwf", 5092, 4},
          {"INST", 5104, 20}}},
        // An odd amount of audio takes a pad byte that its size leaves out.
        {false,
         1,
         8,
         1001,
         {{"FORM", 0, 2126},
          {"bext", 12, 614},
          {"COMM", 634, 18},
          {"Elmo", 660, 340},
          {"SSND", 1008, 1009},
          {"umid", 2026, 24},
          {"minf", 2058, 16},
          {"regn", 2082, 4},
          {"ovwf", 2094, 4},
          {"INST", 2106, 20}}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.aifc ? "AIFF-C" : "AIFF");
        std::int64_t const bytes = c.frames * c.channels * c.bits / 8;
        Bytes const audio = Noise(static_cast<std::size_t>(bytes), 1);
        Handler h({}, c.aifc);
        MakeNew(h, c.channels, c.bits, c.frames, audio);
        Bytes const& b = h.mFile.Bytes();

        auto const walked = Walk(b);
        ASSERT_EQ(walked.size(), c.chunks.size());
        for (std::size_t i = 0; i < walked.size(); ++i)
        {
            SCOPED_TRACE(c.chunks[i].id);
            EXPECT_EQ(walked[i].id, c.chunks[i].id);
            EXPECT_EQ(walked[i].at, c.chunks[i].at);
            EXPECT_EQ(walked[i].size, c.chunks[i].size);
        }
        EXPECT_EQ(static_cast<std::int64_t>(b.size()), c.chunks.back().at + 28);
        EXPECT_EQ(std::string(b.begin() + 8, b.begin() + 12), c.aifc ? "AIFC" : "AIFF");
        // SSND: offset and block size 0, then the audio at 1024.
        EXPECT_EQ(BigEndian(b, 1016, 4), 0u);
        EXPECT_EQ(BigEndian(b, 1020, 4), 0u);
        EXPECT_EQ(Bytes(b.begin() + 1024, b.begin() + 1024 + bytes), audio);
        // COMM: channels, frames, bits, and 44100 as an 80-bit float.
        std::int64_t const commAt = Find(b, "COMM").at + 8;
        Bytes const comm(b.begin() + commAt, b.begin() + commAt + 18);
        WaveBuilder expected(true);
        expected.U16(c.channels).U32(static_cast<std::uint32_t>(c.frames)).U16(c.bits);
        expected.Raw({0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0});
        EXPECT_EQ(comm, expected.Bytes());
        if (c.aifc)
        {
            std::string const tail(b.begin() + commAt + 18, b.begin() + commAt + 38);
            EXPECT_EQ(tail, std::string("NONE\x0eNot Compressed\0", 20));
            // The format version every AIFF-C reader expects.
            EXPECT_EQ(BigEndian(b, 20, 4), 0xA2805140u);
        }
        // INST with the defaults of a file without instrument data: a gain of 0 dB.
        std::int64_t const inst = c.chunks.back().at + 8;
        EXPECT_EQ(Bytes(b.begin() + inst, b.begin() + inst + 20),
                  (Bytes{60, 0, 0, 127, 0, 127, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));

        // Read back by the same handler, and refused by the other one.
        Handler again(b, c.aifc);
        ASSERT_EQ(again.mAudio->Open(), S_OK);
        ASSERT_NE(again.Velmora(), nullptr);
        EXPECT_NE(again.Ebu(), nullptr);
        EXPECT_EQ(again.Frames(), c.frames);
        EXPECT_EQ(again.DataOffset(), 1024);
        std::uint8_t umid[16], umid2[16];
        h.Velmora()->GetUmid(umid);
        again.Velmora()->GetUmid(umid2);
        EXPECT_EQ(std::memcmp(umid, umid2, 16), 0);
        Handler other(b, !c.aifc);
        other.mAudio->Open();
        EXPECT_EQ(other.IE(), nullptr);
    }
}

TEST_F(AIFFWrite, LoopsAsInstAndMark)
{
    struct Record
    {
        std::uint16_t id;
        std::uint32_t position;
    };
    struct
    {
        char const* name;
        PlugInInstrument in;
        std::uint16_t modes[2];      // sustain and release play modes in 'INST'
        std::vector<Record> markers; // empty: no 'MARK' chunk at all
        PlugInInstrument back;
    } const cases[] = {
        {"both loops",
         {1, 100, 200, 2, 300, 400, 62, -5},
         {1, 2},
         {{0, 100}, {1, 200}, {2, 300}, {3, 400}},
         {1, 100, 200, 2, 300, 400, 62, -5}},
        {"loop 1 only", {2, 10, 20, 0, 0, 0, 60, 0}, {2, 0}, {{0, 10}, {1, 20}}, {2, 10, 20, 0, 0, 0, 60, 0}},
        {"loop 2 only keeps ids 2 and 3",
         {0, 0, 0, 1, 30, 40, 60, 0},
         {0, 1},
         {{2, 30}, {3, 40}},
         {0, 0, 0, 1, 30, 40, 60, 0}},
        {"a backward loop plays forward",
         {3, 5, 6, 0, 0, 0, 48, 99},
         {1, 0},
         {{0, 5}, {1, 6}},
         {1, 5, 6, 0, 0, 0, 48, 99}},
        {"positions beyond 32 bits keep their low word",
         {1, 0x100000007ll, 0x100000009ll, 0, 0, 0, 60, 0},
         {1, 0},
         {{0, 7}, {1, 9}},
         {1, 7, 9, 0, 0, 0, 60, 0}},
        {"no loops: no MARK", {0, 1, 2, 0, 3, 4, 70, 1}, {0, 0}, {}, {0, 0, 0, 0, 0, 0, 70, 1}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Handler h;
        MakeNew(h, 1, 16, 1000, Noise(2000, 2));
        PlugInInstrument in = c.in;
        ASSERT_EQ(h.Orvanel()->SetInstrumentAttr(&in), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        Bytes const& b = h.mFile.Bytes();

        RawChunk const inst = Find(b, "INST");
        ASSERT_EQ(inst.size, 20u);
        std::int64_t const i = inst.at + 8;
        EXPECT_EQ(b[i], c.in.rootMIDINote);
        EXPECT_EQ(static_cast<std::int8_t>(b[i + 1]), c.in.fineTuneCents);
        EXPECT_EQ(Bytes(b.begin() + i + 2, b.begin() + i + 8), (Bytes{0, 127, 0, 127, 0, 0}));
        WaveBuilder loops(true);
        loops.U16(c.modes[0]).U16(c.modes[0] ? 0 : 0).U16(c.modes[0] ? 1 : 0);
        loops.U16(c.modes[1]).U16(c.modes[1] ? 2 : 0).U16(c.modes[1] ? 3 : 0);
        EXPECT_EQ(Bytes(b.begin() + i + 8, b.begin() + i + 20), loops.Bytes());

        RawChunk const mark = Find(b, "MARK");
        if (c.markers.empty())
        {
            EXPECT_EQ(mark.at, -1);
        }
        else
        {
            ASSERT_EQ(mark.size, 2 + 16 * c.markers.size());
            std::int64_t const m = mark.at + 8;
            EXPECT_EQ(BigEndian(b, m, 2), c.markers.size());
            for (std::size_t k = 0; k < c.markers.size(); ++k)
            {
                std::int64_t const r = m + 2 + 16 * static_cast<std::int64_t>(k);
                EXPECT_EQ(BigEndian(b, r, 2), c.markers[k].id);
                EXPECT_EQ(BigEndian(b, r + 2, 4), c.markers[k].position);
                EXPECT_EQ(b[r + 6], 8);
                EXPECT_EQ(std::string(b.begin() + r + 7, b.begin() + r + 15), k % 2 ? "end loop" : "beg loop");
            }
            // 'MARK' is the last chunk and ends the file.
            EXPECT_EQ(mark.at + 8 + mark.size, static_cast<std::int64_t>(b.size()));
        }

        Handler again(b);
        ASSERT_EQ(again.mAudio->Open(), S_OK);
        ASSERT_EQ(again.Orvanel()->HasInstrumentAttr(), S_OK);
        PlugInInstrument const got = again.Instrument();
        EXPECT_EQ(std::memcmp(&got, &c.back, sizeof got), 0)
            << got.loop1Type << " " << got.loop1Start << "-" << got.loop1Stop << " / " << got.loop2Type << " "
            << got.loop2Start << "-" << got.loop2Stop;
    }
}

// 'MARK' goes at a flush without loops, and comes back behind everything
// when a loop does: the loops of 'INST' point at its markers.
TEST_F(AIFFWrite, MarkFollowsTheLoops)
{
    Handler h;
    MakeNew(h, 1, 16, 100, Noise(200, 3));
    std::size_t const without = h.mFile.Bytes().size();
    EXPECT_EQ(Find(h.mFile.Bytes(), "MARK").at, -1);
    PlugInInstrument in{1, 10, 20, 0, 0, 0, 60, 0};
    h.Orvanel()->SetInstrumentAttr(&in);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    EXPECT_EQ(Find(h.mFile.Bytes(), "MARK").at, static_cast<std::int64_t>(without));
    {
        Handler again(h.mFile.Bytes());
        ASSERT_EQ(again.mAudio->Open(), S_OK);
        std::int64_t const stop = again.Instrument().loop1Stop; // packed: no reference to it
        EXPECT_EQ(stop, 20);
    }
    in.loop1Type = 0;
    h.Orvanel()->SetInstrumentAttr(&in);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    EXPECT_EQ(Find(h.mFile.Bytes(), "MARK").at, -1);
    EXPECT_EQ(h.mFile.Bytes().size(), without);
}

// A foreign file of each kind with a chunk the handler does not know in
// front of the audio.
Bytes Foreign(bool aifc, Bytes const& audio)
{
    AiffBuilder b;
    b.Form(aifc ? "AIFC" : "AIFF");
    if (aifc)
        b.CommC(2, static_cast<std::uint32_t>(audio.size() / 4), 16, 48000);
    else
        b.Comm(2, static_cast<std::uint32_t>(audio.size() / 4), 16, 48000);
    return b.Chunk("NAME", Bytes{'t', 'a', 'k', 'e'}).Ssnd(audio).Done();
}

TEST_F(AIFFWrite, IdentityAddedBehindTheAudio)
{
    for (bool aifc : {false, true})
    {
        SCOPED_TRACE(aifc ? "AIFF-C" : "AIFF");
        Bytes const audio = Noise(4 * 3001, 4);
        Bytes const file = Foreign(aifc, audio);
        std::int64_t const audioEnd = static_cast<std::int64_t>(file.size());
        std::int64_t const audioAt = audioEnd - static_cast<std::int64_t>(audio.size());
        Handler h(file, aifc);
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        EXPECT_EQ(h.Velmora(), nullptr);
        std::int64_t const before = Sys_Utils::GetUTC();
        ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
        std::int64_t const after = Sys_Utils::GetUTC();
        ASSERT_NE(h.Velmora(), nullptr);
        // The file becomes the system's media now, as of revision 0.
        std::uint64_t date = 0, revision = 1;
        h.Velmora()->GetUTCModDate(&date);
        h.Velmora()->GetDataRevision(&revision);
        EXPECT_GE(static_cast<std::int64_t>(date), before);
        EXPECT_LE(static_cast<std::int64_t>(date), after);
        EXPECT_EQ(revision, 0u);
        h.mFile.ClearWriteLog();
        ASSERT_EQ(h.mAudio->Flush(), S_OK);

        Bytes const& b = h.mFile.Bytes();
        for (auto const& w : h.mFile.WriteLog())
            EXPECT_TRUE(w.offset + w.length <= audioAt || w.offset >= audioEnd) << "write at " << w.offset;
        EXPECT_TRUE(std::equal(file.begin() + 8, file.end(), b.begin() + 8));
        EXPECT_EQ(BigEndian(b, 4, 4), b.size() - 8);
        EXPECT_EQ(Ids(b), (std::vector<std::string>{"FORM", "COMM", "NAME", "SSND", "umid", "minf", "regn", "ovwf"}));

        Handler again(b, aifc);
        ASSERT_EQ(again.mAudio->Open(), S_OK);
        EXPECT_NE(again.Velmora(), nullptr);
        EXPECT_EQ(again.Frames(), 3001);
        // AIFF-C says it could take instrument data, and then refuses it.
        EXPECT_EQ(again.IE()->CanImplement(&IID_IOrvanelAudioFile), S_OK);
        EXPECT_EQ(again.IE()->Implement(&IID_IOrvanelAudioFile), aifc ? E_FAIL : S_OK);
        EXPECT_EQ(again.IE()->Implement(&IID_IEbuAudioFile), E_FAIL);
    }
}

TEST_F(AIFFWrite, InstrumentAddedInFrontOfTheAudio)
{
    Bytes const audio = Noise(4 * 2000, 5);
    Bytes const file = Foreign(false, audio);
    Handler h(file);
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    EXPECT_EQ(h.Orvanel(), nullptr);
    ASSERT_EQ(h.IE()->Implement(&IID_IOrvanelAudioFile), S_OK);
    ASSERT_NE(h.Orvanel(), nullptr);
    PlugInInstrument in{2, 500, 1500, 0, 0, 0, 57, 3};
    h.Orvanel()->SetInstrumentAttr(&in);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);

    Bytes const& b = h.mFile.Bytes();
    EXPECT_EQ(Ids(b), (std::vector<std::string>{"FORM", "COMM", "NAME", "INST", "MARK", "SSND"}));
    std::int64_t const audioAt = Find(b, "SSND").at + 16;
    EXPECT_EQ(audioAt, static_cast<std::int64_t>(file.size() - audio.size()) + 28 + 42);
    EXPECT_EQ(Bytes(b.begin() + audioAt, b.end()), audio);

    Handler again(b);
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    PlugInInstrument const got = again.Instrument();
    EXPECT_EQ(std::memcmp(&got, &in, sizeof got), 0);
    EXPECT_EQ(again.DataOffset(), audioAt);
    // Nothing to add a second time.
    ASSERT_EQ(again.IE()->Implement(&IID_IOrvanelAudioFile), S_OK);
    ASSERT_EQ(again.mAudio->Flush(), S_OK);
    EXPECT_EQ(again.mFile.Bytes(), b);
}

// A chunk no reader can take ends the walk, but its bytes and all behind
// them stay, behind the form.
TEST_F(AIFFWrite, CorruptMarkBehindTheAudioIsKeptBehindTheForm)
{
    Bytes const audio = Noise(400, 7);
    AiffBuilder b;
    b.Form().Comm(2, 100, 16, 44100).Ssnd(audio).Chunk("ANNO", Bytes{'o', 'k'});
    std::size_t const kept = b.AsIs().size();
    b.Chunk("MARK", Bytes{0, 9, 0, 1}).Chunk("APPL", Bytes(6, 1)); // nine markers in four bytes
    Bytes const file = b.Done();

    Handler h(file);
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    Bytes const& out = h.mFile.Bytes();
    EXPECT_EQ(Ids(out), (std::vector<std::string>{"FORM", "COMM", "SSND", "ANNO", "umid", "minf", "regn", "ovwf",
                                                  "MARK", "APPL"}));
    EXPECT_TRUE(std::equal(file.begin() + 8, file.begin() + static_cast<std::ptrdiff_t>(kept), out.begin() + 8));
    EXPECT_TRUE(std::equal(file.begin() + static_cast<std::ptrdiff_t>(kept), file.end(),
                           out.end() - static_cast<std::ptrdiff_t>(file.size() - kept)));
}

// Another tool's COMM (its compression name, whatever its bytes) and SSND
// fields (offset, block size) stay as they were when identity is added.
TEST_F(AIFFWrite, ForeignFieldsKept)
{
    struct
    {
        char const* name;
        Bytes file;
        std::uint32_t ssndOffset;
    } const cases[] = {
        {"AIFF-C name of odd length",
         AiffBuilder().Form("AIFC").CommC(1, 4, 16, 8000, "NONE", "none").Ssnd(Ramp(8)).Done(), 0},
        {"AIFF-C name longer than its bytes",
         AiffBuilder()
             .Form("AIFC")
             .Chunk("COMM",
                    []
                    {
                        WaveBuilder w(true);
                        X80 const r = Rate(8000);
                        w.U16(1).U32(4).U16(16).Raw(Bytes(r.begin(), r.end())).Id("NONE").Raw({20, 'a', 'b', 'c'});
                        return w.Bytes();
                    }())
             .Ssnd(Ramp(8))
             .Done(),
         0},
        {"SSND offset", AiffBuilder().Form().Comm(1, 4, 16, 8000).Ssnd(Ramp(8), 8, 0).Done(), 8},
        {"SSND block size of one frame", AiffBuilder().Form().Comm(1, 4, 16, 8000).Ssnd(Ramp(8), 0, 2).Done(), 0},
        {"SSND absolute offset",
         AiffBuilder()
             .Form()
             .Comm(1, 4, 16, 8000)
             .Chunk("SSND",
                    []
                    {
                        WaveBuilder w(true);
                        w.U32(54).U32(0).Raw(Ramp(8));
                        return w.Bytes();
                    }())
             .Done(),
         0},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        bool const aifc = std::string(c.file.begin() + 8, c.file.begin() + 12) == "AIFC";
        Handler h(c.file, aifc);
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        Bytes const& b = h.mFile.Bytes();
        for (char const* id : {"COMM", "SSND"})
        {
            RawChunk const before = Find(c.file, id), after = Find(b, id);
            ASSERT_EQ(before.size, after.size) << id;
            std::int64_t const n = 8 + (std::string(id) == "SSND" ? 8 : before.size);
            EXPECT_TRUE(std::equal(c.file.begin() + before.at, c.file.begin() + before.at + n, b.begin() + after.at))
                << id;
        }
        std::int64_t const audioAt = Find(b, "SSND").at + 16 + c.ssndOffset;
        EXPECT_EQ(Bytes(b.begin() + audioAt, b.begin() + audioAt + 8), Ramp(8));
        Handler again(b, aifc);
        ASSERT_EQ(again.mAudio->Open(), S_OK);
        EXPECT_EQ(again.DataOffset(), audioAt);
    }
}

TEST_F(AIFFWrite, TimeReferenceLowWordFirstAndBack)
{
    Handler h;
    ASSERT_EQ(h.mAudio->Format(1, 48000, 24, 0), S_OK);
    ASSERT_EQ(h.Ebu()->SetSMPTETimeStamp(0x0102030405060708ll), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    Bytes const& b = h.mFile.Bytes();
    std::int64_t const at = Find(b, "bext").at + 8 + 338;
    EXPECT_EQ(Bytes(b.begin() + at, b.begin() + at + 10), (Bytes{8, 7, 6, 5, 4, 3, 2, 1, 0, 0}));
    Handler again(b);
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    std::int64_t stamp = 0;
    again.Ebu()->GetSMPTETimeStamp(&stamp);
    EXPECT_EQ(stamp, 0x0102030405060708ll);
}

// Sizes are 32 bits in this format: a file that would pass them is refused,
// not written with sizes that wrap.
TEST_F(AIFFWrite, PastFourGigabytesIsRefused)
{
    Handler h;
    EXPECT_EQ(h.mAudio->Format(1, 48000, 16, std::int64_t{1} << 31), kAudioFile_BadParameter);
    ASSERT_EQ(h.mAudio->Format(1, 48000, 16, 10), S_OK);
    EXPECT_EQ(h.Native()->SetNumSamples(std::int64_t{1} << 31), kAudioFile_BadParameter);
}
} // namespace
