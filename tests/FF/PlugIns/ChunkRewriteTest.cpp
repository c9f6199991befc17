// Writing and rewriting chunked files through the WAVE handler, in memory:
// the layout of a new file, metadata that grows behind the audio without
// moving it, chunks in front of the audio that move it in place, identity
// added to a foreign file, and the metadata chunks read back by an
// independent walker.
#include "FF/PlugIns/RelocatableBlock.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "FF/PlugIns/WAVE.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Umid.h"
#include "support/MemoryIFile.h"
#include "support/WaveBuilder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>

namespace
{
using Bytes = std::vector<std::uint8_t>;

// An independent walk over a RIFF file: id and body of each chunk.
struct RawChunk
{
    std::string id;
    std::int64_t at; // header position
    std::uint32_t size;
};

std::vector<RawChunk> Walk(Bytes const& b)
{
    std::vector<RawChunk> out;
    std::int64_t pos = 0;
    while (pos + 8 <= static_cast<std::int64_t>(b.size()))
    {
        std::uint32_t size;
        std::memcpy(&size, b.data() + pos + 4, 4);
        out.push_back({std::string(reinterpret_cast<char const*>(b.data() + pos), 4), pos, size});
        if (out.back().id == "RIFF")
            pos += 12;
        else
            pos += 8 + size + (size & 1);
    }
    return out;
}

RawChunk Find(Bytes const& b, std::string const& id)
{
    for (auto const& c : Walk(b))
        if (c.id == id)
            return c;
    return {"", -1, 0};
}

template <class T> T At(Bytes const& b, std::int64_t offset)
{
    T v;
    std::memcpy(&v, b.data() + offset, sizeof v);
    return v;
}

Bytes Noise(std::size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    Bytes b(n);
    for (auto& x : b)
        x = static_cast<std::uint8_t>(rng());
    return b;
}

// A WAVE handler on a file in memory, with its interfaces.
class Handler
{
public:
    explicit Handler(Bytes bytes = {}) : mFile(std::move(bytes))
    {
        void* object = nullptr;
        WAVE::Create(&object);
        mAudio = static_cast<IAudioFile*>(object);
        EXPECT_EQ(mAudio->SetFile(&mFile), S_OK);
    }
    ~Handler() { mAudio->Release(); }
    Handler(Handler const&) = delete;
    Handler& operator=(Handler const&) = delete;

    template <class I> I* Get(PlugInGuid const& iid)
    {
        void* p = nullptr;
        if (mAudio->QueryInterface(iid, &p) != S_OK)
            return nullptr;
        static_cast<IUnknown*>(p)->Release(); // the handler lives as long as this object
        return static_cast<I*>(p);
    }
    IImportExportAudioFile* IE() { return Get<IImportExportAudioFile>(IID_IImportExportAudioFile); }
    INativeAudioFile* Native() { return Get<INativeAudioFile>(IID_INativeAudioFile); }
    IVelmoraAudioFile* Velmora() { return Get<IVelmoraAudioFile>(IID_IVelmoraAudioFile); }
    IOrvanelAudioFile* Orvanel() { return Get<IOrvanelAudioFile>(IID_IOrvanelAudioFile); }

    IAudioFile* mAudio = nullptr;
    MemoryIFile mFile;
};

class ChunkRewrite : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }

    // A new 16-bit stereo file of `frames` frames, written and flushed.
    void MakeNew(Handler& h, std::int64_t frames, Bytes const& audio)
    {
        ASSERT_EQ(h.mAudio->Format(2, 44100, 16, frames), S_OK);
        ASSERT_EQ(h.IE()->SampleSetPosition(0, 0), S_OK);
        Bytes copy = audio;
        ASSERT_EQ(h.IE()->SampleWrite(copy.data(), frames), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
    }
};

TEST_F(ChunkRewrite, NewFileLayout)
{
    Bytes const audio = Noise(4000, 1);
    Handler h;
    MakeNew(h, 1000, audio);
    Bytes const& b = h.mFile.Bytes();

    struct
    {
        char const* id;
        std::int64_t at;
        std::uint32_t size;
    } const expected[] = {
        {"RIFF", 0, 5140},  {"bext", 12, 614},  {"fmt ", 634, 16}, {"Elmo", 658, 350}, {"data", 1016, 4000},
        {"umid", 5024, 24}, {"minf", 5056, 16}, {"regn", 5080, 4}, {"ovwf", 5092, 4},  {"smpl", 5104, 36},
    };
    auto const walked = Walk(b);
    ASSERT_EQ(walked.size(), std::size(expected));
    for (std::size_t i = 0; i < walked.size(); ++i)
    {
        SCOPED_TRACE(expected[i].id);
        EXPECT_EQ(walked[i].id, expected[i].id);
        EXPECT_EQ(walked[i].at, expected[i].at);
        EXPECT_EQ(walked[i].size, expected[i].size);
    }
    EXPECT_EQ(b.size(), 5148u);
    EXPECT_EQ(Bytes(b.begin() + 1024, b.begin() + 5024), audio);

    // 'bext': the fixed texts, the umid as lower-case hex, the coding history.
    std::int64_t const bext = 20;
    EXPECT_STREQ(reinterpret_cast<char const*>(&b[bext]), "Velmora generated sound file");
    EXPECT_STREQ(reinterpret_cast<char const*>(&b[bext + 256]), "Velmora");
    std::uint8_t umid[16];
    h.Velmora()->GetUmid(umid);
    Sys_Umid u;
    std::memcpy(&u, umid, 16);
    u.SwapIfWin32();
    char hex[33];
    for (int i = 0; i < 16; ++i)
        std::snprintf(hex + 2 * i, 3, "%02x", reinterpret_cast<std::uint8_t const*>(&u)[i]);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(&b[bext + 288]), 32), std::string(hex, 32));
    EXPECT_EQ(b[bext + 320 + 4], '-');
    EXPECT_EQ(b[bext + 330 + 2], '-');
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(&b[bext + 602]), 12), std::string("PCM Encoded\0", 12));
    // 'umid' on disk is the id word by word in big-endian order.
    EXPECT_EQ(std::memcmp(&b[5024 + 8], &u, 16), 0);

    // The file reads back as the system's own media.
    Handler again(b);
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    ASSERT_NE(again.Velmora(), nullptr);
    std::int64_t frames = 0;
    again.IE()->GetNumSamples(&frames);
    EXPECT_EQ(frames, 1000);
    std::uint8_t umid2[16];
    again.Velmora()->GetUmid(umid2);
    EXPECT_EQ(std::memcmp(umid, umid2, 16), 0);
}

TEST_F(ChunkRewrite, MetadataGrowingBehindTheAudioMovesNoAudio)
{
    Bytes const audio = Noise(40000, 2);
    Handler h;
    MakeNew(h, 10000, audio);
    h.mFile.ClearWriteLog();
    for (int i = 0; i < 50; ++i)
    {
        PlugInRegion r = {};
        r.startSample = static_cast<std::uint64_t>(i);
        r.stopSample = static_cast<std::uint64_t>(i + 100);
        r.nameLength = 1;
        r.name[0] = 'r';
        ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
    }
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    Bytes const& b = h.mFile.Bytes();
    for (auto const& w : h.mFile.WriteLog())
        EXPECT_TRUE(w.offset + w.length <= 1024 || w.offset >= 1024 + 40000) << "write at " << w.offset;
    EXPECT_EQ(Bytes(b.begin() + 1024, b.begin() + 1024 + 40000), audio);
    EXPECT_EQ(Find(b, "regn").size, 4u + 88 * 50);
}

// A foreign file whose 'bext' has a coding history of `history` bytes: a
// new identity leaves that 'bext' as the other tool wrote it, and a sampler
// chunk in front of the audio that grows and shrinks moves the audio in
// place, both ways.
TEST_F(ChunkRewrite, ChunkInFrontOfTheAudioMovesItBothWays)
{
    for (std::uint32_t history : {100u, 0u, 11u})
    {
        SCOPED_TRACE(history);
        Bytes const audio = Noise(3 << 20, history);
        Bytes bext = Noise(602 + history, history + 1);
        Bytes const file = WaveBuilder()
                               .RiffHeader()
                               .Chunk("bext", bext)
                               .Raw(Bytes(history & 1, 0))
                               .Fmt(2, 48000, 16)
                               .Data(audio)
                               .Chunk("LIST", Bytes{'I', 'N', 'F', 'O'})
                               .FixRiffSize()
                               .Bytes();
        std::int64_t const oldOffset = Find(file, "data").at + 8;
        Handler h(file);
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
        ASSERT_EQ(h.Velmora()->StampWithUmid(), S_OK);
        ASSERT_EQ(h.IE()->Implement(&IID_IOrvanelAudioFile), S_OK);
        PlugInInstrument twoLoops{1, 10, 20, 2, 30, 40, 60, 0};
        PlugInInstrument noLoops{0, 0, 0, 0, 0, 0, 60, 0};
        // Sampler chunk of 36 bytes, then 84 with two loops, then 36 again.
        for (auto [instrument, growth] : {std::pair{&noLoops, 44}, {&twoLoops, 92}, {&noLoops, 44}})
        {
            h.Orvanel()->SetInstrumentAttr(instrument);
            ASSERT_EQ(h.mAudio->Flush(), S_OK);
            Bytes const& b = h.mFile.Bytes();
            std::int64_t const newOffset = Find(b, "data").at + 8;
            EXPECT_EQ(newOffset - oldOffset, growth);
            EXPECT_EQ(Bytes(b.begin() + Find(b, "bext").at + 8, b.begin() + Find(b, "bext").at + 8 + 602 + history),
                      bext);
            EXPECT_EQ(Bytes(b.begin() + newOffset, b.begin() + newOffset + static_cast<std::int64_t>(audio.size())),
                      audio);
            EXPECT_NE(Find(b, "LIST").at, -1);
            EXPECT_EQ(At<std::uint32_t>(b, 4), b.size() - 8);
        }

        Handler again(h.mFile.Bytes());
        ASSERT_EQ(again.mAudio->Open(), S_OK);
        ASSERT_NE(again.Velmora(), nullptr);
        std::int64_t frames = 0;
        again.IE()->GetNumSamples(&frames);
        EXPECT_EQ(frames, static_cast<std::int64_t>(audio.size() / 4));
    }
}

TEST_F(ChunkRewrite, IdentityAddedToAForeignFileGoesBehindTheAudio)
{
    Bytes const audio = Noise(12345 * 2, 3);
    Bytes const file =
        WaveBuilder().RiffHeader().Fmt(1, 44100, 16).Chunk("LIST", Bytes(26, 'x')).Data(audio).FixRiffSize().Bytes();
    std::int64_t const audioAt = Find(file, "data").at + 8;
    std::int64_t const audioEnd = audioAt + static_cast<std::int64_t>(audio.size());
    Handler h(file);
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    EXPECT_EQ(h.Velmora(), nullptr);
    h.mFile.ClearWriteLog();
    ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
    ASSERT_NE(h.Velmora(), nullptr);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);

    Bytes const& b = h.mFile.Bytes();
    EXPECT_EQ(Bytes(b.begin(), b.begin() + audioEnd),
              [&]
              {
                  Bytes front(file.begin(), file.begin() + audioEnd);
                  std::uint32_t const riff = static_cast<std::uint32_t>(b.size() - 8);
                  std::memcpy(front.data() + 4, &riff, 4);
                  return front;
              }());
    for (auto const& w : h.mFile.WriteLog())
        EXPECT_TRUE(w.offset + w.length <= audioAt || w.offset >= audioEnd) << "write at " << w.offset;
    auto const walked = Walk(b);
    std::vector<std::string> ids;
    for (auto const& c : walked)
        ids.push_back(c.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"RIFF", "fmt ", "LIST", "data", "umid", "minf", "regn", "ovwf"}));
}

TEST_F(ChunkRewrite, ShorteningGivesANewIdentityAndDropsOverviews)
{
    Handler h;
    MakeNew(h, 1000, Noise(4000, 4));
    char** block = UAFOvwfChunk::NewBlock(4 * 2, 256);
    ASSERT_EQ(h.Native()->SetOverview(block, 256, 8, 4), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    EXPECT_EQ(h.Native()->HasOverview(256, 8), S_OK);
    std::uint8_t before[16], after[16];
    h.Velmora()->GetUmid(before);

    ASSERT_EQ(h.Native()->SetNumSamples(1000), S_OK); // the same length: nothing happens
    h.Velmora()->GetUmid(after);
    EXPECT_EQ(std::memcmp(before, after, 16), 0);

    ASSERT_EQ(h.Native()->SetNumSamples(999), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    h.Velmora()->GetUmid(after);
    EXPECT_NE(std::memcmp(before, after, 16), 0);
    EXPECT_EQ(h.Native()->HasOverview(256, 8), S_FALSE);
    RelocatableBlock::Dispose(block);

    Handler again(h.mFile.Bytes());
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    std::int64_t frames = 0;
    again.IE()->GetNumSamples(&frames);
    EXPECT_EQ(frames, 999);
    EXPECT_EQ(Find(again.mFile.Bytes(), "data").size, 999u * 4);
}

TEST_F(ChunkRewrite, OverviewsSurviveAFlushAndOnlyTheMatchingLengthIsRead)
{
    Handler h;
    MakeNew(h, 1000, Noise(4000, 5));
    // 1000 frames at 256 per interval give 4 intervals; 3 is another length.
    char** good = UAFOvwfChunk::NewBlock(4 * 2 * 2, 256);
    char** stale = UAFOvwfChunk::NewBlock(3 * 2, 333);
    std::memcpy(*good + 14, "ABCDEFGHIJKLMNOP", 16);
    ASSERT_EQ(h.Native()->SetOverview(good, 256, 16, 4), S_OK);
    ASSERT_EQ(h.Native()->SetOverview(stale, 333, 8, 2), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);

    Handler again(h.mFile.Bytes());
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    EXPECT_EQ(again.Native()->HasOverview(256, 16), S_OK);
    EXPECT_EQ(again.Native()->HasOverview(333, 8), S_FALSE);
    char** read = nullptr;
    std::int32_t intervals = 0;
    ASSERT_EQ(again.Native()->GetOverview(&read, 256, 16, &intervals), S_OK);
    EXPECT_EQ(intervals, 4);
    EXPECT_EQ(std::memcmp(*read + 14, "ABCDEFGHIJKLMNOP", 16), 0);
    RelocatableBlock::Dispose(read); // ours now
    RelocatableBlock::Dispose(good);
    RelocatableBlock::Dispose(stale);
}

// What follows the last good chunk is no chunk of the form, but it is the
// user's: it stays behind the form, and the chunks a flush adds go in front.
TEST_F(ChunkRewrite, ACorruptTailIsKeptBehindTheForm)
{
    Bytes file = WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Noise(100, 6)).Bytes();
    std::size_t const good = file.size();
    WaveBuilder tail;
    tail.Chunk("junk", 14, Bytes(10, 1)); // claims 4 bytes more than there are
    file.insert(file.end(), tail.Bytes().begin(), tail.Bytes().end());
    Handler h(file);
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    Bytes const& b = h.mFile.Bytes();
    EXPECT_EQ(Find(b, "umid").at, static_cast<std::int64_t>(good));
    EXPECT_TRUE(std::equal(tail.Bytes().begin(), tail.Bytes().end(), b.end() - 18));
    EXPECT_EQ(At<std::uint32_t>(b, 4), b.size() - 8 - 18);
}

TEST_F(ChunkRewrite, RegionsOnDiskAndBack)
{
    Handler h;
    MakeNew(h, 1000, Noise(4000, 7));
    PlugInRegion r = {};
    r.startSample = 10;
    r.stopSample = 1000; // ending at the end of the audio is kept
    r.syncSample = 15;
    r.userTimeStamp = 0x1122334455667788ull;
    r.originalTimeStamp = 2;
    r.nameLength = 4;
    std::memcpy(r.name, "take", 4);
    ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
    Sys_Umid const zero{};
    EXPECT_NE(std::memcmp(r.umid, &zero, 16), 0); // the handler gave it an id
    PlugInRegion empty = r;
    empty.startSample = empty.stopSample = 500; // start equal to stop is dropped on reading
    ASSERT_EQ(h.Native()->AddRegion(&empty), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);

    Bytes const& b = h.mFile.Bytes();
    RawChunk const regn = Find(b, "regn");
    ASSERT_EQ(regn.size, 4u + 2 * 88);
    std::int64_t const rec = regn.at + 12;
    EXPECT_EQ(At<std::uint32_t>(b, regn.at + 8), 2u);
    EXPECT_EQ(std::memcmp(&b[rec], r.umid, 16), 0);
    EXPECT_EQ(At<std::uint64_t>(b, rec + 16), 10u);
    EXPECT_EQ(At<std::uint64_t>(b, rec + 24), 1000u);
    EXPECT_EQ(At<std::uint64_t>(b, rec + 32), 15u);
    EXPECT_EQ(At<std::uint64_t>(b, rec + 40), 0x1122334455667788ull);
    EXPECT_EQ(At<std::uint64_t>(b, rec + 48), 2u);
    EXPECT_EQ(b[rec + 56], 4);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(&b[rec + 57]), 4), "take");

    Handler again(b);
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    std::uint32_t count = 0;
    again.IE()->GetNumRegions(&count);
    ASSERT_EQ(count, 1u);
    PlugInRegion back;
    again.IE()->GetRegion(0, &back);
    EXPECT_EQ(std::memcmp(&back, &r, sizeof r), 0);
    EXPECT_EQ(again.Native()->RemoveRegion(r.umid), S_OK);
    EXPECT_EQ(again.Native()->RemoveRegion(r.umid), E_FAIL);
}

TEST_F(ChunkRewrite, SamplerChunkFineTuneAndLoops)
{
    Handler h;
    MakeNew(h, 1000, Noise(4000, 8));
    PlugInInstrument in;
    in.rootMIDINote = 60;
    in.fineTuneCents = -10;
    in.loop1Type = 1;
    in.loop1Start = 10;
    in.loop1Stop = 100;
    in.loop2Type = 2;
    in.loop2Start = 200;
    in.loop2Stop = 300;
    ASSERT_EQ(h.Orvanel()->SetInstrumentAttr(&in), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);

    Bytes const& b = h.mFile.Bytes();
    RawChunk const smpl = Find(b, "smpl");
    ASSERT_EQ(smpl.size, 36u + 2 * 24);
    std::int64_t const body = smpl.at + 8;
    EXPECT_EQ(At<std::uint32_t>(b, body + 0), 0x01000013u);
    EXPECT_EQ(At<std::uint32_t>(b, body + 4), 0x29Au);
    EXPECT_EQ(At<std::uint32_t>(b, body + 12), 59u);
    EXPECT_EQ(At<std::uint32_t>(b, body + 16), static_cast<std::uint32_t>((110ll * 0xFFFFFFFFll) / 100));
    EXPECT_EQ(At<std::uint32_t>(b, body + 28), 2u);
    EXPECT_EQ(At<std::uint32_t>(b, body + 32), 0xFFFFF63Cu);
    std::uint32_t const loops[2][6] = {{1, 0, 10, 100, 0, 0}, {2, 1, 200, 300, 0, 0}};
    EXPECT_EQ(std::memcmp(&b[body + 36], loops, sizeof loops), 0);

    Handler again(b);
    ASSERT_EQ(again.mAudio->Open(), S_OK);
    PlugInInstrument back;
    again.Orvanel()->GetInstrumentAttr(&back);
    EXPECT_EQ(back.rootMIDINote, 60);
    EXPECT_EQ(back.fineTuneCents, 1); // the private form keeps only "some" fine tune
    EXPECT_EQ(back.loop1Type, 1);
    EXPECT_EQ(back.loop2Type, 2);
    EXPECT_EQ(back.loop2Stop, 300);
}

TEST_F(ChunkRewrite, ForeignSamplerChunk)
{
    WaveBuilder smpl;
    smpl.U32(0x47).U32(0).U32(22675).U32(64).U32(0x80000000).U32(0).U32(0).U32(3).U32(0);
    for (std::uint32_t i = 0; i < 3; ++i)
        smpl.U32(i).U32(i).U32(100 * i).U32(100 * i + 50).U32(0).U32(0);
    Bytes const file =
        WaveBuilder().RiffHeader().Fmt(1, 44100, 16).Data(Noise(2000, 9)).Chunk("smpl", smpl.Bytes()).Bytes();
    Handler h(file);
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    ASSERT_NE(h.Orvanel(), nullptr);
    PlugInInstrument i;
    h.Orvanel()->GetInstrumentAttr(&i);
    EXPECT_EQ(i.rootMIDINote, 64);
    EXPECT_EQ(i.fineTuneCents, 50);
    EXPECT_EQ(i.loop1Type, 1); // RIFF forward
    EXPECT_EQ(i.loop2Type, 2); // RIFF alternating
    EXPECT_EQ(i.loop2Start, 100);
    EXPECT_EQ(i.loop2Stop, 150);
}

TEST_F(ChunkRewrite, PadBodyFollowsTheSumInFront)
{
    // The pad's sum: the chunks in front of it (RIFF 12, an optional LIST
    // of 8 + L, 'fmt ' 24), its own header 8 and the data header 8.
    struct
    {
        std::size_t listBody;
        std::int64_t firstAudioByte;
    } const cases[] = {
        {0, 512},    // sum 52: pad body 460
        {444, 512},  // sum 504: pad body 8
        {452, 1024}, // sum 512: a whole sector, never nothing
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.listBody);
        WaveBuilder wb;
        wb.RiffHeader();
        if (c.listBody)
            wb.Chunk("LIST", Bytes(c.listBody, 0));
        wb.Fmt(1, 8000, 16).Chunk("Elmo", Bytes(2, 0)).Data(Noise(64, 10)).FixRiffSize();
        Handler h(wb.Bytes());
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        EXPECT_EQ(Find(h.mFile.Bytes(), "data").at + 8, c.firstAudioByte);
        std::int64_t offset = 0;
        h.Native()->SampleToOffset(0, &offset);
        EXPECT_EQ(offset, c.firstAudioByte);
    }
}

// A file with two audio chunks reads the second, and is not rewritten:
// which one another tool believes is not known, so nothing in it changes.
TEST_F(ChunkRewrite, AFileWithTwoAudioChunksIsNotRewritten)
{
    Bytes const audio = Noise(80, 9);
    Bytes const file = WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data({}).Data(audio).FixRiffSize().Bytes();
    Handler h(file);
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    std::int64_t frames = 0;
    h.IE()->GetNumSamples(&frames);
    EXPECT_EQ(frames, 40);
    ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
    EXPECT_NE(h.mAudio->Flush(), S_OK);
    EXPECT_EQ(h.mFile.Bytes(), file);
}
} // namespace
