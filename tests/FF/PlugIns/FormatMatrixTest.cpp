// Every format the library writes, at every word length and in mono and
// stereo, written through FF_AudioFile into a temporary folder, closed and
// opened again: the samples as they lie on disk and as they read back, the
// attributes, identity, regions, loops, overview and time reference.
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioInstrumentAttr.h"
#include "FF/PlugIns/PlugInTable.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"
#include "support/ChunkWalker.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

namespace
{
using Bytes = std::vector<std::uint8_t>;
using Loop = FF_AudioInstrumentAttr;

struct Format
{
    char const* name; // as the file describes itself
    Sys_FileType type;
    char const* extension;
    bool bigEndian;
    bool broadcast;   // keeps a time reference
    char const* data; // the chunk of the audio; none: the whole data fork is audio
};

std::vector<Format> Formats()
{
    return {
        {"WAVE", Sys_FileType(std::string("wav")), ".wav", false, true, "data"},
        {"AIFF", Sys_FileType(PlugInTable::MacType("AIFF")), ".aif", true, true, "SSND"},
        {"AIFC", Sys_FileType(PlugInTable::MacType("AIFC")), ".aifc", true, true, "SSND"},
        {"VORN", Sys_FileType(PlugInTable::MacType("Vn4f")), "", true, false, nullptr},
    };
}

struct Shape
{
    int bits, channels;
};
Shape const kShapes[] = {{8, 1}, {8, 2}, {16, 1}, {16, 2}, {24, 1}, {24, 2}, {32, 1}, {32, 2}};

class FormatMatrix : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Sys_Init::Init();
        // Locations know an extension only when the registry knows the type.
        std::vector<Sys_FileType> types;
        for (char const* extension : {"wav", "aif", "aifc"})
            types.emplace_back(std::string(extension));
        std::vector<std::string> descriptions = {"WAVE", "AIFF", "AIFF-C"};
        Sys_Utils::RegisterKnownTypes(types, descriptions);
    }
    vfltest::TempDir mDir;
};

TEST_F(FormatMatrix, WhatIsWrittenSurvivesCloseAndReopen)
{
    std::int64_t const frames = 1001; // odd: 8-bit mono audio takes a pad byte
    int32 const spi = 100, intervals = 11;
    for (Format const& f : Formats())
        for (Shape const& s : kShapes)
        {
            std::string const name =
                std::string(f.name) + "-" + std::to_string(s.bits) + "x" + std::to_string(s.channels);
            SCOPED_TRACE(name);
            std::string const path = mDir.File(name + f.extension);
            int const width = s.bits / 8;
            // Samples whose bytes all differ, in host order, and as the file holds them.
            Bytes host(static_cast<std::size_t>(frames * s.channels * width)), disk(host.size());
            for (std::size_t n = 0; n < host.size() / width; ++n)
            {
                auto const v = static_cast<std::uint32_t>(n * 2654435761u);
                for (int b = 0; b < width; ++b)
                {
                    host[n * width + b] = static_cast<std::uint8_t>(v >> (8 * b));
                    disk[n * width + (f.bigEndian ? width - 1 - b : b)] = static_cast<std::uint8_t>(v >> (8 * b));
                }
                if (width == 1 && !f.bigEndian) // 8-bit WAVE audio is unsigned
                    disk[n] ^= 0x80;
            }
            Loop const loops(60, 0, Loop::kLoopForwardBackward, 5, 50, Loop::kLoopForward, 60, 900);
            Sys_Umid umid;
            {
                FF_AudioFile file((Sys_FileLoc(path)));
                file.Format(f.type, s.channels, 44100, s.bits, 0);
                FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
                Bytes buffer = host;
                file.SampleWrite(buffer.data(), frames, FF_AudioFile::ePreserveBuffer);
                EXPECT_TRUE(buffer == host) << "the buffer was not left as it was";
                file.SetNumSamples(frames);
                file.AddRegion("verse", 10, 500, 20, 3, 4);
                file.SetInstrumentAttr(loops);
                if (f.broadcast)
                    file.SetSMPTETimeStamp(0x0102030405060708ll);
                char** block = RelocatableBlock::New(14 + 2 * intervals);
                for (int i = 0; i < 2 * intervals; ++i)
                    (*block)[14 + i] = static_cast<char>(i * 11);
                file.SetOverview(block, spi, 8, intervals);
                umid = file.GetUmid();
            }
            Bytes const onDisk = vfltest::ReadWholeFile(path);
            std::int64_t audioAt = 0;
            if (f.data)
            {
                ChunkWalker::Chunk const data = ChunkWalker::Find(onDisk, f.data);
                ASSERT_GE(data.at, 0);
                audioAt = data.at + (f.bigEndian ? 16 : 8);
                EXPECT_EQ(data.size, disk.size() + (f.bigEndian ? 8 : 0));
            }
            ASSERT_GE(onDisk.size(), audioAt + disk.size());
            EXPECT_TRUE(std::equal(disk.begin(), disk.end(), onDisk.begin() + audioAt));
            if (!f.data)
            {
                EXPECT_EQ(onDisk.size(), disk.size());
            }

            FF_AudioFile file((Sys_FileLoc(path)));
            ASSERT_TRUE(file.Implements(FF_AudioFile::eVelmoraInterface)) << file.GetUnknownReason();
            EXPECT_EQ(file.GetDescription(FF_AudioFile::eShortDescription), f.name);
            FF_AudioFileAttr const a = file.GetAudioFileAttr();
            EXPECT_EQ(a.GetBitsPerSample(), s.bits);
            EXPECT_EQ(a.GetNumChannels(), s.channels);
            EXPECT_EQ(a.GetSamplesPerSec(), 44100);
            EXPECT_EQ(a.GetNumSamples(), frames);
            EXPECT_EQ(a.GetByteOrder(), f.bigEndian ? FF_AudioFileAttr::eBigEndian : FF_AudioFileAttr::eLittleEndian);
            EXPECT_EQ(file.SampleToOffset(0), audioAt);
            EXPECT_EQ(file.OffsetToSample(file.SampleToOffset(7)), 7);
            EXPECT_TRUE(file.GetUmid() == umid);

            std::vector<FF_ImportAudioRegion> regions;
            file.GetRegions(&regions, false);
            // The whole-file region that setting the length made, then ours.
            ASSERT_EQ(regions.size(), 2u);
            EXPECT_TRUE(regions[0].IsWholeFileRegion());
            EXPECT_EQ(regions[0].GetName(), name);
            EXPECT_EQ(regions[0].GetStopSample(), static_cast<std::uint64_t>(frames));
            EXPECT_EQ(regions[1].GetName(), "verse");
            EXPECT_EQ(regions[1].GetStartSample(), 10u);
            EXPECT_EQ(regions[1].GetStopSample(), 500u);
            EXPECT_EQ(regions[1].GetSyncSample(), 20u);
            EXPECT_EQ(regions[1].GetUserTimeStamp(), 3u);

            ASSERT_TRUE(file.HasInstrumentAttr());
            Loop loopsBack;
            file.GetInstrumentAttr(&loopsBack);
            EXPECT_EQ(loopsBack.GetLoop1Type(), Loop::kLoopForwardBackward);
            EXPECT_EQ(loopsBack.GetLoop1StartSample(), 5);
            EXPECT_EQ(loopsBack.GetLoop1StopSample(), 50);
            EXPECT_EQ(loopsBack.GetLoop2Type(), Loop::kLoopForward);
            EXPECT_EQ(loopsBack.GetLoop2StartSample(), 60);
            EXPECT_EQ(loopsBack.GetLoop2StopSample(), 900);
            if (f.broadcast)
            {
                // The time reference lies low word first, in either byte order.
                std::int64_t const at = ChunkWalker::Find(onDisk, "bext").at + 8 + 338;
                EXPECT_EQ(Bytes(onDisk.begin() + at, onDisk.begin() + at + 8), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
                EXPECT_EQ(file.GetSMPTETimeStamp(), 0x0102030405060708ll);
            }
            ASSERT_TRUE(file.HasOverview(spi, 8));
            int32 got = 0;
            char** overview = file.GetOverview(spi, 8, &got);
            EXPECT_EQ(got, intervals);
            for (int i = 0; i < 2 * intervals; ++i)
                EXPECT_EQ((*overview)[14 + i], static_cast<char>(i * 11)) << i;
            RelocatableBlock::Dispose(overview);

            {
                FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
                Bytes back(host.size());
                file.SampleRead(back.data(), frames);
                EXPECT_TRUE(back == host);
            }
            // A new identity is another umid, which stays, and touches no sample.
            file.StampWithUmid();
            EXPECT_FALSE(file.GetUmid() == umid);
            FF_AudioFile stamped((Sys_FileLoc(path)));
            EXPECT_TRUE(stamped.GetUmid() == file.GetUmid());
            Bytes const after = vfltest::ReadWholeFile(path);
            EXPECT_TRUE(std::equal(disk.begin(), disk.end(), after.begin() + audioAt));
        }
}

// A file formatted again is a new, empty file: nothing of the old one's
// regions or loops comes back.
TEST_F(FormatMatrix, FormattingAgainLeavesNoMetadataOfTheOldFile)
{
    for (Format const& f : Formats())
    {
        SCOPED_TRACE(f.name);
        std::string const path = mDir.File(std::string("again") + f.extension);
        for (int round = 0; round < 2; ++round)
        {
            FF_AudioFile file((Sys_FileLoc(path)));
            // 12 bits the second time: stored in 2 bytes.
            file.Format(f.type, 1, 8000, round == 0 ? 16 : 12, 0);
            if (round == 0)
            {
                FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
                std::int16_t samples[100] = {};
                file.SampleWrite(samples, 100);
                file.SetNumSamples(100);
                file.AddRegion("old", 1, 2, 1, 0, 0);
                file.SetInstrumentAttr(Loop(60, 0, Loop::kLoopForward, 1, 2));
            }
        }
        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface)) << file.GetUnknownReason();
        EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), 0);
        EXPECT_EQ(file.GetAudioFileAttr().GetBytesPerSample(), 2);
        std::vector<FF_ImportAudioRegion> regions;
        file.GetRegions(&regions, false);
        EXPECT_TRUE(regions.empty());
        Loop loops;
        if (file.HasInstrumentAttr())
            file.GetInstrumentAttr(&loops);
        EXPECT_EQ(loops.GetLoop1Type(), Loop::kLoopNone);
    }
}
} // namespace
