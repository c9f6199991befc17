// The MP3 writer: what it asks of its encoder, in which order, and where the
// bytes land; then the library's own encoder, checked by independent tools.
#include "FF/FF_MP3AudioFile.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_LameMP3Encoder.h"
#include "FF/TMP3EncoderIF.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <sstream>

namespace
{
// Records its calls; "encodes" by copying its input and marking the drain
// with a fixed byte string.
class FakeEncoder : public TMP3EncoderIF
{
public:
    std::string GetEncoderName() const override { return "fake"; }
    std::string GetEncoderVersion() const override { return "1"; }
    bool IsAvailable() const override { return true; }
    bool IsEncoding() override { return open; }
    int32 StartEncoding(int32 rate, int32 channels, int32 o5, int32 o6, u8 o2, int32 o3, int32 o4, u8 o12, u8 o10,
                        u8 o11, int32 o7, u8 o8, u8 o9) override
    {
        ++starts;
        startArgs = {rate, channels, o5, o6, o2, o3, o4, o12, o10, o11, o7, o8, o9};
        open = true;
        drained = false;
        return 0;
    }
    void FinishEncoding() override
    {
        ++finishes;
        open = false;
    }
    int32 EncodeBlock(void const* in, int32 bytes, int32* consumed, u8* out, int32 capacity, int32* produced) override
    {
        *consumed = 0;
        *produced = 0;
        if (bytes == 0)
        {
            if (!drained)
            {
                std::memcpy(out, "END", 3);
                *produced = 3;
            }
            drained = true;
            return 0;
        }
        int32 const n = std::min({bytes, capacity, 1000}); // takes less than offered
        std::memcpy(out, in, static_cast<std::size_t>(n));
        *consumed = n;
        *produced = n;
        return 0;
    }
    int32 GetTagSize(int32 mode, std::string const&, std::string const&, std::string const&, std::string const&, int16,
                     int16, int16) override
    {
        return mode == 1 || mode == 3 ? 4 : 0;
    }
    int32 WriteTag(int32 mode, std::string const&, std::string const&, std::string const&, std::string const&, int16,
                   int16, int16, u8* buffer, int32) override
    {
        std::memcpy(buffer, mode == 3 ? "TAG3" : "TAG1", 4);
        return 4;
    }
    bool open = false;
    bool drained = false;
    int starts = 0;
    int finishes = 0;
    std::vector<int32> startArgs;
};

class FF_MP3AudioFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Sys_Init::Init();
        mSaved = FF_MP3AudioFile::GetMP3Options();
        FF_MP3AudioFile::SetupEncoder(&mFake);
    }
    void TearDown() override
    {
        FF_MP3AudioFile::SetupMP3Options(mSaved);
        FF_MP3AudioFile::SetupEncoder(nullptr);
    }
    static void SetTagMode(int32 mode)
    {
        MP3EncoderOptions o;
        o.tagMode = mode;
        FF_MP3AudioFile::SetupMP3Options(o);
    }
    std::string Bytes(std::string const& path)
    {
        std::vector<std::uint8_t> const b = vfltest::ReadWholeFile(path);
        return std::string(b.begin(), b.end());
    }
    static constexpr int32 kCreate = FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite | FF_AudioFile::eOpenCreate;
    FakeEncoder mFake;
    MP3EncoderOptions mSaved;
    vfltest::TempDir mDir;
};

// The encoder starts with the rate, the channels and the options in their
// order; the file offers only what a stream can do.
TEST_F(FF_MP3AudioFileTest, StartsTheEncoderWithItsOptionsAndRefusesWhatAStreamCannotDo)
{
    MP3EncoderOptions o;
    o.field2 = 2, o.field3 = 3, o.field4 = 4, o.field5 = 5, o.field6 = 6, o.field7 = 7;
    o.field8 = 8, o.field9 = 9, o.field10 = 10, o.field11 = 11, o.field12 = 12;
    FF_MP3AudioFile::SetupMP3Options(o);
    FF_MP3AudioFile file(Sys_FileLoc(mDir.File("a.mp3")));
    for (auto which : {FF_AudioFile::eNoAudioInterface, FF_AudioFile::eImportExportInterface,
                       FF_AudioFile::eNativeInterface, FF_AudioFile::eVelmoraInterface, FF_AudioFile::eEbuInterface,
                       FF_AudioFile::eOmfiInterface, FF_AudioFile::eOrvanelInterface})
        EXPECT_EQ(file.Implements(which), which == FF_AudioFile::eImportExportInterface) << which;
    EXPECT_EQ(file.GetDescription(FF_AudioFile::eShortDescription), "MP3 File");

    file.Open(kCreate);
    file.Format(Sys_FileType(std::string("mp3")), 2, 22050, 16, 10);
    EXPECT_EQ(mFake.startArgs, (std::vector<int32>{22050, 2, 5, 6, 2, 3, 4, 12, 10, 11, 7, 8, 9}));
    std::vector<i16> samples(20, 7);
    file.SampleWrite(samples.data(), 10);
    file.SampleSetPosition(Sys_File::kFromStart, 10); // where it stands: fine
    EXPECT_THROW(file.SampleSetPosition(Sys_File::kFromStart, 0), std::runtime_error);
    EXPECT_THROW(file.SampleRead(samples.data(), 1), std::runtime_error);
    std::vector<FF_ImportAudioRegion> regions;
    EXPECT_THROW(file.GetRegions(&regions, true), std::runtime_error);
    // The encoders take 16-bit samples, one or two channels.
    FF_MP3AudioFile other(Sys_FileLoc(mDir.File("b.mp3")));
    other.Open(kCreate);
    EXPECT_THROW(other.Format(Sys_FileType(std::string("mp3")), 2, 44100, 24, 10), Cmn_Exception);
    other.Close(false);
    file.Close(false);
}

// The tag goes before or after the audio as its mode says, and a file cut to
// nothing abandons the encoding and stays empty. Formatted inside an open
// level and closed, then opened again by the writer, as a conversion does,
// the file restarts the encoder and the count: nothing is left of the first
// stream, and it ends with one tag.
TEST_F(FF_MP3AudioFileTest, TagModesCuttingToNothingAndReopening)
{
    struct Case
    {
        int32 mode;
        bool cut, reopen;
        std::string front, back;
    } const cases[] = {{1, false, false, "", "TAG1"},
                       {3, false, false, "TAG3", ""},
                       {0, false, false, "", ""},
                       {1, true, false, "", ""},
                       {1, false, true, "", "TAG1"}};
    std::string pcm(600 * 4, 0); // more than the encoder takes at once
    for (std::size_t i = 0; i < pcm.size(); ++i)
        pcm[i] = static_cast<char>('a' + i % 26);
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << (c.cut ? ", cut" : "")
                                        << (c.reopen ? ", reopened" : ""));
        SetTagMode(c.mode);
        mFake.starts = 0;
        std::string const path = mDir.File("t" + std::to_string(c.mode * 4 + c.cut * 2 + c.reopen) + ".mp3");
        {
            FF_MP3AudioFile file{Sys_FileLoc(path)};
            file.Open(kCreate);
            file.Format(Sys_FileType(std::string("mp3")), 2, 44100, 16, 600);
            if (c.reopen)
            {
                file.Close(false);
                EXPECT_EQ(mFake.starts, 1);
                file.Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
                EXPECT_EQ(file.SampleGetPosition(), 0);
            }
            file.SampleWrite(pcm.data(), 600);
            EXPECT_EQ(mFake.starts, c.reopen ? 2 : 1);
            EXPECT_EQ(file.SampleGetPosition(), 600);
            if (c.cut)
                file.SetEOF(0);
            if (c.reopen) // the writer flushes before it closes
                file.Flush();
            file.Close(true);
            if (c.cut || c.reopen) // a stream ending in a tag leaves the encoder to its next start
            {
                EXPECT_FALSE(mFake.open);
            }
        }
        EXPECT_EQ(Bytes(path), c.cut ? "" : c.front + pcm + "END" + c.back);
    }
}

// ------------------------------------------------------- the real encoder

class FF_LameMP3EncoderTest : public FF_MP3AudioFileTest
{
protected:
    void SetUp() override
    {
        FF_MP3AudioFileTest::SetUp();
        for (char const* tool : {"ffprobe", "ffmpeg", "mp3val"})
            if (!vfltest::HaveProgram(tool))
                GTEST_SKIP() << tool << " is needed";
        FF_MP3AudioFile::SetupEncoder(&mLame);
    }
    // Ten seconds of two sines, 44.1 kHz stereo, through the writer.
    std::vector<i16> Encode(std::string const& path, MP3EncoderOptions const& options)
    {
        FF_MP3AudioFile::SetupMP3Options(options);
        std::vector<i16> pcm(441000 * 2);
        for (std::size_t n = 0; n < 441000; ++n)
        {
            pcm[2 * n] = static_cast<i16>(12000 * std::sin(2 * std::numbers::pi * 440.0 * n / 44100));
            pcm[2 * n + 1] = static_cast<i16>(9000 * std::sin(2 * std::numbers::pi * 660.0 * n / 44100));
        }
        FF_MP3AudioFile file{Sys_FileLoc(path)};
        file.Open(kCreate);
        file.Format(Sys_FileType(std::string("mp3")), 2, 44100, 16, 441000);
        for (std::size_t at = 0; at < 441000; at += 3840) // the reader's block of 16-bit stereo
        {
            std::size_t const n = std::min<std::size_t>(3840, 441000 - at);
            file.SampleWrite(pcm.data() + 2 * at, static_cast<int64>(n));
        }
        file.Close(true);
        return pcm;
    }
    std::string Out(std::string const& command)
    {
        std::string out;
        EXPECT_EQ(vfltest::RunCommand(command, &out), 0) << command;
        return out;
    }
    FF_LameMP3Encoder mLame;
};

// Constant rate with the tag at the end, variable rate with the tag in
// front and an info frame: each a stream that the tools read without a
// warning, ten seconds long, tagged, and decoding to the source.
TEST_F(FF_LameMP3EncoderTest, ToolsReadTheStreamAndItDecodesToTheSource)
{
    struct
    {
        char const* name;
        int32 rateMode; // 2: variable
        int32 tagMode;
    } const cases[] = {{"constant", 0, 1}, {"variable", 2, 3}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        MP3EncoderOptions o;
        o.field4 = c.rateMode;
        o.tagMode = c.tagMode;
        o.tag1 = "Sines";
        o.tag2 = "Test";
        std::string const path = mDir.File(std::string(c.name) + ".mp3");
        std::vector<i16> const pcm = Encode(path, o);

        std::string const probe = Out("ffprobe -v error -show_entries stream=codec_name,sample_rate,channels:"
                                      "format=duration:format_tags=title,artist -of default=nw=1 " +
                                      path);
        for (char const* line :
             {"codec_name=mp3", "sample_rate=44100", "channels=2", "TAG:title=Sines", "TAG:artist=Test"})
            EXPECT_NE(probe.find(line), std::string::npos) << line << "\n" << probe;
        double const duration = std::stod(probe.substr(probe.find("duration=") + 9));
        EXPECT_NEAR(duration, 10.0, 0.1); // the encoder's delay and padding
        std::string const check = Out("mp3val " + path);
        EXPECT_EQ(check.find("WARNING"), std::string::npos) << check;
        EXPECT_EQ(check.find("ERROR"), std::string::npos) << check;

        std::string const head = Bytes(path).substr(0, 4096);
        EXPECT_EQ(head.substr(0, 3) == "ID3", c.tagMode == 3);
        if (c.rateMode == 2)
        {
            // The first frame carries the stream's length, written over the
            // placeholder when the stream ended: ten seconds are 383 frames of 1152.
            std::size_t const xing = head.find("Xing");
            ASSERT_NE(xing, std::string::npos);
            auto const byte = [&](std::size_t i) { return static_cast<u32>(static_cast<u8>(head[xing + i])); };
            ASSERT_TRUE(byte(7) & 1) << "no frame count";
            EXPECT_NEAR(byte(8) << 24 | byte(9) << 16 | byte(10) << 8 | byte(11), 383, 3);
        }

        // Decoded, the left channel matches the source at the encoder's delay.
        std::string const raw = Out("ffmpeg -v error -i " + path + " -f s16le -ac 2 -");
        auto const* decoded = reinterpret_cast<i16 const*>(raw.data());
        std::size_t const frames = raw.size() / 4;
        double best = 0;
        for (std::size_t lag = 0; lag < 3000 && lag + 200000 < frames; ++lag)
        {
            double xy = 0, xx = 0, yy = 0;
            for (std::size_t n = 1000; n < 200000; n += 7)
            {
                double const x = pcm[2 * n], y = decoded[2 * (n + lag)];
                xy += x * y, xx += x * x, yy += y * y;
            }
            best = std::max(best, xy / std::sqrt(xx * yy));
        }
        EXPECT_GT(best, 0.99);
    }
}
} // namespace
