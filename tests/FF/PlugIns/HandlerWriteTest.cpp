// Writing and rewriting chunked files through the WAVE, AIFF and AIFF-C
// handlers, in memory, checked with an independent chunk walk: the layout of
// a new file, metadata that grows behind the audio without moving it,
// identity added to a foreign file, chunks in front of the audio that change
// size with the audio left where it stands, and what a rewrite keeps of
// another tool's chunks.
#include "FF/PlugIns/AIFC.h"
#include "FF/PlugIns/AIFF.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "FF/PlugIns/WAVE.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Umid.h"
#include "Sys/Sys_Utils.h"
#include "support/ChunkFileBuilder.h"
#include "support/ChunkWalker.h"
#include "support/MemoryHandler.h"

#include <functional>
#include <optional>

namespace
{
using Bytes = std::vector<std::uint8_t>;
using B = ChunkFileBuilder;
using W = ChunkWalker;

struct Kind
{
    char const* name;
    MemoryHandler::Factory create;
    char const* audioChunk;
    std::int64_t audioHeader; // bytes from the audio chunk's header to its audio
};
Kind const kWave{"WAVE", &WAVE::Create, "data", 8};
Kind const kAiff{"AIFF", &AIFF::Create, "SSND", 16};
Kind const kAifc{"AIFC", &AIFC::Create, "SSND", 16};

std::uint64_t At(Bytes const& b, std::int64_t at, int n)
{
    return W::Number(b, at, n);
}
// n bytes of b from `at` on, and where the body of the first chunk `id` starts.
Bytes Slice(Bytes const& b, std::int64_t at, std::int64_t n)
{
    return Bytes(b.begin() + at, b.begin() + at + n);
}
std::int64_t BodyOf(Bytes const& b, char const* id)
{
    return W::Find(b, id).at + 8;
}
// A region over [start, stop) of the given name.
PlugInRegion Region(std::uint64_t start, std::uint64_t stop, std::string const& name = "")
{
    PlugInRegion r = {};
    r.startSample = start;
    r.stopSample = stop;
    r.nameLength = static_cast<std::uint8_t>(name.size());
    std::memcpy(r.name, name.data(), name.size());
    return r;
}

// A foreign 16-bit stereo file with a chunk of another tool in front of the audio.
Bytes Foreign(Kind const& kind, Bytes const& audio)
{
    auto const frames = static_cast<std::uint32_t>(audio.size() / 4);
    if (kind.create == kWave.create)
        return B().RiffHeader().Fmt(2, 48000, 16).Chunk("LIST", Bytes(26, 'x')).Data(audio).Done();
    B b(true);
    if (kind.create == kAifc.create)
        b.Form("AIFC").CommC(2, frames, 16, 48000);
    else
        b.Form("AIFF").Comm(2, frames, 16, 48000);
    return b.Chunk("NAME", Bytes{'t', 'a', 'k', 'e'}).Ssnd(audio).Done();
}

class HandlerWrite : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }

    // A new file written and flushed.
    static void MakeNew(MemoryHandler& h, std::uint16_t channels, std::uint16_t bits, std::int64_t frames,
                        Bytes const& audio)
    {
        ASSERT_EQ(h.mAudio->Format(channels, 44100, bits, frames), S_OK);
        Bytes copy = audio;
        ASSERT_EQ(h.IE()->SampleSetPosition(0, 0), S_OK);
        ASSERT_EQ(h.IE()->SampleWrite(copy.data(), frames), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
    }
    // Frames written behind the last one, then flushed; `audio` follows.
    static void Append(MemoryHandler& h, Bytes& audio, Bytes const& more)
    {
        std::int64_t const frameSize = static_cast<std::int64_t>(audio.size()) / h.Frames();
        std::int64_t const frames = h.Frames();
        std::int64_t const added = static_cast<std::int64_t>(more.size()) / frameSize;
        ASSERT_EQ(h.Native()->SetNumSamples(frames + added), S_OK);
        Bytes copy = more;
        ASSERT_EQ(h.IE()->SampleSetPosition(0, frames), S_OK);
        ASSERT_EQ(h.IE()->SampleWrite(copy.data(), added), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        audio.insert(audio.end(), more.begin(), more.end());
    }
    // Another tool's file, opened and given the system's identity.
    static void Adopt(MemoryHandler& h)
    {
        ASSERT_TRUE(h.Recognised());
        ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
    }
};

// 'bext': the fixed texts, the umid as lower-case hex, the coding history;
// 'umid' on disk is the id word by word in big-endian order.
void CheckWaveIdentity(Bytes const& b, MemoryHandler& h)
{
    std::int64_t const bext = BodyOf(b, "bext");
    EXPECT_STREQ(reinterpret_cast<char const*>(&b[bext]), "Velmora generated sound file");
    EXPECT_STREQ(reinterpret_cast<char const*>(&b[bext + 256]), "Velmora");
    Sys_Umid u;
    h.Velmora()->GetUmid(reinterpret_cast<std::uint8_t*>(&u));
    u.SwapIfWin32();
    char hex[33];
    for (int i = 0; i < 16; ++i)
        std::snprintf(hex + 2 * i, 3, "%02x", reinterpret_cast<std::uint8_t const*>(&u)[i]);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(&b[bext + 288]), 32), std::string(hex, 32));
    EXPECT_EQ(b[bext + 320 + 4], '-');
    EXPECT_EQ(b[bext + 330 + 2], '-');
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(&b[bext + 602]), 12), std::string("PCM Encoded\0", 12));
    EXPECT_EQ(std::memcmp(&b[BodyOf(b, "umid")], &u, 16), 0);
}

// COMM: channels, frames, bits, and 44100 as an 80-bit float; SSND: offset
// and block size 0; INST with the defaults of a file without instrument
// data, a gain of 0 dB.
void CheckAiffFields(Bytes const& b, std::uint16_t channels, std::uint16_t bits, std::int64_t frames)
{
    std::int64_t const comm = BodyOf(b, "COMM");
    B expected(true);
    expected.U16(channels).U32(static_cast<std::uint32_t>(frames)).U16(bits);
    EXPECT_EQ(Slice(b, comm, 18), expected.Raw({0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}).Bytes());
    if (W::Find(b, "FVER").at >= 0)
    {
        EXPECT_EQ(std::string(b.begin() + comm + 18, b.begin() + comm + 38),
                  std::string("NONE\x0eNot Compressed\0", 20));
        // The format version every AIFF-C reader expects.
        EXPECT_EQ(At(b, 20, 4), 0xA2805140u);
    }
    EXPECT_EQ(At(b, 1016, 8), 0u);
    EXPECT_EQ(Slice(b, W::Find(b, "INST").at, 28), B(true).Inst(60, 0, 0, 0, 0).Bytes());
}

TEST_F(HandlerWrite, NewFileLayoutAndMetadataGrowingBehindTheAudio)
{
    struct
    {
        Kind kind;
        Kind other; // which refuses the file
        std::uint16_t channels, bits;
        std::int64_t frames;
        char const* layout;
    } const cases[] = {
        // The pad chunk in front of the audio puts it at 1024.
        {kWave, kAiff, 2, 16, 1000,
         "RIFF@0:5140 bext@12:614 fmt @634:16 Elmo@658:350 data@1016:4000 "
         "umid@5024:24 minf@5056:16 regn@5080:4 ovwf@5092:4 smpl@5104:36"},
        {kAiff, kAifc, 2, 16, 1000,
         "FORM@0:5124 bext@12:614 COMM@634:18 Elmo@660:340 SSND@1008:4008 "
         "umid@5024:24 minf@5056:16 regn@5080:4 ovwf@5092:4 INST@5104:20"},
        {kAifc, kAiff, 2, 16, 1000,
         "FORM@0:5124 FVER@12:4 bext@24:614 COMM@646:38 Elmo@692:308 SSND@1008:4008 "
         "umid@5024:24 minf@5056:16 regn@5080:4 ovwf@5092:4 INST@5104:20"},
        // An odd amount of audio takes a pad byte that its size leaves out.
        {kAiff, kWave, 1, 8, 1001,
         "FORM@0:2126 bext@12:614 COMM@634:18 Elmo@660:340 SSND@1008:1009 "
         "umid@2026:24 minf@2058:16 regn@2082:4 ovwf@2094:4 INST@2106:20"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.kind.name << " " << c.bits << " bits");
        std::int64_t const bytes = c.frames * c.channels * c.bits / 8;
        Bytes const audio = Noise(static_cast<std::size_t>(bytes), 1);
        MemoryHandler h(c.kind.create);
        MakeNew(h, c.channels, c.bits, c.frames, audio);
        Bytes const& b = h.Bytes();

        EXPECT_EQ(W::Layout(b), c.layout);
        EXPECT_EQ(static_cast<std::int64_t>(b.size()), W::Walk(b).back().at + 8 + W::Walk(b).back().size);
        EXPECT_EQ(std::string(b.begin() + 8, b.begin() + 12), c.kind.create == kWave.create ? "WAVE" : c.kind.name);
        EXPECT_EQ(Slice(b, 1024, bytes), audio);
        if (c.kind.create == kWave.create)
            CheckWaveIdentity(b, h);
        else
            CheckAiffFields(b, c.channels, c.bits, c.frames);

        // What reads back: FormatMatrixTest. Another handler refuses the file.
        MemoryHandler other(c.other.create, b);
        EXPECT_FALSE(other.Recognised());

        // Metadata that grows behind the audio writes nothing over it.
        h.mFile.ClearWriteLog();
        for (std::uint64_t i = 0; i < 50; ++i)
        {
            PlugInRegion r = Region(i, i + 100, "r");
            ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
        }
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        for (auto const& w : h.mFile.WriteLog())
            EXPECT_TRUE(w.offset + w.length <= 1024 || w.offset >= 1024 + bytes) << "write at " << w.offset;
        EXPECT_EQ(Slice(b, 1024, bytes), audio);
        EXPECT_EQ(W::Find(b, "regn").size, 4u + 88 * 50);
    }
}

TEST_F(HandlerWrite, IdentityAddedToAForeignFileGoesBehindTheAudio)
{
    struct
    {
        Kind kind;
        char const* ids;
        bool stamped;            // the file becomes the system's media now, as of revision 0
        PlugInResult instrument; // Implement, though every kind says it could
    } const cases[] = {
        {kWave, "RIFF fmt  LIST data umid minf regn ovwf", false, S_OK},
        {kAiff, "FORM COMM NAME SSND umid minf regn ovwf", true, S_OK},
        {kAifc, "FORM COMM NAME SSND umid minf regn ovwf", true, E_FAIL},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.kind.name);
        Bytes const audio = Noise(4 * 3001, 4);
        Bytes const file = Foreign(c.kind, audio);
        std::int64_t const audioAt = W::Find(file, c.kind.audioChunk).at + c.kind.audioHeader;
        std::int64_t const audioEnd = audioAt + static_cast<std::int64_t>(audio.size());
        MemoryHandler h(c.kind.create, file);
        ASSERT_TRUE(h.Recognised());
        EXPECT_EQ(h.Velmora(), nullptr);
        std::int64_t const before = Sys_Utils::GetUTC();
        ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
        std::int64_t const after = Sys_Utils::GetUTC();
        ASSERT_NE(h.Velmora(), nullptr);
        std::uint64_t date = 1, revision = 1;
        h.Velmora()->GetUTCModDate(&date);
        h.Velmora()->GetDataRevision(&revision);
        EXPECT_GE(static_cast<std::int64_t>(date), c.stamped ? before : 0);
        EXPECT_LE(static_cast<std::int64_t>(date), c.stamped ? after : 0);
        EXPECT_EQ(revision, 0u);
        h.mFile.ClearWriteLog();
        ASSERT_EQ(h.mAudio->Flush(), S_OK);

        Bytes const& b = h.Bytes();
        for (auto const& w : h.mFile.WriteLog())
            EXPECT_TRUE(w.offset + w.length <= audioAt || w.offset >= audioEnd) << "write at " << w.offset;
        EXPECT_TRUE(std::equal(file.begin() + 8, file.end(), b.begin() + 8));
        EXPECT_EQ(At(b, 4, 4), b.size() - 8);
        EXPECT_EQ(W::Ids(b), c.ids);

        MemoryHandler again(c.kind.create, b);
        ASSERT_TRUE(again.Recognised());
        EXPECT_NE(again.Velmora(), nullptr);
        EXPECT_EQ(again.Frames(), 3001);
        EXPECT_EQ(again.IE()->CanImplement(&IID_IOrvanelAudioFile), S_OK);
        EXPECT_EQ(again.IE()->Implement(&IID_IOrvanelAudioFile), c.instrument);
        EXPECT_EQ(again.IE()->Implement(&IID_IEbuAudioFile), E_FAIL);
    }
}

// What follows the last chunk a reader can take is no chunk of the form,
// but it is the user's: it stays behind the form, and the chunks a flush
// adds go in front of it.
TEST_F(HandlerWrite, ACorruptTailIsKeptBehindTheForm)
{
    struct
    {
        Kind kind;
        Bytes good, tail;
        char const* ids;
    } const cases[] = {
        {kWave, B().RiffHeader().Fmt(1, 8000, 16).Data(Noise(100, 6)).Bytes(),
         B().Chunk("junk", 14, Bytes(10, 1)).Bytes(), // claims 4 bytes more than there are
         "RIFF fmt  data umid minf regn ovwf junk"},
        {kAiff, B(true).Form().Comm(2, 100, 16, 44100).Ssnd(Noise(400, 7)).Chunk("ANNO", Bytes{'o', 'k'}).Bytes(),
         B(true).Chunk("MARK", Bytes{0, 9, 0, 1}).Chunk("APPL", Bytes(6, 1)).Bytes(), // nine markers in four bytes
         "FORM COMM SSND ANNO umid minf regn ovwf MARK APPL"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.kind.name);
        Bytes file = B(c.kind.create != kWave.create).Raw(c.good).Raw(c.tail).FixSize().Bytes();
        MemoryHandler h(c.kind.create, file);
        ASSERT_NO_FATAL_FAILURE(Adopt(h));
        Bytes const& b = h.Bytes();
        EXPECT_EQ(W::Ids(b), c.ids);
        EXPECT_EQ(W::Find(b, "umid").at, static_cast<std::int64_t>(c.good.size()));
        EXPECT_TRUE(std::equal(c.good.begin() + 8, c.good.end(), b.begin() + 8));
        EXPECT_TRUE(std::equal(c.tail.begin(), c.tail.end(), b.end() - static_cast<std::ptrdiff_t>(c.tail.size())));
        EXPECT_EQ(At(b, 4, 4), b.size() - 8 - c.tail.size());
    }
}

// A sampler chunk in front of the audio gives back 48 bytes and 40 bytes of
// frames are appended before the flush: the length set while the audio
// still stands behind the longer chunk must not cut its end off.
TEST_F(HandlerWrite, FramesAppendedBehindAChunkThatShrankKeepTheEndOfTheAudio)
{
    Bytes audio = Noise(40000, 3);
    PlugInInstrument twoLoops{1, 10, 20, 2, 30, 40, 60, 0};
    PlugInInstrument noLoops{0, 0, 0, 0, 0, 0, 60, 0};
    MemoryHandler made(&WAVE::Create);
    MakeNew(made, 2, 16, 10000, audio);
    made.Orvanel()->SetInstrumentAttr(&twoLoops);
    ASSERT_EQ(made.mAudio->Flush(), S_OK);
    MemoryHandler h(&WAVE::Create, W::AudioLast(made.Bytes()));
    ASSERT_TRUE(h.Recognised());
    h.Orvanel()->SetInstrumentAttr(&noLoops);
    Append(h, audio, Noise(40, 4));
    Bytes const& b = h.Bytes();
    std::int64_t const at = BodyOf(b, "data");
    ASSERT_LE(at + static_cast<std::int64_t>(audio.size()), static_cast<std::int64_t>(b.size()));
    EXPECT_EQ(Slice(b, at, static_cast<std::int64_t>(audio.size())), audio);
}

// Overviews survive a flush and only those of the file's length are read;
// shortening the file gives it a new identity and drops them. Regions and
// overviews are held against the length of the whole file, not against what
// was read before them: another tool may put the audio chunk last, and a
// header may claim more audio than the file holds.
TEST_F(HandlerWrite, OverviewsRegionsAndIdentityFollowTheLength)
{
    for (Kind const& kind : {kWave, kAiff})
    {
        SCOPED_TRACE(kind.name);
        MemoryHandler h(kind.create);
        MakeNew(h, 2, 16, 1000, Noise(4000, 5));
        PlugInRegion r = Region(0, 1000);
        ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
        r.stopSample = 600;
        ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
        // 1000 frames at 256 per interval give 4 intervals; 3 is another length.
        char** good = UAFOvwfChunk::NewBlock(4 * 2 * 2, 256);
        char** stale = UAFOvwfChunk::NewBlock(3 * 2, 333);
        std::memcpy(*good + 14, "ABCDEFGHIJKLMNOP", 16);
        ASSERT_EQ(h.Native()->SetOverview(good, 256, 16, 4), S_OK);
        ASSERT_EQ(h.Native()->SetOverview(stale, 333, 8, 2), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        Bytes const b = h.Bytes();
        {
            MemoryHandler again(kind.create, b);
            ASSERT_TRUE(again.Recognised());
            EXPECT_EQ(again.Native()->HasOverview(256, 16), S_OK);
            EXPECT_EQ(again.Native()->HasOverview(333, 8), S_FALSE);
            char** read = nullptr;
            std::int32_t intervals = 0;
            ASSERT_EQ(again.Native()->GetOverview(&read, 256, 16, &intervals), S_OK);
            EXPECT_EQ(intervals, 4);
            EXPECT_EQ(std::memcmp(*read + 14, "ABCDEFGHIJKLMNOP", 16), 0);
            RelocatableBlock::Dispose(read); // ours now
        }
        // The audio chunk moved behind everything else.
        MemoryHandler moved(kind.create, W::AudioLast(b));
        ASSERT_TRUE(moved.Recognised());
        ASSERT_EQ(W::Walk(moved.Bytes()).back().id, kind.audioChunk);
        std::uint32_t count = 0;
        moved.IE()->GetNumRegions(&count);
        EXPECT_EQ(count, 2u);
        EXPECT_EQ(moved.Native()->HasOverview(256, 16), S_OK);
        ASSERT_EQ(moved.Native()->AddRegion(&r), S_OK);
        ASSERT_EQ(moved.mAudio->Flush(), S_OK);
        MemoryHandler movedAgain(kind.create, moved.Bytes());
        ASSERT_TRUE(movedAgain.Recognised()) << W::Layout(moved.Bytes());
        movedAgain.IE()->GetNumRegions(&count);
        EXPECT_EQ(count, 3u);

        if (kind.create == kAiff.create)
        {
            // A header that claims 2000 frames of the 1000 there are: what
            // reaches past the audio there is does not count, what fits it does.
            B claims(true);
            claims.Raw(b).Patch(W::Find(b, "COMM").at + 10, 2000, 4);
            MemoryHandler longer(kind.create, claims.Patch(W::Find(b, "regn").at + 12 + 88 + 24, 1500, 8).Bytes());
            ASSERT_TRUE(longer.Recognised());
            ASSERT_EQ(longer.Frames(), 1000);
            longer.IE()->GetNumRegions(&count);
            EXPECT_EQ(count, 1u);
            EXPECT_EQ(longer.Native()->HasOverview(256, 16), S_OK);
        }

        std::uint8_t before[16], after[16];
        h.Velmora()->GetUmid(before);
        ASSERT_EQ(h.Native()->SetNumSamples(1000), S_OK); // the same length: nothing happens
        h.Velmora()->GetUmid(after);
        EXPECT_EQ(std::memcmp(before, after, 16), 0);
        EXPECT_EQ(h.Native()->HasOverview(256, 16), S_OK);
        ASSERT_EQ(h.Native()->SetNumSamples(999), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        h.Velmora()->GetUmid(after);
        EXPECT_NE(std::memcmp(before, after, 16), 0);
        EXPECT_EQ(h.Native()->HasOverview(256, 16), S_FALSE);
        RelocatableBlock::Dispose(good); // the handler's till here
        RelocatableBlock::Dispose(stale);

        MemoryHandler again(kind.create, h.Bytes());
        ASSERT_TRUE(again.Recognised());
        EXPECT_EQ(again.Frames(), 999);
        EXPECT_EQ(W::Find(again.Bytes(), kind.audioChunk).size, 999u * 4 + kind.audioHeader - 8);
    }
}

// Regions and instrument data as the bytes of 'regn' and 'smpl', and back.
TEST_F(HandlerWrite, RegionsAndSamplerChunkOnDiskAndBack)
{
    MemoryHandler h(&WAVE::Create);
    MakeNew(h, 2, 16, 1000, Noise(4000, 7));
    PlugInRegion r = Region(10, 1000, "take"); // ending at the end of the audio is kept
    r.syncSample = 15;
    r.userTimeStamp = 0x1122334455667788ull;
    r.originalTimeStamp = 2;
    ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
    Sys_Umid const zero{};
    EXPECT_NE(std::memcmp(r.umid, &zero, 16), 0); // the handler gave it an id
    PlugInRegion empty = r;
    empty.startSample = empty.stopSample = 500; // start equal to stop is dropped on reading
    ASSERT_EQ(h.Native()->AddRegion(&empty), S_OK);
    PlugInInstrument in{1, 10, 100, 2, 200, 300, 60, -10};
    ASSERT_EQ(h.Orvanel()->SetInstrumentAttr(&in), S_OK);
    ASSERT_EQ(h.mAudio->Flush(), S_OK);

    Bytes const& b = h.Bytes();
    // The count, then the first record: umid, start, stop, sync, the two
    // time stamps and the name as a Pascal string.
    W::Chunk const regn = W::Find(b, "regn");
    ASSERT_EQ(regn.size, 4u + 2 * 88);
    B record;
    record.U32(2).Raw(Bytes(r.umid, r.umid + 16)).U64(10).U64(1000).U64(15).U64(0x1122334455667788ull).U64(2);
    EXPECT_EQ(Slice(b, regn.at + 8, 4 + 61), record.Raw({4, 't', 'a', 'k', 'e'}).Bytes());
    // 'smpl': maker, product, the sample period (not checked), note 59 and
    // 110 cents as a fraction of a semitone (the root 60 and -10 cents), no
    // SMPTE time, two loops and the gain, then each loop with its id and type.
    W::Chunk const smpl = W::Find(b, "smpl");
    ASSERT_EQ(smpl.size, 36u + 2 * 24);
    B sampler;
    sampler.U32(0x01000013).U32(0x29A).U32(static_cast<std::uint32_t>(At(b, smpl.at + 16, 4))).U32(59);
    sampler.U32(static_cast<std::uint32_t>((110ll * 0xFFFFFFFFll) / 100)).U32(0).U32(0).U32(2).U32(0xFFFFF63C);
    sampler.U32(1).U32(0).U32(10).U32(100).U32(0).U32(0).U32(2).U32(1).U32(200).U32(300).U32(0).U32(0);
    EXPECT_EQ(Slice(b, smpl.at + 8, 36 + 48), sampler.Bytes());

    MemoryHandler again(&WAVE::Create, b);
    ASSERT_TRUE(again.Recognised());
    std::uint32_t count = 0;
    again.IE()->GetNumRegions(&count);
    ASSERT_EQ(count, 1u);
    PlugInRegion back;
    again.IE()->GetRegion(0, &back);
    EXPECT_EQ(std::memcmp(&back, &r, sizeof r), 0);
    EXPECT_EQ(again.Native()->RemoveRegion(r.umid), S_OK);
    EXPECT_EQ(again.Native()->RemoveRegion(r.umid), E_FAIL);
    // The private form keeps only "some" fine tune.
    EXPECT_EQ(again.Instrument(), (PlugInInstrument{1, 10, 100, 2, 200, 300, 60, 1}));

    // Another tool's chunk: its fine tune, and RIFF forward and alternating loops.
    B foreignSmpl;
    foreignSmpl.U32(0x47).U32(0).U32(22675).U32(64).U32(0x80000000).U32(0).U32(0).U32(3).U32(0);
    for (std::uint32_t i = 0; i < 3; ++i)
        foreignSmpl.U32(i).U32(i).U32(100 * i).U32(100 * i + 50).U32(0).U32(0);
    MemoryHandler foreign(
        &WAVE::Create,
        B().RiffHeader().Fmt(1, 44100, 16).Data(Noise(2000, 9)).Chunk("smpl", foreignSmpl.Bytes()).Bytes());
    ASSERT_TRUE(foreign.Recognised());
    ASSERT_NE(foreign.Orvanel(), nullptr);
    PlugInInstrument const expected{1, 0, 50, 2, 100, 150, 64, 50};
    EXPECT_EQ(foreign.Instrument(), expected);
}

// A pad with no room takes the size the sum in front of it gives: the
// chunks in front of it (RIFF 12, an optional LIST of 8 + L, 'fmt ' 24), its
// own header 8 and the data header 8. A pad with room keeps the audio where
// it stands, on a sector of another disk or where another tool put it.
TEST_F(HandlerWrite, PadBodyFollowsTheSumInFront)
{
    struct
    {
        std::size_t listBody, padBody;
        std::int64_t firstAudioByte;
    } const cases[] = {
        {0, 0, 512},    // sum 52: pad body 460
        {444, 0, 512},  // sum 504: pad body 8
        {452, 0, 1024}, // sum 512: a whole sector, never nothing
        {0, 4044, 4096}, {0, 2, 54},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.listBody << " " << c.padBody);
        B b;
        b.RiffHeader();
        if (c.listBody)
            b.Chunk("LIST", Bytes(c.listBody, 0));
        MemoryHandler h(&WAVE::Create,
                        b.Fmt(1, 8000, 16).Chunk("Elmo", Bytes(c.padBody, 0)).Data(Noise(64, 10)).Done());
        ASSERT_NO_FATAL_FAILURE(Adopt(h));
        EXPECT_EQ(W::Find(h.Bytes(), "data").at + 8, c.firstAudioByte);
        EXPECT_EQ(h.DataOffset(), c.firstAudioByte);
        // Frames appended stay behind every frame that was there, and the
        // audio where it stands.
        Bytes all = Noise(64, 10);
        Append(h, all, Noise(40, 11));
        std::int64_t const at = h.DataOffset();
        EXPECT_EQ(at, c.firstAudioByte);
        ASSERT_LE(at + 104, static_cast<std::int64_t>(h.Bytes().size()));
        EXPECT_EQ(Slice(h.Bytes(), at, 104), all);
    }
}

// Chunks in front of the audio that change size: one that grows beyond
// what a pad takes up, or a new one with no room in front, goes behind the
// audio, and a filler of zeros under an id every reader skips keeps the
// place of one that was there; one that goes leaves a filler too. So no
// byte of the audio is ever written by a flush, and a crash, a kill or a
// failing disk in the middle of one cannot damage it.
TEST_F(HandlerWrite, AChangeInFrontNeverMovesTheAudio)
{
    Bytes const audio = Noise(1 << 18, 7);
    auto const frames = static_cast<std::uint32_t>(audio.size() / 4);
    PlugInInstrument const loops{1, 10, 20, 2, 30, 40, 60, 0};
    // A file of the system's own with all its metadata in front of the audio.
    auto const ownInFront = [&](Kind const& kind)
    {
        MemoryHandler h(kind.create);
        MakeNew(h, 2, 16, frames, audio);
        return W::AudioLast(h.Bytes());
    };
    // A foreign file whose pad has the room of `listBody`.
    auto const padded = [&](Kind const& kind, std::size_t listBody)
    {
        B b(&kind != &kWave);
        if (&kind == &kWave)
            b.RiffHeader().Fmt(2, 48000, 16);
        else
            b.Form("AIFF").Comm(2, frames, 16, 48000);
        if (listBody)
            b.Chunk("LIST", Bytes(listBody, 0));
        b.Chunk("Elmo", {}); // no room: the first flush puts the audio on a sector
        MemoryHandler h(kind.create, &kind == &kWave ? b.Data(audio).Done() : b.Ssnd(audio).Done());
        EXPECT_TRUE(h.Recognised());
        EXPECT_EQ(h.mAudio->Flush(), S_OK);
        return h.Bytes();
    };
    auto const addRegion = [](MemoryHandler& h)
    {
        PlugInRegion r = Region(0, 100, "take");
        ASSERT_EQ(h.Native()->AddRegion(&r), S_OK);
    };
    auto const addLoops = [&](MemoryHandler& h)
    {
        ASSERT_EQ(h.IE()->Implement(&IID_IOrvanelAudioFile), S_OK);
        PlugInInstrument copy = loops;
        h.Orvanel()->SetInstrumentAttr(&copy);
    };
    struct
    {
        char const* name;
        Kind const& kind;
        Bytes file;
        std::function<void(MemoryHandler&)> change;
        char const* ids;
        std::int64_t cut = 0; // the frames left by the change; 0: all
    } const cases[] = {
        {"own WAVE, regions in front", kWave, ownInFront(kWave), addRegion,
         "RIFF bext fmt  Elmo umid minf JUNK ovwf smpl data regn"},
        {"own AIFF, regions and loops in front", kAiff, ownInFront(kAiff),
         [&](MemoryHandler& h)
         {
             addRegion(h);
             addLoops(h);
         },
         "FORM bext COMM Elmo umid minf FLLR ovwf INST SSND regn MARK"},
        {"foreign WAVE, a sampler chunk with no room in front", kWave,
         B().RiffHeader()
             .Chunk("bext", Noise(613, 1))
             .Fmt(2, 48000, 16)
             .Data(audio)
             .Chunk("LIST", Bytes(4, 'I'))
             .Done(),
         addLoops, "RIFF bext fmt  data LIST smpl"},
        {"foreign AIFF, an instrument with no room in front", kAiff, Foreign(kAiff, audio), addLoops,
         "FORM COMM NAME SSND INST MARK"},
        {"WAVE, an instrument the pad has room for", kWave, padded(kWave, 0), addLoops, "RIFF fmt  smpl Elmo data"},
        {"WAVE, an instrument the pad has no room for", kWave, padded(kWave, 444), addLoops,
         "RIFF fmt  LIST Elmo data smpl"},
        {"AIFF, an instrument the pad has room for", kAiff, padded(kAiff, 0), addLoops,
         "FORM COMM INST MARK Elmo SSND"},
        {"AIFF, an instrument the pad has no room for", kAiff, padded(kAiff, 422), addLoops,
         "FORM COMM LIST Elmo SSND INST MARK"},
        {"foreign WAVE cut, its cue points in front go", kWave,
         B().RiffHeader().Fmt(2, 48000, 16).Chunk("cue ", Noise(28, 2)).Data(audio).Done(),
         [](MemoryHandler& h) { ASSERT_EQ(h.Native()->SetNumSamples(1000), S_OK); }, "RIFF fmt  JUNK data", 1000},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        MemoryHandler h(c.kind.create, c.file);
        ASSERT_TRUE(h.Recognised());
        std::int64_t const before = h.DataOffset();
        h.mFile.ClearWriteLog();
        c.change(h);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        Bytes const& b = h.Bytes();
        EXPECT_EQ(W::Ids(b), c.ids) << W::Layout(b);
        EXPECT_EQ(h.DataOffset(), before);
        std::int64_t const left = c.cut ? c.cut : frames, kept = left * 4;
        EXPECT_EQ(Slice(b, before, kept), Slice(c.file, before, kept));
        // Nothing in front is written over once chunks went behind the
        // audio until they are on the disk: a filler could otherwise land
        // before the copy of what it replaces.
        auto const& log = h.mFile.WriteLog();
        std::size_t behind = 0; // writes up to the last one behind the audio
        for (std::size_t i = 0; i < log.size(); ++i)
        {
            auto const& w = log[i];
            EXPECT_TRUE(w.offset + w.length <= before || w.offset >= before + kept) << w.offset << "+" << w.length;
            if (w.offset >= before + kept)
                behind = i + 1;
            else if (behind > 0)
            {
                auto const& syncs = h.mFile.Syncs();
                EXPECT_TRUE(
                    std::any_of(syncs.begin(), syncs.end(), [&](std::size_t s) { return s >= behind && s <= i; }))
                    << "unsynced write at " << w.offset;
            }
        }
        EXPECT_EQ(At(b, 4, 4), b.size() - 8);
        // What was written reads back; what another tool wrote in front
        // stays as it was.
        MemoryHandler again(c.kind.create, b);
        ASSERT_TRUE(again.Recognised());
        EXPECT_EQ(again.Frames(), left);
        if (again.Orvanel() && !c.cut)
        {
            EXPECT_EQ(again.Instrument(), h.Instrument());
        }
        for (char const* id : {"bext", "LIST", "NAME"})
        {
            W::Chunk const was = W::Find(c.file, id);
            if (was.at >= 0 && was.at < before)
            {
                EXPECT_EQ(Slice(b, W::Find(b, id).at, 8 + was.size), Slice(c.file, was.at, 8 + was.size)) << id;
            }
        }
        if (std::string(c.ids).find("regn") != std::string::npos)
        {
            std::uint32_t count = 0;
            again.IE()->GetNumRegions(&count);
            EXPECT_EQ(count, 1u);
        }
    }
}

// A file with two audio chunks reads the second, and is not rewritten:
// which one another tool believes is not known, so nothing in it changes.
TEST_F(HandlerWrite, AFileWithTwoAudioChunksIsNotRewritten)
{
    Bytes const file = B().RiffHeader().Fmt(1, 8000, 16).Data({}).Data(Noise(80, 9)).Done();
    MemoryHandler h(&WAVE::Create, file);
    ASSERT_TRUE(h.Recognised());
    EXPECT_EQ(h.Frames(), 40);
    ASSERT_EQ(h.IE()->Implement(&IID_IVelmoraAudioFile), S_OK);
    EXPECT_NE(h.mAudio->Flush(), S_OK);
    EXPECT_EQ(h.Bytes(), file);
}

// The 64-bit form of another tool, whose 'ds64' carries a table of further
// chunk sizes: a rewrite updates the three sizes and keeps the table.
TEST_F(HandlerWrite, RF64TableOfSizesIsKept)
{
    Bytes const audio = Noise(4 * 500, 10);
    Bytes const table = B().U32(1).Id("junk").U32(7).U32(0).Bytes();
    Bytes const file = B().Id("RF64")
                           .U32(0xFFFFFFFF)
                           .Id("WAVE")
                           .Chunk("ds64", B().U32(0).U32(0).U32(0).U32(0).U32(0).U32(0).Raw(table).Bytes())
                           .Fmt(2, 48000, 16)
                           .Chunk("data", 0xFFFFFFFF, audio)
                           .Bytes();
    MemoryHandler h(&WAVE::Create, file);
    ASSERT_NO_FATAL_FAILURE(Adopt(h));
    Bytes const& b = h.Bytes();
    std::int64_t const ds64 = BodyOf(b, "ds64");
    EXPECT_EQ(At(b, ds64, 8), b.size() - 8);
    EXPECT_EQ(At(b, ds64 + 8, 8), audio.size());
    EXPECT_EQ(At(b, ds64 + 16, 8), 500u);
    EXPECT_TRUE(std::equal(table.begin(), table.end(), b.begin() + ds64 + 24));
    std::int64_t const data = BodyOf(b, "data");
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), b.begin() + data));
    MemoryHandler again(&WAVE::Create, b);
    ASSERT_TRUE(again.Recognised());
    EXPECT_EQ(again.Frames(), 500);
}

// Chunks of another tool behind the audio, a 'bext' among them, keep their
// bytes while the audio grows over their place, and stand behind it after.
TEST_F(HandlerWrite, ForeignChunksBehindGrowingAudioAreKept)
{
    Bytes bext(602 + 13, 0);
    std::memcpy(bext.data(), "their take", 10);
    std::memcpy(bext.data() + 602, "A=PCM,F=48000", 13);
    Bytes const list(30, 'L');
    Bytes const audio = Noise(400, 3);
    Bytes const file = B().RiffHeader().Fmt(2, 48000, 16).Data(audio).Chunk("bext", bext).Chunk("LIST", list).Done();
    MemoryHandler h(&WAVE::Create, file);
    ASSERT_TRUE(h.Recognised());
    Bytes more = Noise(4 * 900, 4);
    ASSERT_EQ(h.IE()->SampleSetPosition(0, 100), S_OK);
    ASSERT_EQ(h.IE()->SampleWrite(more.data(), 900), S_OK);
    ASSERT_EQ(h.Native()->SetNumSamples(1000), S_OK);
    // A new time reference patches the held 'bext' and nothing else of it.
    ASSERT_EQ(h.Ebu()->SetSMPTETimeStamp(0x0102030405060708), S_OK);
    bext = B().Raw(bext).Patch(338, 0x0102030405060708, 8).Bytes();
    ASSERT_EQ(h.mAudio->Flush(), S_OK);
    Bytes const& b = h.Bytes();
    EXPECT_EQ(W::Ids(b), "RIFF fmt  data bext LIST") << W::Layout(b);
    EXPECT_EQ(W::Find(b, "data").size, 4000u);
    auto const data = b.begin() + BodyOf(b, "data");
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), data) && std::equal(more.begin(), more.end(), data + 400));
    EXPECT_EQ(Slice(b, BodyOf(b, "bext"), static_cast<std::int64_t>(bext.size())), bext);
    EXPECT_EQ(Slice(b, BodyOf(b, "LIST"), 30), list);
}

// 'MARK' comes at a flush with loops, behind everything else, and goes
// again at a flush without them: the loops of 'INST' point at its markers.
TEST_F(HandlerWrite, AiffLoopsAsInstAndMark)
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
        std::uint16_t modes[2];                    // sustain and release play modes in 'INST'
        std::vector<Record> markers;               // empty: no 'MARK' chunk at all
        std::optional<PlugInInstrument> back = {}; // none: `in`
    } const cases[] = {
        {"both loops", {1, 100, 200, 2, 300, 400, 62, -5}, {1, 2}, {{0, 100}, {1, 200}, {2, 300}, {3, 400}}},
        {"loop 1 only", {2, 10, 20, 0, 0, 0, 60, 0}, {2, 0}, {{0, 10}, {1, 20}}},
        {"loop 2 only keeps ids 2 and 3", {0, 0, 0, 1, 30, 40, 60, 0}, {0, 1}, {{2, 30}, {3, 40}}},
        {"a backward loop plays forward",
         {3, 5, 6, 0, 0, 0, 48, 99},
         {1, 0},
         {{0, 5}, {1, 6}},
         PlugInInstrument{1, 5, 6, 0, 0, 0, 48, 99}},
        {"positions beyond 32 bits keep their low word",
         {1, 0x100000007ll, 0x100000009ll, 0, 0, 0, 60, 0},
         {1, 0},
         {{0, 7}, {1, 9}},
         PlugInInstrument{1, 7, 9, 0, 0, 0, 60, 0}},
        {"no loops: no MARK", {0, 1, 2, 0, 3, 4, 70, 1}, {0, 0}, {}, PlugInInstrument{0, 0, 0, 0, 0, 0, 70, 1}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        MemoryHandler h(&AIFF::Create);
        MakeNew(h, 1, 16, 1000, Noise(2000, 2));
        std::size_t const without = h.Bytes().size();
        PlugInInstrument in = c.in;
        ASSERT_EQ(h.Orvanel()->SetInstrumentAttr(&in), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        Bytes const& b = h.Bytes();

        // The sustain loop points at markers 0 and 1, the release loop at 2 and 3.
        auto const [sustain, release] = c.modes;
        W::Chunk const inst = W::Find(b, "INST");
        ASSERT_EQ(inst.size, 20u);
        B expected(true);
        expected.Inst(c.in.rootMIDINote, c.in.fineTuneCents, sustain, 0, sustain ? 1 : 0, release, release ? 2 : 0,
                      release ? 3 : 0);
        EXPECT_EQ(Slice(b, inst.at, 28), expected.Bytes());
        std::int64_t const mark = W::Find(b, "MARK").at;
        if (c.markers.empty())
        {
            EXPECT_EQ(mark, -1);
        }
        else
        {
            std::vector<B::Marker> markers;
            for (auto const& m : c.markers)
                markers.push_back({m.id, m.position, markers.size() % 2 ? "end loop" : "beg loop"});
            // 'MARK' is the last chunk and ends the file.
            ASSERT_EQ(mark, static_cast<std::int64_t>(without));
            EXPECT_EQ(Slice(b, mark, static_cast<std::int64_t>(b.size()) - mark), B(true).Mark(markers).Bytes());
        }

        MemoryHandler again(&AIFF::Create, b);
        ASSERT_TRUE(again.Recognised());
        ASSERT_EQ(again.Orvanel()->HasInstrumentAttr(), S_OK);
        EXPECT_EQ(again.Instrument(), c.back.value_or(c.in));

        in.loop1Type = in.loop2Type = 0;
        ASSERT_EQ(h.Orvanel()->SetInstrumentAttr(&in), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        EXPECT_EQ(W::Find(h.Bytes(), "MARK").at, -1);
        EXPECT_EQ(h.Bytes().size(), without);
    }
}

// What another tool wrote in 'INST' and 'MARK' beyond the loops (note and
// velocity ranges, gain, cue markers) survives a change of the instrument.
// A 'MARK' that comes twice (a rewrite killed while it moved the chunk
// behind the audio) gives its markers once.
TEST_F(HandlerWrite, AiffInstrumentChangeKeepsTheOtherToolsFields)
{
    Bytes const ranges = {36, 96, 10, 120, 0xFF, 0xFA}; // notes, velocities, gain -6 dB
    std::vector<B::Marker> const markers = {{1, 10, "beg loop"}, {2, 20, "end loop"}, {3, 50, "cue"}};
    Bytes marksOnce;
    for (bool twice : {false, true})
    {
        SCOPED_TRACE(twice);
        B file(true);
        file.Form()
            .Comm(1, 100, 16, 44100)
            .Chunk("INST", B(true).Raw({60, 0}).Raw(ranges).U16(1).U16(1).U16(2).U16(0).U16(0).U16(0).Bytes())
            .Mark(markers)
            .Ssnd(Noise(200, 6));
        if (twice)
            file.Mark(markers);
        MemoryHandler h(&AIFF::Create, file.Done());
        ASSERT_TRUE(h.Recognised());
        PlugInInstrument in = h.Instrument();
        std::int64_t const start = in.loop1Start; // packed: no reference to it
        EXPECT_EQ(start, 10);
        in.rootMIDINote = 64;
        in.loop1Stop = 30;
        ASSERT_EQ(h.Orvanel()->SetInstrumentAttr(&in), S_OK);
        ASSERT_EQ(h.mAudio->Flush(), S_OK);
        Bytes const& b = h.Bytes();
        std::int64_t const inst = BodyOf(b, "INST");
        EXPECT_EQ(b[inst], 64);
        EXPECT_EQ(Slice(b, inst + 2, 6), ranges);
        W::Chunk const mark = W::Find(b, "MARK");
        Bytes const marks = Slice(b, mark.at, 8 + mark.size);
        std::string const text(marks.begin(), marks.end());
        EXPECT_NE(text.find(std::string("\0\3\0\0\0\x32\3cue", 9)), std::string::npos);
        if (twice)
        {
            EXPECT_EQ(marks, marksOnce);
        }
        marksOnce = marks;
        MemoryHandler again(&AIFF::Create, b);
        ASSERT_TRUE(again.Recognised());
        std::int64_t const stop = again.Instrument().loop1Stop;
        EXPECT_EQ(stop, 30);
    }
}

// Another tool's COMM (its compression name, whatever its bytes) and SSND
// fields (offset, block size) stay as they were when identity is added.
TEST_F(HandlerWrite, AiffForeignFieldsKept)
{
    struct
    {
        char const* name;
        Bytes file;
        std::uint32_t ssndOffset;
    } const cases[] = {
        {"AIFF-C name of odd length", B(true).Form("AIFC").CommC(1, 4, 16, 8000, "NONE", "none").Ssnd(Ramp(8)).Done(),
         0},
        // "abc" claiming 20 characters
        {"AIFF-C name longer than its bytes",
         B(true).Form("AIFC").CommC(1, 4, 16, 8000, "NONE", "abc").Ssnd(Ramp(8)).Patch(12 + 8 + 22, 20).Done(), 0},
        {"SSND offset", B(true).Form().Comm(1, 4, 16, 8000).Ssnd(Ramp(8), 8, 0).Done(), 8},
        {"SSND block size of one frame", B(true).Form().Comm(1, 4, 16, 8000).Ssnd(Ramp(8), 0, 2).Done(), 0},
        {"SSND absolute offset",
         B(true).Form().Comm(1, 4, 16, 8000).Chunk("SSND", B(true).U32(54).U32(0).Raw(Ramp(8)).Bytes()).Done(), 0},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        bool const aifc = std::string(c.file.begin() + 8, c.file.begin() + 12) == "AIFC";
        MemoryHandler h(aifc ? &AIFC::Create : &AIFF::Create, c.file);
        ASSERT_NO_FATAL_FAILURE(Adopt(h));
        Bytes const& b = h.Bytes();
        for (char const* id : {"COMM", "SSND"})
        {
            W::Chunk const before = W::Find(c.file, id), after = W::Find(b, id);
            ASSERT_EQ(before.size, after.size) << id;
            std::int64_t const n = 8 + (std::string(id) == "SSND" ? 8 : before.size);
            EXPECT_TRUE(std::equal(c.file.begin() + before.at, c.file.begin() + before.at + n, b.begin() + after.at))
                << id;
        }
        std::int64_t const audioAt = W::Find(b, "SSND").at + 16 + c.ssndOffset;
        EXPECT_EQ(Slice(b, audioAt, 8), Ramp(8));
        MemoryHandler again(aifc ? &AIFC::Create : &AIFF::Create, b);
        ASSERT_TRUE(again.Recognised());
        EXPECT_EQ(again.DataOffset(), audioAt);
    }
}

// Sizes are 32 bits in this format: a file that would pass them is refused,
// not written with sizes that wrap.
TEST_F(HandlerWrite, AiffPastFourGigabytesIsRefused)
{
    MemoryHandler h(&AIFF::Create);
    EXPECT_EQ(h.mAudio->Format(1, 48000, 16, std::int64_t{1} << 31), kAudioFile_BadParameter);
    ASSERT_EQ(h.mAudio->Format(1, 48000, 16, 10), S_OK);
    EXPECT_EQ(h.Native()->SetNumSamples(std::int64_t{1} << 31), kAudioFile_BadParameter);
}
} // namespace
