// The AIFF and AIFF-C handlers' reading half over files in memory: which
// handler recognises what, the facts it takes, the loops of 'INST' and
// 'MARK' in either order, and damaged files that end in a refusal.
#include "FF/PlugIns/AIFFTestSupport.h"

#include <functional>
#include <sstream>

namespace
{
using namespace aifftest;

Bytes SsndAt(std::uint32_t offsetField, Bytes const& audio)
{
    WaveBuilder body(true);
    body.U32(offsetField).U32(0).Raw(audio);
    return body.Bytes();
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

std::vector<Case> Cases()
{
    Bytes const audio = Ramp(20); // 5 frames of 16-bit stereo
    auto aiff = [] { return AiffBuilder().Form("AIFF"); };
    auto aifc = [] { return AiffBuilder().Form("AIFC"); };
    auto shortNames = [] { return std::vector<AiffBuilder::Marker>{{1, 10, "a"}, {2, 20, "b"}}; };
    std::vector<Case> c;
    // FORM 12 and COMM 26 in front: the SSND body at 46, its audio at 54.
    c.push_back({"plain AIFF", aiff().Comm(2, 5, 16, 44100).Ssnd(audio).Done(), "AIFF", 5, 44100, 54});
    c.push_back({"COMM behind SSND", aiff().Ssnd(audio).Comm(2, 5, 16, 48000).Done(), "AIFF", 5, 48000, 28});
    c.push_back(
        {"SSND offset in front of the audio", aiff().Comm(2, 5, 16, 8000).Ssnd(audio, 6).Done(), "AIFF", 5, 8000, 60});
    c.push_back({"SSND offset holding the absolute position",
                 aiff().Comm(2, 5, 16, 8000).Chunk("SSND", SsndAt(54, audio)).Done(), "AIFF", 5, 8000, 54});
    c.push_back({"SSND block size equal to the frame size", aiff().Comm(2, 5, 16, 8000).Ssnd(audio, 0, 4).Done(),
                 "AIFF", 5, 8000, 54});
    c.push_back(
        {"frame count from COMM, not from SSND", aiff().Comm(2, 3, 16, 8000).Ssnd(audio).Done(), "AIFF", 3, 8000, 54});
    c.push_back(
        {"COMM larger than 18 bytes", aiff().Comm(2, 5, 16, Rate(22050), 4).Ssnd(audio).Done(), "AIFF", 5, 22050, 58});
    c.push_back({"rate 44100.9 is truncated", aiff().Comm(2, 5, 16, 44100.9).Ssnd(audio).Done(), "AIFF", 5, 44100});
    c.push_back(
        {"rate just below 2^31", aiff().Comm(2, 5, 16, 2147483647.5).Ssnd(audio).Done(), "AIFF", 5, 2147483647});
    c.push_back({"FORM size disagrees with the file",
                 AiffBuilder().Form("AIFF", 7).Comm(1, 4, 8, 8000).Ssnd(audio).AsIs(), "AIFF", 4, 8000});
    c.push_back({"foreign chunks of even size around the audio",
                 aiff()
                     .Chunk("FVER", Ramp(4))
                     .Comm(1, 10, 16, 8000)
                     .Chunk("NAME", Ramp(6))
                     .Ssnd(audio)
                     .Chunk("ANNO", Ramp(8))
                     .Done(),
                 "AIFF", 10, 8000, 80});
    c.push_back({"odd unknown chunk with its pad",
                 aiff().Comm(1, 10, 16, 8000).Chunk("NAME", Ramp(3)).Ssnd(audio).Done(), "AIFF", 10, 8000, 66});
    c.push_back({"a few stray bytes behind the audio", aiff().Comm(1, 10, 16, 8000).Ssnd(audio).Raw({1, 2, 3}).AsIs(),
                 "AIFF", 10, 8000});
    c.push_back({"AIFF-C, not compressed", aifc().CommC(2, 5, 16, 96000).Ssnd(audio).Done(), "AIFC", 5, 96000});
    c.push_back({"AIFF-C COMM of odd size, then its pad byte",
                 aifc()
                     .Chunk("COMM",
                            []
                            {
                                WaveBuilder w(true);
                                X80 const r = Rate(8000);
                                w.U16(2).U32(5).U16(16).Raw(Bytes(r.begin(), r.end())).Id("NONE").Raw({2, 'a', 'b'});
                                return w.Bytes();
                            }())
                     .Ssnd(audio)
                     .Done(),
                 "AIFC", 5, 8000, 62});
    // Integer PCM in either byte order; float and compressed audio refused.
    struct Type
    {
        char name[5];
        std::uint16_t bits;
    };
    for (Type const& t : {Type{"twos", 16}, {"sowt", 16}, {"in24", 24}, {"42ni", 24}, {"in32", 32}, {"23ni", 32}})
        c.push_back(
            {t.name, aifc().CommC(2, 5, t.bits, 44100, t.name).Ssnd(Ramp(10 * t.bits / 8)).Done(), "AIFC", 5, 44100});
    c.push_back({"AIFF-C 'fl32'", aifc().CommC(2, 5, 32, 44100, "fl32").Ssnd(audio).Done(), nullptr});
    c.push_back({"AIFF-C 'ulaw'", aifc().CommC(2, 5, 16, 44100, "ulaw").Ssnd(audio).Done(), nullptr});
    c.push_back({"AIFF-C with an AIFF COMM of 18 bytes", aifc().Comm(2, 5, 16, 44100).Ssnd(audio).Done(), nullptr});
    // Short 'COMM' chunks stand last, so that their odd size derails nothing.
    c.push_back({"AIFF-C COMM of 21 bytes", aifc().Ssnd(audio).Chunk("COMM", Bytes(21, 1)).Done(), nullptr});
    c.push_back({"COMM of 17 bytes", aiff().Ssnd(audio).Chunk("COMM", Bytes(17, 1)).Done(), nullptr});
    c.push_back({"COMM cut by the end of the file",
                 [&]
                 {
                     Bytes b = aiff().Comm(2, 5, 16, 44100).AsIs();
                     b.resize(b.size() - 4);
                     return b;
                 }(),
                 nullptr});
    c.push_back({"infinite rate", aiff().Comm(2, 5, 16, X80{0x7F, 0xFF, 0x80}).Ssnd(audio).Done(), nullptr});
    c.push_back({"NaN rate", aiff().Comm(2, 5, 16, X80{0x7F, 0xFF, 0xC0}).Ssnd(audio).Done(), nullptr});
    c.push_back(
        {"denormal rate", aiff().Comm(2, 5, 16, X80{0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).Ssnd(audio).Done(), nullptr});
    c.push_back({"rate below one", aiff().Comm(2, 5, 16, 0.5).Ssnd(audio).Done(), nullptr});
    c.push_back({"negative rate", aiff().Comm(2, 5, 16, -44100).Ssnd(audio).Done(), nullptr});
    c.push_back({"rate of 2^31", aiff().Comm(2, 5, 16, 2147483648.0).Ssnd(audio).Done(), nullptr});
    c.push_back({"zero channels", aiff().Comm(0, 5, 16, 44100).Ssnd(audio).Done(), nullptr});
    c.push_back({"zero bits", aiff().Comm(2, 5, 0, 44100).Ssnd(audio).Done(), nullptr});
    c.push_back({"frame of less than a byte", aiff().Comm(1, 5, 4, 44100).Ssnd(audio).Done(), nullptr});
    c.push_back(
        {"SSND offset past its end", aiff().Comm(2, 5, 16, 44100).Chunk("SSND", SsndAt(21, audio)).Done(), nullptr});
    c.push_back({"SSND offset at its very end", aiff().Comm(2, 0, 16, 44100).Chunk("SSND", SsndAt(20, audio)).Done(),
                 "AIFF", 0, 44100, 74});
    c.push_back({"SSND smaller than its two fields",
                 aiff().Comm(2, 5, 16, 44100).Chunk("SSND", Bytes(6, 0)).Ssnd(audio).Done(), nullptr});
    // Unfinished files: the frames the audio chunk holds, up to what COMM says.
    c.push_back({"SSND cut by the end of the file",
                 aiff().Comm(2, 5, 16, 44100).Chunk("SSND", 40, SsndAt(0, audio)).AsIs(), "AIFF", 5, 44100});
    c.push_back({"SSND size 0xFFFFFFFF",
                 aiff().Comm(2, 5, 16, 44100).Chunk("SSND", 0xFFFFFFFF, SsndAt(0, audio)).AsIs(), "AIFF", 5, 44100});
    c.push_back(
        {"COMM claims more frames than SSND holds", aiff().Comm(2, 9, 16, 44100).Ssnd(audio).Done(), "AIFF", 5, 44100});
    c.push_back({"no SSND", aiff().Comm(2, 5, 16, 44100).Done(), nullptr});
    c.push_back({"empty file", {}, nullptr});
    c.push_back({"text file", Bytes{'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', '\n'}, nullptr});
    c.push_back({"FORM of another type", AiffBuilder().Form("8SVX").Comm(2, 5, 16, 44100).Ssnd(audio).Done(), nullptr});
    c.push_back({"header cut inside the form type", Bytes{'F', 'O', 'R', 'M', 0, 0, 0, 4, 'A', 'I'}, nullptr});
    c.push_back({"RIFF WAVE", WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Data(audio).FixRiffSize().Bytes(), nullptr});
    c.push_back({"more than 1000 chunks before SSND",
                 [&]
                 {
                     AiffBuilder b = aiff();
                     b.Comm(2, 5, 16, 44100);
                     for (int i = 0; i < 1100; ++i)
                         b.Chunk("pad ", Bytes{});
                     return b.Ssnd(audio).Done();
                 }(),
                 nullptr});
    // Markers with short names, as other tools write them, are markers.
    c.push_back({"MARK with short names in front of SSND",
                 aiff().Comm(2, 5, 16, 44100).Mark(shortNames()).Ssnd(audio).Done(), "AIFF", 5, 44100});
    c.push_back({"MARK with short names behind SSND",
                 aiff().Comm(2, 5, 16, 44100).Ssnd(audio).Mark(shortNames()).Done(), "AIFF", 5, 44100, 54});
    c.push_back({"MARK count of 65535 in a small body",
                 aiff().Comm(2, 5, 16, 44100).Chunk("MARK", Bytes{0xFF, 0xFF, 0, 0}).Ssnd(audio).Done(), nullptr});
    c.push_back({"MARK with no markers", aiff().Comm(2, 5, 16, 44100).Chunk("MARK", Bytes{0, 0}).Ssnd(audio).Done(),
                 "AIFF", 5, 44100, 64});
    c.push_back({"MARK whose long names run past its body",
                 [&]
                 {
                     // Two markers pass the count test (34 bytes), but the first
                     // one's name takes the second past the end.
                     WaveBuilder body(true);
                     body.U16(2).U16(1).U32(0).Raw({20}).Raw(Bytes(20, 'x')).Raw({0}).Raw(Bytes(3, 0));
                     return aiff().Comm(2, 5, 16, 44100).Chunk("MARK", body.Bytes()).Ssnd(audio).Done();
                 }(),
                 nullptr});
    c.push_back({"INST shorter than 20 bytes is passed over",
                 aiff().Comm(2, 5, 16, 44100).Chunk("INST", Bytes(10, 0)).Ssnd(audio).Done(), "AIFF", 5, 44100, 72});
    return c;
}

TEST(AIFFRead, WhichHandlerRecognisesWhat)
{
    for (auto const& c : Cases())
    {
        SCOPED_TRACE(c.name);
        for (bool aifc : {false, true})
        {
            SCOPED_TRACE(aifc ? "AIFC handler" : "AIFF handler");
            Handler h(c.bytes, aifc);
            PlugInResult const open = h.mAudio->Open();
            bool const expected = c.by && std::string(c.by) == (aifc ? "AIFC" : "AIFF");
            bool const recognised = open == S_OK && h.IE() != nullptr;
            ASSERT_EQ(recognised, expected) << "open result " << std::hex << open;
            if (!recognised)
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
}

TEST(AIFFRead, MarkShorterThanItsCountFailsTheOpen)
{
    Handler h(AiffBuilder().Form().Comm(1, 4, 16, 8000).Ssnd(Ramp(8)).Chunk("MARK", Bytes{0}).Done());
    EXPECT_EQ(h.mAudio->Open(), E_FAIL);
}

TEST(AIFFRead, HandlerAnswers)
{
    Bytes const audio = Ramp(8);
    struct
    {
        bool aifc;
        Bytes bytes;
        char const* name;
    } const cases[] = {{false, AiffBuilder().Form().Comm(1, 8, 8, 8000).Ssnd(audio).Done(), "AIFF"},
                       {true, AiffBuilder().Form("AIFC").CommC(1, 8, 8, 8000).Ssnd(audio).Done(), "AIFC"}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Handler h(c.bytes, c.aifc);
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        char name[8] = {};
        EXPECT_EQ(h.IE()->GetFileTypeName(8, name), S_OK);
        EXPECT_STREQ(name, c.name);
        EXPECT_EQ(h.IE()->GetFileTypeName(9, name), E_FAIL);
        std::int32_t order = -1;
        h.IE()->GetByteOrder(&order);
        EXPECT_EQ(order, 0);
        EXPECT_EQ(h.IE()->CanImplement(&IID_IVelmoraAudioFile), S_OK);
        EXPECT_EQ(h.IE()->CanImplement(&IID_IOrvanelAudioFile), S_OK);
        EXPECT_EQ(h.IE()->CanImplement(&IID_IEbuAudioFile), S_FALSE);
        EXPECT_EQ(h.Aiff()->DataChunkHeaderSize(), 16);
        // 8-bit audio is signed on disk: it comes out as it lies.
        Bytes got(8);
        ASSERT_EQ(h.IE()->SampleRead(got.data(), 8), S_OK);
        EXPECT_EQ(got, audio);
        EXPECT_EQ(h.Velmora(), nullptr);
        EXPECT_EQ(h.Orvanel(), nullptr);
    }
}

TEST(AIFFRead, SamplesComeFromTheDataOffsetAsTheyLie)
{
    Bytes const audio = Ramp(24, 0x10); // 4 frames of 24-bit stereo, big-endian
    Handler h(AiffBuilder().Form().Comm(2, 4, 24, 48000).Ssnd(audio, 4).Done());
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    Bytes got(12);
    ASSERT_EQ(h.IE()->SampleSetPosition(0, 1), S_OK);
    ASSERT_EQ(h.IE()->SampleRead(got.data(), 2), S_OK);
    EXPECT_EQ(got, Bytes(audio.begin() + 6, audio.begin() + 18));
    EXPECT_EQ(h.IE()->SampleRead(got.data(), 2), kImportExport_BadParameter);
}

TEST(AIFFRead, MarkersAndTheirRoles)
{
    // Names of every parity, so that the walk has to step over pad bytes;
    // one long name makes up for the short ones in the count test.
    Handler h(AiffBuilder()
                  .Form()
                  .Comm(1, 100, 16, 8000)
                  .Ssnd(Ramp(200))
                  .Mark({{1, 0, "beg loop"},
                         {2, 99, "end loop"},
                         {3, 5, ""},
                         {-1 & 0xFFFF, 0xFFFFFFFF, "x"},
                         {7, 8, "beg loo"},
                         {8, 9, "a name long enough for the count test"}})
                  .Done());
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    struct
    {
        std::int16_t id;
        std::uint32_t position;
        char const* name;
        std::int32_t role;
    } const expected[] = {{1, 0, "beg loop", 1}, {2, 99, "end loop", 2},
                          {3, 5, "", 0},         {-1, 0xFFFFFFFF, "x", 0},
                          {7, 8, "beg loo", 0},  {8, 9, "a name long enough for the count test", 0}};
    auto const& markers = h.Aiff()->Markers();
    ASSERT_EQ(markers.size(), std::size(expected));
    for (std::size_t i = 0; i < markers.size(); ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(markers[i].id, expected[i].id);
        EXPECT_EQ(markers[i].position, expected[i].position);
        EXPECT_EQ(markers[i].name, expected[i].name);
        EXPECT_EQ(markers[i].role, expected[i].role);
    }
    // Markers alone make no instrument.
    EXPECT_EQ(h.Orvanel(), nullptr);

    // A second open starts with no markers of the first.
    ASSERT_EQ(h.mAudio->Open(), S_OK);
    EXPECT_EQ(h.Aiff()->Markers().size(), std::size(expected));
}

TEST(AIFFRead, LoopsFromInstrumentAndMarkers)
{
    using M = std::vector<AiffBuilder::Marker>;
    M const four = {{1, 100, "beg loop"}, {2, 200, "end loop"}, {3, 300, "beg loop"}, {4, 400, "end loop"}};
    struct
    {
        char const* name;
        std::function<void(AiffBuilder&)> chunks; // behind SSND
        PlugInInstrument expected;
    } const cases[] = {
        {"INST then MARK",
         [&](AiffBuilder& b) { b.Inst(64, -7, 1, 1, 2, 2, 3, 4).Mark(four); },
         {1, 100, 200, 2, 300, 400, 64, -7}},
        {"MARK then INST",
         [&](AiffBuilder& b) { b.Mark(four).Inst(64, -7, 1, 1, 2, 2, 3, 4); },
         {1, 100, 200, 2, 300, 400, 64, -7}},
        {"play mode 3 is a forward loop",
         [&](AiffBuilder& b) { b.Mark(four).Inst(60, 0, 3, 1, 2, 3, 3, 4); },
         {1, 100, 200, 1, 300, 400, 60, 0}},
        {"end marker missing",
         [&](AiffBuilder& b) { b.Mark(four).Inst(60, 0, 1, 1, 9, 1, 3, 4); },
         {0, 0, 0, 1, 300, 400, 60, 0}},
        {"INST without MARK", [&](AiffBuilder& b) { b.Inst(72, 12, 1, 1, 2); }, {0, 0, 0, 0, 0, 0, 72, 12}},
        {"play modes 0",
         [&](AiffBuilder& b) { b.Mark(four).Inst(60, 0, 0, 1, 2, 0, 3, 4); },
         {0, 0, 0, 0, 0, 0, 60, 0}},
        {"markers from two MARK chunks",
         [&](AiffBuilder& b) { b.Mark({four[0]}).Inst(60, 0, 2, 1, 2).Mark({four[1]}); },
         {2, 100, 200, 0, 0, 0, 60, 0}},
        {"a marker serves the first loop end that fits",
         [&](AiffBuilder& b) { b.Mark(four).Inst(60, 0, 1, 1, 2, 1, 1, 4); },
         {1, 100, 200, 0, 0, 0, 60, 0}},
        {"negative marker ids",
         [&](AiffBuilder& b) {
             b.Mark({{0xFFFF, 5, "beg loop"}, {0x8000, 6, "end loop"}}).Inst(61, 0, 1, 0xFFFF, 0x8000);
         },
         {1, 5, 6, 0, 0, 0, 61, 0}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        AiffBuilder b;
        b.Form().Comm(1, 1000, 16, 8000).Ssnd(Bytes(2000, 0));
        c.chunks(b);
        Handler h(b.Done());
        ASSERT_EQ(h.mAudio->Open(), S_OK);
        ASSERT_NE(h.IE(), nullptr);
        PlugInInstrument const expected = c.expected;
        ASSERT_NE(h.Orvanel(), nullptr);
        ASSERT_EQ(h.Orvanel()->HasInstrumentAttr(), S_OK);
        PlugInInstrument const got = h.Instrument();
        EXPECT_EQ(std::memcmp(&got, &expected, sizeof got), 0)
            << got.loop1Type << " " << got.loop1Start << "-" << got.loop1Stop << " / " << got.loop2Type << " "
            << got.loop2Start << "-" << got.loop2Stop << " root " << int(got.rootMIDINote) << " fine "
            << int(got.fineTuneCents);
    }
}

TEST(AIFFRead, PrintedChunksEndAtTheInstrument)
{
    struct
    {
        bool aifc;
        Bytes bytes;
        std::vector<std::string> lines;
    } const cases[] = {
        {false,
         AiffBuilder()
             .Form()
             .Comm(2, 5, 16, 44100)
             .Ssnd(Ramp(20), 4, 0)
             .Inst(60, 0, 0, 0, 0)
             .Chunk("ANNO", Ramp(4))
             .Done(),
         {"Chunk Position: 0", "Chunk ID: FORM", "\tFormat Type: AIFF", "Chunk ID: COMM", "\tnumChannels: 2",
          "\tsampleRate: 44100", "\tsampleSize: 16", "\tnumSampleFrames: 5", "Chunk Position: 38",
          "\t4 byte offset to audio data", "\tBlock size: 0", "\t20 bytes of audio data", "Chunk ID: INST"}},
        // The AIFF-C handler prints plain AIFF files too.
        {true,
         AiffBuilder().Form().Comm(1, 5, 8, 8000).Ssnd(Ramp(5)).Done(),
         {"\tFormat Type: AIFF", "\tnumChannels: 1", "\tsampleRate: 8000", "\t5 bytes of audio data"}},
        {true,
         AiffBuilder().Form("AIFC").CommC(1, 5, 8, 8000, "NONE", "raw").Ssnd(Ramp(6)).Done(),
         {"\tFormat Type: AIFC", "\tCompression Type: NONE", "\tCompressionName: raw", "\t6 bytes of audio data"}},
        {true,
         AiffBuilder().Form("AIFC").CommC(1, 5, 8, 8000, "sowt", "").Ssnd(Ramp(6)).Done(),
         {"\tCompression Type: sowt", "\tCompressionName: \n", "\t6 bytes of audio data"}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.lines.front());
        Handler h(c.bytes, c.aifc);
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
