// The reading half of the chunked handlers (WAVE, AIFF, AIFF-C) over files
// in memory: which handler recognises what and the facts it takes, damaged
// files that end in a refusal and never in a crash, samples read from the
// data offset, and the loops of 'INST' and 'MARK' in either order.
#include "FF/PlugIns/AIFC.h"
#include "FF/PlugIns/AIFF.h"
#include "FF/PlugIns/WAVE.h"
#include "support/ChunkFileBuilder.h"
#include "support/MemoryHandler.h"

#include <functional>
#include <sstream>

namespace
{
using Bytes = std::vector<std::uint8_t>;
using B = ChunkFileBuilder;

struct Kind
{
    char const* name;
    MemoryHandler::Factory create;
};
Kind const kHandlers[] = {{"WAVE", &WAVE::Create}, {"AIFF", &AIFF::Create}, {"AIFC", &AIFC::Create}};

B Riff()
{
    return std::move(B().RiffHeader());
}
B Aiff(char const (&type)[5] = "AIFF")
{
    return std::move(B(true).Form(type));
}

Bytes SsndAt(std::uint32_t offsetField, Bytes const& audio)
{
    return B(true).U32(offsetField).U32(0).Raw(audio).Bytes();
}

struct Case
{
    char const* name;
    Bytes bytes;
    char const* by; // the handler that recognises the file, or none
    std::int64_t frames = 0;
    std::int32_t rate = 0;
    std::int64_t dataOffset = -1; // -1: not checked
};

std::vector<Case> WaveCases()
{
    Bytes const audio = Ramp(40);
    auto const stereo16 = [] { return Riff().Fmt(2, 44100, 16); };
    return {
        {"plain 16-bit stereo", stereo16().Data(audio).Done(), "WAVE", 10, 44100, 44},
        {"riff size disagrees with the file", B().RiffHeader(12345678).Fmt(2, 44100, 16).Data(audio).Bytes(), "WAVE",
         10, 44100},
        {"fmt of 18 bytes with cbSize", Riff().Fmt(1, 8000, 8, 1, 2).Data(Ramp(7)).Done(), "WAVE", 7, 8000, 46},
        {"10 data bytes of 16-bit stereo give 2 frames", stereo16().Data(Ramp(10)).Bytes(), "WAVE", 2, 44100},
        {"foreign chunks before and after data",
         Riff()
             .Chunk("LIST", Ramp(26))
             .Fmt(1, 48000, 24)
             .Chunk("junk", Ramp(4))
             .Data(Ramp(30))
             .Chunk("LIST", Ramp(12))
             .Done(),
         "WAVE", 10, 48000, 90},
        {"a second data chunk overrides the first", Riff().Fmt(1, 8000, 16).Data(Ramp(8)).Data(Ramp(20)).Bytes(),
         "WAVE", 10, 8000, 60},
        {"first chunk not RIFF is skipped as unknown",
         B().Chunk("abcd", Ramp(6)).Fmt(1, 8000, 16).Data(Ramp(8)).Bytes(), "WAVE", 4, 8000},
        {"RIFF of another form", B().Id("RIFF").U32(4).Id("AVI ").Bytes(), nullptr},
        {"header only", B().RiffHeader(4).Bytes(), nullptr},
        {"truncated in the fmt body", stereo16().Cut(6).Bytes(), nullptr},
        // Unfinished headers: the audio runs to the end of the file.
        {"data cut by the end of the file", stereo16().Chunk("data", 44, Ramp(40)).Bytes(), "WAVE", 10, 44100},
        {"data size 0xFFFFFFFF",
         B().RiffHeader(0xFFFFFFFF).Fmt(2, 44100, 16).Chunk("data", 0xFFFFFFFF, Ramp(40)).Bytes(), "WAVE", 10, 44100},
        {"RIFF and data sizes 0, audio behind", stereo16().Chunk("data", 0, Ramp(42)).Bytes(), "WAVE", 10, 44100},
        {"empty data chunk with a chunk behind it", stereo16().Data({}).Chunk("LIST", Ramp(4)).Bytes(), "WAVE", 0,
         44100},
        {"RF64 with its sizes in ds64",
         B().Id("RF64")
             .U32(0xFFFFFFFF)
             .Id("WAVE")
             .Chunk("ds64", B().U32(0).U32(0).U32(36).U32(0).U32(9).U32(0).U32(0).Bytes())
             .Fmt(2, 44100, 16)
             .Chunk("data", 0xFFFFFFFF, Ramp(36))
             .Chunk("LIST", Ramp(4))
             .Bytes(),
         "WAVE", 9, 44100, 80},
        {"12 bits in 2 bytes", Riff().Fmt(1, 8000, 12).Data(Ramp(8)).Bytes(), "WAVE", 4, 8000},
        {"20 bits in 3 bytes", Riff().Fmt(2, 8000, 20).Data(Ramp(12)).Bytes(), "WAVE", 2, 8000},
        {"data before fmt", Riff().Data(Ramp(8)).Fmt(1, 8000, 16).Bytes(), nullptr},
        {"zero channels", Riff().Fmt(0, 8000, 16).Data(Ramp(8)).Bytes(), nullptr},
        {"65535 channels", Riff().Fmt(65535, 8000, 16).Data(Ramp(8)).Bytes(), nullptr},
        {"rate of 2^31", Riff().Fmt(1, 0x80000000u, 16).Data(Ramp(8)).Bytes(), nullptr},
        {"zero bits", Riff().Fmt(2, 8000, 0).Data(Ramp(8)).Bytes(), nullptr},
        {"frame of less than a byte", Riff().Fmt(1, 8000, 4).Data(Ramp(8)).Bytes(), nullptr},
        {"float format tag", Riff().Fmt(1, 8000, 32, 3).Data(Ramp(8)).Bytes(), nullptr},
        {"extensible of unknown sub-format", Riff().Extensible(2, 48000, 24, 24, 3, 3).Data(Ramp(12)).Bytes(), nullptr},
        {"extensible PCM", Riff().Extensible(2, 48000, 24, 24, 3).Data(Ramp(12)).Bytes(), "WAVE", 2, 48000, 68},
        {"extensible with 20 valid bits of 24", Riff().Extensible(6, 48000, 24, 20, 0x3F).Data(Ramp(36)).Bytes(),
         "WAVE", 2, 48000},
        {"odd unknown chunk with its pad before data",
         Riff().Fmt(1, 8000, 16).Chunk("odd ", Ramp(3)).Data(Ramp(8)).Bytes(), "WAVE", 4, 8000, 56},
        {"odd unknown chunk whose writer forgot the pad",
         Riff().Fmt(1, 8000, 16).Chunk("odd ", 3, Ramp(3)).Data(Ramp(8)).Bytes(), "WAVE", 4, 8000},
        {"more than 1000 chunks before data",
         [&]
         {
             B b = Riff().Fmt(1, 8000, 16);
             for (int i = 0; i < 1100; ++i)
                 b.Chunk("pad ", Bytes{});
             return b.Data(Ramp(8)).Bytes();
         }(),
         nullptr},
        {"a few stray bytes after the audio", Riff().Fmt(1, 8000, 16).Data(Ramp(8)).Raw({1, 2, 3}).Bytes(), "WAVE", 4,
         8000},
    };
}

std::vector<Case> AiffCases()
{
    Bytes const audio = Ramp(20); // 5 frames of 16-bit stereo
    auto const shortNames = [] { return std::vector<B::Marker>{{1, 10, "a"}, {2, 20, "b"}}; };
    auto const comm = [] { return Aiff().Comm(2, 5, 16, 44100); };
    std::vector<Case> c = {
        // FORM 12 and COMM 26 in front: the SSND body at 46, its audio at 54.
        {"plain AIFF", comm().Ssnd(audio).Done(), "AIFF", 5, 44100, 54},
        {"COMM behind SSND", Aiff().Ssnd(audio).Comm(2, 5, 16, 48000).Done(), "AIFF", 5, 48000, 28},
        {"SSND offset in front of the audio", Aiff().Comm(2, 5, 16, 8000).Ssnd(audio, 6).Done(), "AIFF", 5, 8000, 60},
        {"SSND offset holding the absolute position",
         Aiff().Comm(2, 5, 16, 8000).Chunk("SSND", SsndAt(54, audio)).Done(), "AIFF", 5, 8000, 54},
        {"SSND block size equal to the frame size", Aiff().Comm(2, 5, 16, 8000).Ssnd(audio, 0, 4).Done(), "AIFF", 5,
         8000, 54},
        {"frame count from COMM, not from SSND", Aiff().Comm(2, 3, 16, 8000).Ssnd(audio).Done(), "AIFF", 3, 8000, 54},
        {"COMM larger than 18 bytes", Aiff().Comm(2, 5, 16, B::Rate(22050), 4).Ssnd(audio).Done(), "AIFF", 5, 22050,
         58},
        {"rate 44100.9 is truncated", Aiff().Comm(2, 5, 16, 44100.9).Ssnd(audio).Done(), "AIFF", 5, 44100},
        {"rate just below 2^31", Aiff().Comm(2, 5, 16, 2147483647.5).Ssnd(audio).Done(), "AIFF", 5, 2147483647},
        {"FORM size disagrees with the file", B(true).Form("AIFF", 7).Comm(1, 4, 8, 8000).Ssnd(audio).Bytes(), "AIFF",
         4, 8000},
        {"foreign chunks of even size around the audio",
         Aiff()
             .Chunk("FVER", Ramp(4))
             .Comm(1, 10, 16, 8000)
             .Chunk("NAME", Ramp(6))
             .Ssnd(audio)
             .Chunk("ANNO", Ramp(8))
             .Done(),
         "AIFF", 10, 8000, 80},
        {"odd unknown chunk with its pad", Aiff().Comm(1, 10, 16, 8000).Chunk("NAME", Ramp(3)).Ssnd(audio).Done(),
         "AIFF", 10, 8000, 66},
        {"a few stray bytes behind the audio", Aiff().Comm(1, 10, 16, 8000).Ssnd(audio).Raw({1, 2, 3}).Bytes(), "AIFF",
         10, 8000},
        {"AIFF-C, not compressed", Aiff("AIFC").CommC(2, 5, 16, 96000).Ssnd(audio).Done(), "AIFC", 5, 96000},
        // A COMM size of 25: the name "ab" with the byte behind it as the pad.
        {"AIFF-C COMM of odd size, then its pad byte",
         Aiff("AIFC").CommC(2, 5, 16, 8000, "NONE", "ab").Ssnd(audio).Patch(12 + 7, 25).Done(), "AIFC", 5, 8000, 62},
        // Float and compressed audio refused.
        {"AIFF-C 'fl32'", Aiff("AIFC").CommC(2, 5, 32, 44100, "fl32").Ssnd(audio).Done(), nullptr},
        {"AIFF-C 'ulaw'", Aiff("AIFC").CommC(2, 5, 16, 44100, "ulaw").Ssnd(audio).Done(), nullptr},
        {"AIFF-C with an AIFF COMM of 18 bytes", Aiff("AIFC").Comm(2, 5, 16, 44100).Ssnd(audio).Done(), nullptr},
        // Short 'COMM' chunks stand last, so that their odd size derails nothing.
        {"AIFF-C COMM of 21 bytes", Aiff("AIFC").Ssnd(audio).Chunk("COMM", Bytes(21, 1)).Done(), nullptr},
        {"COMM of 17 bytes", Aiff().Ssnd(audio).Chunk("COMM", Bytes(17, 1)).Done(), nullptr},
        {"COMM cut by the end of the file", comm().Cut(4).Bytes(), nullptr},
        {"infinite rate", Aiff().Comm(2, 5, 16, B::X80{0x7F, 0xFF, 0x80}).Ssnd(audio).Done(), nullptr},
        {"NaN rate", Aiff().Comm(2, 5, 16, B::X80{0x7F, 0xFF, 0xC0}).Ssnd(audio).Done(), nullptr},
        {"denormal rate", Aiff().Comm(2, 5, 16, B::X80{0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).Ssnd(audio).Done(), nullptr},
        {"rate below one", Aiff().Comm(2, 5, 16, 0.5).Ssnd(audio).Done(), nullptr},
        {"negative rate", Aiff().Comm(2, 5, 16, -44100).Ssnd(audio).Done(), nullptr},
        {"rate of 2^31", Aiff().Comm(2, 5, 16, 2147483648.0).Ssnd(audio).Done(), nullptr},
        {"AIFF zero channels", Aiff().Comm(0, 5, 16, 44100).Ssnd(audio).Done(), nullptr},
        {"AIFF negative channels", Aiff().Comm(0x8000, 5, 16, 44100).Ssnd(audio).Done(), nullptr},
        {"AIFF zero bits", Aiff().Comm(2, 5, 0, 44100).Ssnd(audio).Done(), nullptr},
        {"AIFF frame of less than a byte", Aiff().Comm(1, 5, 4, 44100).Ssnd(audio).Done(), nullptr},
        {"SSND offset past its end", comm().Chunk("SSND", SsndAt(21, audio)).Done(), nullptr},
        {"SSND offset at its very end", Aiff().Comm(2, 0, 16, 44100).Chunk("SSND", SsndAt(20, audio)).Done(), "AIFF", 0,
         44100, 74},
        {"SSND smaller than its two fields", comm().Chunk("SSND", Bytes(6, 0)).Ssnd(audio).Done(), nullptr},
        // Unfinished files: the frames the audio chunk holds, up to what COMM says.
        {"SSND cut by the end of the file", comm().Chunk("SSND", 40, SsndAt(0, audio)).Bytes(), "AIFF", 5, 44100},
        {"SSND size 0xFFFFFFFF", comm().Chunk("SSND", 0xFFFFFFFF, SsndAt(0, audio)).Bytes(), "AIFF", 5, 44100},
        {"COMM claims more frames than SSND holds", Aiff().Comm(2, 9, 16, 44100).Ssnd(audio).Done(), "AIFF", 5, 44100},
        {"no SSND", comm().Done(), nullptr},
        {"FORM of another type", Aiff("8SVX").Comm(2, 5, 16, 44100).Ssnd(audio).Done(), nullptr},
        {"header cut inside the form type", Bytes{'F', 'O', 'R', 'M', 0, 0, 0, 4, 'A', 'I'}, nullptr},
        // Markers with short names, as other tools write them, are markers.
        {"MARK with short names in front of SSND", comm().Mark(shortNames()).Ssnd(audio).Done(), "AIFF", 5, 44100},
        {"MARK with short names behind SSND", comm().Ssnd(audio).Mark(shortNames()).Done(), "AIFF", 5, 44100, 54},
        {"MARK count of 65535 in a small body", comm().Chunk("MARK", Bytes{0xFF, 0xFF, 0, 0}).Ssnd(audio).Done(),
         nullptr},
        {"MARK with no markers", comm().Chunk("MARK", Bytes{0, 0}).Ssnd(audio).Done(), "AIFF", 5, 44100, 64},
        // Two markers pass the count test (34 bytes), but the first one's name
        // takes the second past the end.
        {"MARK whose long names run past its body",
         comm()
             .Chunk("MARK", B(true).U16(2).U16(1).U32(0).Raw({20}).Raw(Bytes(20, 'x')).Raw(Bytes(4, 0)).Bytes())
             .Ssnd(audio)
             .Done(),
         nullptr},
        {"INST shorter than 20 bytes is passed over", comm().Chunk("INST", Bytes(10, 0)).Ssnd(audio).Done(), "AIFF", 5,
         44100, 72},
    };
    // Integer PCM in either byte order.
    struct Type
    {
        char name[5];
        std::uint16_t bits;
    };
    for (Type const& t : {Type{"twos", 16}, {"sowt", 16}, {"in24", 24}, {"42ni", 24}, {"in32", 32}, {"23ni", 32}})
        c.push_back({t.name, Aiff("AIFC").CommC(2, 5, t.bits, 44100, t.name).Ssnd(Ramp(10 * t.bits / 8)).Done(), "AIFC",
                     5, 44100});
    return c;
}

TEST(HandlerRead, WhichHandlerRecognisesWhat)
{
    std::vector<Case> cases = WaveCases();
    for (auto& c : AiffCases())
        cases.push_back(std::move(c));
    cases.push_back({"empty file", {}, nullptr});
    cases.push_back({"text file", Bytes{'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', '\n'}, nullptr});
    for (auto const& c : cases)
        for (Kind const& kind : kHandlers)
        {
            SCOPED_TRACE(std::string(c.name) + ", " + kind.name + " handler");
            MemoryHandler h(kind.create, c.bytes);
            bool const expected = c.by && std::string(c.by) == kind.name;
            ASSERT_EQ(h.Recognised(), expected);
            if (!expected)
                continue;
            EXPECT_EQ(h.Frames(), c.frames);
            std::int32_t rate = 0;
            h.IE()->GetSamplesPerSec(&rate);
            EXPECT_EQ(rate, c.rate);
            if (c.dataOffset >= 0)
            {
                EXPECT_EQ(h.DataOffset(), c.dataOffset);
            }
        }
}

TEST(HandlerRead, MarkShorterThanItsCountFailsTheOpen)
{
    MemoryHandler h(&AIFF::Create, Aiff().Comm(1, 4, 16, 8000).Ssnd(Ramp(8)).Chunk("MARK", Bytes{0}).Done());
    EXPECT_EQ(h.mAudio->Open(), E_FAIL);
}

TEST(HandlerRead, WhatEachHandlerAnswers)
{
    PlugInResult const kNo = E_NOINTERFACE;
    Bytes const raw = {0x80, 0x00, 0xFF, 0x7F, 0x81};
    struct
    {
        Kind kind;
        Bytes bytes;
        std::int32_t order;
        Bytes eightBitSamples; // `raw` as read
    } const cases[] = {
        // 8-bit WAVE audio is unsigned on disk and comes out signed; AIFF's as it lies.
        {kHandlers[0], Riff().Fmt(1, 8000, 8).Data(raw).Bytes(), 1, {0x00, 0x80, 0x7F, 0xFF, 0x01}},
        {kHandlers[1], Aiff().Comm(1, 5, 8, 8000).Ssnd(raw).Done(), 0, raw},
        {kHandlers[2], Aiff("AIFC").CommC(1, 5, 8, 8000).Ssnd(raw).Done(), 0, raw},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.kind.name);
        MemoryHandler h(c.kind.create, c.bytes);
        ASSERT_TRUE(h.Recognised());
        // A foreign file offers its audio, and identity only once it is given one.
        struct
        {
            PlugInGuid const* iid;
            PlugInResult expected;
        } const interfaces[] = {
            {&IID_IUnknown, S_OK},         {&IID_IAudioFile, S_OK},   {&IID_INativeAudioFile, S_OK},
            {&IID_IVelmoraAudioFile, kNo}, {&IID_IEbuAudioFile, kNo}, {&IID_IOmfiAudioFile, kNo},
            {&IID_IOrvanelAudioFile, kNo}, {&IID_IFile, kNo},
        };
        for (auto const& i : interfaces)
        {
            void* p = reinterpret_cast<void*>(1);
            EXPECT_EQ(h.mAudio->QueryInterface(*i.iid, &p), i.expected);
            if (i.expected == S_OK)
                static_cast<IUnknown*>(p)->Release();
            else
                EXPECT_EQ(p, nullptr);
        }
        char name[16] = {};
        EXPECT_EQ(h.IE()->GetFileTypeName(8, name), S_OK);
        EXPECT_STREQ(name, c.kind.name);
        EXPECT_EQ(h.IE()->GetFileTypeName(16, name), E_FAIL);
        std::int32_t order = -1;
        h.IE()->GetByteOrder(&order);
        EXPECT_EQ(order, c.order);
        EXPECT_EQ(h.IE()->CanImplement(&IID_IVelmoraAudioFile), S_OK);
        EXPECT_EQ(h.IE()->CanImplement(&IID_IOrvanelAudioFile), S_OK);
        EXPECT_EQ(h.IE()->CanImplement(&IID_IEbuAudioFile), S_FALSE);
        EXPECT_EQ(static_cast<ChunkyFile*>(static_cast<PlugIn*>(h.mAudio))->DataChunkHeaderSize(), c.order ? 8 : 16);
        Bytes got(5);
        ASSERT_EQ(h.IE()->SampleRead(got.data(), 5), S_OK);
        EXPECT_EQ(got, c.eightBitSamples);
        // The file stays attached to the first caller.
        MemoryIFile other;
        EXPECT_EQ(h.mAudio->SetFile(&other), E_UNEXPECTED);
    }
}

TEST(HandlerRead, SamplesComeFromTheDataOffsetAsTheyLie)
{
    Bytes const audio = Ramp(24, 0x10); // 4 frames of 24-bit stereo
    struct
    {
        Kind kind;
        Bytes bytes;
        std::int64_t offset; // of frame 3
    } const cases[] = {
        {kHandlers[0], Riff().Chunk("LIST", Ramp(10)).Fmt(2, 44100, 24).Data(audio).Done(), 62 + 18},
        {kHandlers[1], Aiff().Comm(2, 4, 24, 48000).Ssnd(audio, 4).Done(), 58 + 18},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.kind.name);
        MemoryHandler h(c.kind.create, c.bytes);
        ASSERT_TRUE(h.Recognised());
        Bytes got(12);
        ASSERT_EQ(h.IE()->SampleSetPosition(0, 1), S_OK);
        ASSERT_EQ(h.IE()->SampleRead(got.data(), 2), S_OK);
        EXPECT_EQ(got, Bytes(audio.begin() + 6, audio.begin() + 18));
        std::int64_t position = 0;
        h.IE()->SampleGetPosition(&position);
        EXPECT_EQ(position, 3);
        // Exactly what remains succeeds; one frame more is a bad parameter and reads nothing.
        int const reads = h.mFile.Reads();
        EXPECT_EQ(h.IE()->SampleRead(got.data(), 2), kImportExport_BadParameter);
        EXPECT_EQ(h.mFile.Reads(), reads);
        EXPECT_EQ(h.IE()->SampleRead(got.data(), 1), S_OK);
        EXPECT_EQ(h.IE()->SampleRead(got.data(), 0), S_OK);
        EXPECT_EQ(h.mFile.Reads(), reads + 1);

        std::int64_t offset = 0, sample = 0;
        h.Native()->SampleToOffset(3, &offset);
        EXPECT_EQ(offset, c.offset);
        EXPECT_EQ(h.Native()->OffsetToSample(offset, &sample), S_OK);
        EXPECT_EQ(sample, 3);
        EXPECT_EQ(h.Native()->OffsetToSample(offset + 1, &sample), kNative_BadParameter);

        // A file cut after the parse: a short read is unexpected and does not advance.
        h.mFile.Bytes().resize(static_cast<std::size_t>(offset) - 3);
        ASSERT_EQ(h.IE()->SampleSetPosition(0, 1), S_OK);
        EXPECT_EQ(h.IE()->SampleRead(got.data(), 2), E_UNEXPECTED);
        h.IE()->SampleGetPosition(&position);
        EXPECT_EQ(position, 1);
    }
}

TEST(HandlerRead, MarkersAndTheirRoles)
{
    // Names of every parity, so that the walk has to step over pad bytes;
    // one long name makes up for the short ones in the count test.
    std::vector<B::Marker> const written = {{1, 0, "beg loop"}, {2, 99, "end loop"},
                                            {3, 5, ""},         {0xFFFF, 0xFFFFFFFF, "x"},
                                            {7, 8, "beg loo"},  {8, 9, "a name long enough for the count test"}};
    std::int32_t const roles[] = {1, 2, 0, 0, 0, 0};
    MemoryHandler h(&AIFF::Create, Aiff().Comm(1, 100, 16, 8000).Ssnd(Ramp(200)).Mark(written).Done());
    // A second open starts with no markers of the first.
    for (int open = 0; open < 2; ++open)
    {
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        auto const& markers = static_cast<AIFF*>(h.mAudio)->Markers();
        ASSERT_EQ(markers.size(), written.size());
        for (std::size_t i = 0; i < markers.size(); ++i)
        {
            SCOPED_TRACE(i);
            EXPECT_EQ(markers[i].id, static_cast<std::int16_t>(written[i].id)); // 0xFFFF is -1
            EXPECT_EQ(markers[i].position, written[i].position);
            EXPECT_EQ(markers[i].name, written[i].name);
            EXPECT_EQ(markers[i].role, roles[i]);
        }
    }
    // Markers alone make no instrument.
    EXPECT_EQ(h.Orvanel(), nullptr);
}

TEST(HandlerRead, LoopsFromInstrumentAndMarkers)
{
    using M = std::vector<B::Marker>;
    M const four = {{1, 100, "beg loop"}, {2, 200, "end loop"}, {3, 300, "beg loop"}, {4, 400, "end loop"}};
    struct
    {
        char const* name;
        std::function<void(B&)> chunks; // behind SSND
        PlugInInstrument expected;
    } const cases[] = {
        {"INST then MARK",
         [&](B& b) { b.Inst(64, -7, 1, 1, 2, 2, 3, 4).Mark(four); },
         {1, 100, 200, 2, 300, 400, 64, -7}},
        {"MARK then INST",
         [&](B& b) { b.Mark(four).Inst(64, -7, 1, 1, 2, 2, 3, 4); },
         {1, 100, 200, 2, 300, 400, 64, -7}},
        {"play mode 3 is a forward loop",
         [&](B& b) { b.Mark(four).Inst(60, 0, 3, 1, 2, 3, 3, 4); },
         {1, 100, 200, 1, 300, 400, 60, 0}},
        {"end marker missing",
         [&](B& b) { b.Mark(four).Inst(60, 0, 1, 1, 9, 1, 3, 4); },
         {0, 0, 0, 1, 300, 400, 60, 0}},
        {"INST without MARK", [&](B& b) { b.Inst(72, 12, 1, 1, 2); }, {0, 0, 0, 0, 0, 0, 72, 12}},
        {"play modes 0", [&](B& b) { b.Mark(four).Inst(60, 0, 0, 1, 2, 0, 3, 4); }, {0, 0, 0, 0, 0, 0, 60, 0}},
        {"markers from two MARK chunks",
         [&](B& b) { b.Mark({four[0]}).Inst(60, 0, 2, 1, 2).Mark({four[1]}); },
         {2, 100, 200, 0, 0, 0, 60, 0}},
        {"a marker serves the first loop end that fits",
         [&](B& b) { b.Mark(four).Inst(60, 0, 1, 1, 2, 1, 1, 4); },
         {1, 100, 200, 0, 0, 0, 60, 0}},
        {"negative marker ids",
         [&](B& b) {
             b.Mark({{0xFFFF, 5, "beg loop"}, {0x8000, 6, "end loop"}}).Inst(61, 0, 1, 0xFFFF, 0x8000);
         },
         {1, 5, 6, 0, 0, 0, 61, 0}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        B b = Aiff().Comm(1, 1000, 16, 8000).Ssnd(Bytes(2000, 0));
        c.chunks(b);
        MemoryHandler h(&AIFF::Create, b.Done());
        ASSERT_TRUE(h.Recognised());
        ASSERT_NE(h.Orvanel(), nullptr);
        ASSERT_EQ(h.Orvanel()->HasInstrumentAttr(), S_OK);
        EXPECT_EQ(h.Instrument(), c.expected);
    }
}

TEST(HandlerRead, PrintedChunksEndAtTheInstrument)
{
    struct
    {
        bool aifc;
        Bytes bytes;
        std::vector<std::string> lines;
    } const cases[] = {
        {false,
         Aiff().Comm(2, 5, 16, 44100).Ssnd(Ramp(20), 4, 0).Inst(60, 0, 0, 0, 0).Chunk("ANNO", Ramp(4)).Done(),
         {"Chunk Position: 0", "Chunk ID: FORM", "\tFormat Type: AIFF", "Chunk ID: COMM", "\tnumChannels: 2",
          "\tsampleRate: 44100", "\tsampleSize: 16", "\tnumSampleFrames: 5", "Chunk Position: 38",
          "\t4 byte offset to audio data", "\tBlock size: 0", "\t20 bytes of audio data", "Chunk ID: INST"}},
        // The AIFF-C handler prints plain AIFF files too.
        {true,
         Aiff().Comm(1, 5, 8, 8000).Ssnd(Ramp(5)).Done(),
         {"\tFormat Type: AIFF", "\tnumChannels: 1", "\tsampleRate: 8000", "\t5 bytes of audio data"}},
        {true,
         Aiff("AIFC").CommC(1, 5, 8, 8000, "NONE", "raw").Ssnd(Ramp(6)).Done(),
         {"\tFormat Type: AIFC", "\tCompression Type: NONE", "\tCompressionName: raw", "\t6 bytes of audio data"}},
        {true,
         Aiff("AIFC").CommC(1, 5, 8, 8000, "sowt", "").Ssnd(Ramp(6)).Done(),
         {"\tCompression Type: sowt", "\tCompressionName: \n", "\t6 bytes of audio data"}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.lines.front());
        MemoryHandler h(c.aifc ? &AIFC::Create : &AIFF::Create, c.bytes);
        std::ostringstream out;
        PlugInResult const r = h.mAudio->PrintFile(out);
        std::string const text = out.str();
        for (auto const& line : c.lines)
            EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
        bool const hasInst = text.find("Chunk ID: INST") != std::string::npos;
        EXPECT_EQ(r, hasInst ? E_FAIL : S_OK);
        // Nothing behind the instrument is printed.
        EXPECT_EQ(text.find("ANNO"), std::string::npos);
    }
}
} // namespace
