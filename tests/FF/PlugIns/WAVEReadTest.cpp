// The WAVE handler's reading half, driven through the plug-in interfaces
// over a file in memory: what it recognises, what it refuses, and that
// damaged files end in a refusal and never in a crash.
#include "FF/PlugIns/WAVE.h"
#include "support/MemoryIFile.h"
#include "support/WaveBuilder.h"

#include <gtest/gtest.h>

#include <numeric>

namespace
{
using Bytes = std::vector<std::uint8_t>;

Bytes Ramp(std::size_t n)
{
    Bytes b(n);
    std::iota(b.begin(), b.end(), std::uint8_t{1});
    return b;
}

// A handler attached to a file in memory and opened.
struct Opened
{
    explicit Opened(Bytes bytes) : file(std::move(bytes))
    {
        void* object = nullptr;
        WAVE::Create(&object);
        audio = static_cast<IAudioFile*>(object);
        EXPECT_EQ(audio->SetFile(&file), S_OK);
        openResult = audio->Open();
        void* ie = nullptr;
        if (audio->QueryInterface(IID_IImportExportAudioFile, &ie) == S_OK)
            importExport = static_cast<IImportExportAudioFile*>(ie);
    }
    ~Opened()
    {
        if (importExport)
            importExport->Release();
        audio->Release();
    }
    bool Recognised() const { return openResult == S_OK && importExport != nullptr; }
    std::int64_t Frames()
    {
        std::int64_t n = -1;
        importExport->GetNumSamples(&n);
        return n;
    }

    MemoryIFile file;
    IAudioFile* audio = nullptr;
    IImportExportAudioFile* importExport = nullptr;
    PlugInResult openResult = 0;
};

struct Case
{
    char const* name;
    Bytes bytes;
    bool recognised;
    std::int64_t frames; // when recognised
};

std::vector<Case> Cases()
{
    Bytes const audio = Ramp(40);
    std::vector<Case> cases;
    cases.push_back({"plain 16-bit stereo",
                     WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Data(audio).FixRiffSize().Bytes(), true, 10});
    cases.push_back({"riff size disagrees with the file",
                     WaveBuilder().RiffHeader(12345678).Fmt(2, 44100, 16).Data(audio).Bytes(), true, 10});
    cases.push_back({"fmt of 18 bytes with cbSize",
                     WaveBuilder().RiffHeader().Fmt(1, 8000, 8, 1, 2).Data(Ramp(7)).FixRiffSize().Bytes(), true, 7});
    cases.push_back({"10 data bytes of 16-bit stereo give 2 frames",
                     WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Data(Ramp(10)).Bytes(), true, 2});
    cases.push_back({"foreign chunks before and after data",
                     WaveBuilder()
                         .RiffHeader()
                         .Chunk("LIST", Ramp(26))
                         .Fmt(1, 48000, 24)
                         .Chunk("junk", Ramp(4))
                         .Data(Ramp(30))
                         .Chunk("LIST", Ramp(12))
                         .FixRiffSize()
                         .Bytes(),
                     true, 10});
    cases.push_back({"a second data chunk overrides the first",
                     WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Ramp(8)).Data(Ramp(20)).Bytes(), true, 10});
    cases.push_back({"first chunk not RIFF is skipped as unknown",
                     WaveBuilder().Chunk("abcd", Ramp(6)).Fmt(1, 8000, 16).Data(Ramp(8)).Bytes(), true, 4});
    cases.push_back({"empty file", {}, false, 0});
    cases.push_back({"text file", Bytes{'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', '\n'}, false, 0});
    cases.push_back({"RIFF of another form", WaveBuilder().Id("RIFF").U32(4).Id("AVI ").Bytes(), false, 0});
    cases.push_back({"header only", WaveBuilder().RiffHeader(4).Bytes(), false, 0});
    cases.push_back({"truncated in the fmt body",
                     []
                     {
                         Bytes b = WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Bytes();
                         b.resize(b.size() - 6);
                         return b;
                     }(),
                     false, 0});
    // Unfinished headers: the audio runs to the end of the file.
    cases.push_back({"data cut by the end of the file",
                     WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Chunk("data", 44, Ramp(40)).Bytes(), true, 10});
    cases.push_back({"data size 0xFFFFFFFF",
                     WaveBuilder().RiffHeader(0xFFFFFFFF).Fmt(2, 44100, 16).Chunk("data", 0xFFFFFFFF, Ramp(40)).Bytes(),
                     true, 10});
    cases.push_back({"RIFF and data sizes 0, audio behind",
                     WaveBuilder().RiffHeader(0).Fmt(2, 44100, 16).Chunk("data", 0, Ramp(42)).Bytes(), true, 10});
    cases.push_back({"empty data chunk with a chunk behind it",
                     WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Data({}).Chunk("LIST", Ramp(4)).Bytes(), true, 0});
    cases.push_back({"RF64 with its sizes in ds64",
                     WaveBuilder()
                         .Id("RF64")
                         .U32(0xFFFFFFFF)
                         .Id("WAVE")
                         .Id("ds64")
                         .U32(28)
                         .U32(0)
                         .U32(0)
                         .U32(36)
                         .U32(0)
                         .U32(9)
                         .U32(0)
                         .U32(0)
                         .Fmt(2, 44100, 16)
                         .Chunk("data", 0xFFFFFFFF, Ramp(36))
                         .Chunk("LIST", Ramp(4))
                         .Bytes(),
                     true, 9});
    cases.push_back({"12 bits in 2 bytes", WaveBuilder().RiffHeader().Fmt(1, 8000, 12).Data(Ramp(8)).Bytes(), true, 4});
    cases.push_back(
        {"20 bits in 3 bytes", WaveBuilder().RiffHeader().Fmt(2, 8000, 20).Data(Ramp(12)).Bytes(), true, 2});
    cases.push_back({"data before fmt", WaveBuilder().RiffHeader().Data(Ramp(8)).Fmt(1, 8000, 16).Bytes(), false, 0});
    cases.push_back({"zero channels", WaveBuilder().RiffHeader().Fmt(0, 8000, 16).Data(Ramp(8)).Bytes(), false, 0});
    cases.push_back({"zero bits", WaveBuilder().RiffHeader().Fmt(2, 8000, 0).Data(Ramp(8)).Bytes(), false, 0});
    cases.push_back(
        {"frame of less than a byte", WaveBuilder().RiffHeader().Fmt(1, 8000, 4).Data(Ramp(8)).Bytes(), false, 0});
    cases.push_back(
        {"float format tag", WaveBuilder().RiffHeader().Fmt(1, 8000, 32, 3).Data(Ramp(8)).Bytes(), false, 0});
    cases.push_back({"extensible of unknown sub-format",
                     WaveBuilder().RiffHeader().Extensible(2, 48000, 24, 24, 3, 3).Data(Ramp(12)).Bytes(), false, 0});
    cases.push_back(
        {"extensible PCM", WaveBuilder().RiffHeader().Extensible(2, 48000, 24, 24, 3).Data(Ramp(12)).Bytes(), true, 2});
    cases.push_back({"extensible with 20 valid bits of 24",
                     WaveBuilder().RiffHeader().Extensible(6, 48000, 24, 20, 0x3F).Data(Ramp(36)).Bytes(), true, 2});
    cases.push_back({"odd unknown chunk with its pad before data",
                     WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Chunk("odd ", Ramp(3)).Raw({0}).Data(Ramp(8)).Bytes(),
                     true, 4});
    cases.push_back({"odd unknown chunk whose writer forgot the pad",
                     WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Chunk("odd ", Ramp(3)).Data(Ramp(8)).Bytes(), true,
                     4});
    cases.push_back({"more than 1000 chunks before data",
                     []
                     {
                         WaveBuilder b;
                         b.RiffHeader().Fmt(1, 8000, 16);
                         for (int i = 0; i < 1100; ++i)
                             b.Chunk("pad ", Bytes{});
                         return b.Data(Ramp(8)).Bytes();
                     }(),
                     false, 0});
    cases.push_back({"a few stray bytes after the audio",
                     WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Ramp(8)).Raw(Bytes{1, 2, 3}).Bytes(), true, 4});
    return cases;
}

TEST(WAVERead, RecognisesAndRefuses)
{
    for (auto const& c : Cases())
    {
        SCOPED_TRACE(c.name);
        Opened o(c.bytes);
        ASSERT_EQ(o.Recognised(), c.recognised) << "open result " << std::hex << o.openResult;
        if (c.recognised)
        {
            EXPECT_EQ(o.Frames(), c.frames);
        }
    }
}

TEST(WAVERead, ReadsSamplesAtTheDataOffset)
{
    Bytes const audio = Ramp(24); // 6 frames of 16-bit stereo
    Opened o(WaveBuilder().RiffHeader().Chunk("LIST", Ramp(10)).Fmt(2, 44100, 16).Data(audio).FixRiffSize().Bytes());
    ASSERT_TRUE(o.Recognised());

    Bytes got(8);
    ASSERT_EQ(o.importExport->SampleSetPosition(0, 2), S_OK);
    ASSERT_EQ(o.importExport->SampleRead(got.data(), 2), S_OK);
    EXPECT_EQ(got, Bytes(audio.begin() + 8, audio.begin() + 16));
    std::int64_t position = 0;
    o.importExport->SampleGetPosition(&position);
    EXPECT_EQ(position, 4);

    // Exactly what remains succeeds; one frame more is a bad parameter and reads nothing.
    int const reads = o.file.Reads();
    EXPECT_EQ(o.importExport->SampleRead(got.data(), 3), kImportExport_BadParameter);
    EXPECT_EQ(o.file.Reads(), reads);
    EXPECT_EQ(o.importExport->SampleRead(got.data(), 2), S_OK);
    EXPECT_EQ(o.importExport->SampleRead(got.data(), 0), S_OK);
    EXPECT_EQ(o.file.Reads(), reads + 1);
}

TEST(WAVERead, EightBitSamplesComeOutSigned)
{
    Opened o(WaveBuilder().RiffHeader().Fmt(1, 8000, 8).Data(Bytes{0x80, 0x00, 0xFF, 0x7F, 0x81}).Bytes());
    ASSERT_TRUE(o.Recognised());
    Bytes got(5);
    ASSERT_EQ(o.importExport->SampleRead(got.data(), 5), S_OK);
    EXPECT_EQ(got, (Bytes{0x00, 0x80, 0x7F, 0xFF, 0x01}));
}

TEST(WAVERead, ShortReadIsUnexpectedAndDoesNotAdvance)
{
    // The data chunk claims 8 bytes, then the file is cut after the parse.
    Opened o(WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Ramp(8)).Bytes());
    ASSERT_TRUE(o.Recognised());
    o.file.Bytes().resize(o.file.Bytes().size() - 3);
    Bytes got(8);
    EXPECT_EQ(o.importExport->SampleRead(got.data(), 4), E_UNEXPECTED);
    std::int64_t position = -1;
    o.importExport->SampleGetPosition(&position);
    EXPECT_EQ(position, 0);
}

TEST(WAVERead, InterfacesFollowTheFacts)
{
    Opened o(WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Ramp(8)).Bytes());
    ASSERT_TRUE(o.Recognised());
    struct
    {
        PlugInGuid const* iid;
        PlugInResult expected;
    } const cases[] = {
        {&IID_IUnknown, S_OK},
        {&IID_IAudioFile, S_OK},
        {&IID_INativeAudioFile, S_OK},
        {&IID_IVelmoraAudioFile, E_NOINTERFACE},
        {&IID_IEbuAudioFile, E_NOINTERFACE},
        {&IID_IOmfiAudioFile, E_NOINTERFACE},
        {&IID_IOrvanelAudioFile, E_NOINTERFACE},
        {&IID_IFile, E_NOINTERFACE},
    };
    for (auto const& c : cases)
    {
        void* p = reinterpret_cast<void*>(1);
        EXPECT_EQ(o.audio->QueryInterface(*c.iid, &p), c.expected);
        if (c.expected == S_OK)
            static_cast<IUnknown*>(p)->Release();
        else
            EXPECT_EQ(p, nullptr);
    }

    char name[16] = {};
    EXPECT_EQ(o.importExport->GetFileTypeName(8, name), S_OK);
    EXPECT_STREQ(name, "WAVE");
    EXPECT_EQ(o.importExport->GetFileTypeName(16, name), E_FAIL);
    std::int32_t order = -1;
    o.importExport->GetByteOrder(&order);
    EXPECT_EQ(order, 1);
    EXPECT_EQ(o.importExport->CanImplement(&IID_IVelmoraAudioFile), S_OK);
    EXPECT_EQ(o.importExport->CanImplement(&IID_IEbuAudioFile), S_FALSE);

    // The file stays attached to the first caller.
    MemoryIFile other;
    EXPECT_EQ(o.audio->SetFile(&other), E_UNEXPECTED);
}

TEST(WAVERead, OffsetsAndSamples)
{
    Opened o(WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Ramp(8)).Bytes());
    ASSERT_TRUE(o.Recognised());
    void* p = nullptr;
    ASSERT_EQ(o.audio->QueryInterface(IID_INativeAudioFile, &p), S_OK);
    auto* native = static_cast<INativeAudioFile*>(p);
    std::int64_t offset = 0, sample = 0;
    native->SampleToOffset(3, &offset);
    EXPECT_EQ(offset, 44 + 6);
    EXPECT_EQ(native->OffsetToSample(offset, &sample), S_OK);
    EXPECT_EQ(sample, 3);
    EXPECT_EQ(native->OffsetToSample(offset + 1, &sample), kNative_BadParameter);
    native->Release();
}
} // namespace
