// Audio files for the tests of the file reader and writer stages: streams
// written to WAVE files through the library, read back, and audio files
// that count their reads or fail at a chosen one.
#pragma once

#include "FF_AudioProcessTestStages.h"

#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessWriteFiles.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"
#include "support/TestSupport.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace fffiles
{
using ffchain::Samples;
using Bytes = std::vector<char>;
using Files = std::vector<std::unique_ptr<FF_AudioFile>>;

inline void InitFileTypes()
{
    Sys_Init::Init();
    std::vector<Sys_FileType> types = {Sys_FileType(std::string("wav"))};
    std::vector<std::string> descriptions = {"WAVE audio"};
    Sys_Utils::RegisterKnownTypes(types, descriptions);
}

inline int BytesOf(int bits)
{
    return (bits + 7) / 8;
}

// The channels from `first` on, `count` of them, interleaved in the stored
// width: what a file of those channels holds.
inline Bytes Interleave(Samples const& s, int bits, std::size_t first, std::size_t count)
{
    int const width = BytesOf(bits);
    std::size_t const frames = s.empty() ? 0 : s[0].size();
    Bytes out;
    out.reserve(frames * count * static_cast<std::size_t>(width));
    for (std::size_t i = 0; i < frames; ++i)
        for (std::size_t c = first; c < first + count; ++c)
            for (int k = 0; k < width; ++k)
                out.push_back(static_cast<char>(static_cast<u32>(s[c][i]) >> (8 * k)));
    return out;
}

// A new WAVE file with room for `frames` frames.
inline void Format(std::string const& path, int channels, int bits, i64 frames)
{
    FF_AudioFile file((Sys_FileLoc(path)));
    file.Format(Sys_FileType(std::string("wav")), channels, 44100, bits, frames);
}

// Writes the stream into one interleaved file or one file per channel.
inline std::vector<std::string> WriteStream(vfltest::TempDir const& dir, std::string const& name, Samples const& s,
                                            int bits, bool separate)
{
    std::size_t const files = separate ? s.size() : 1;
    std::size_t const perFile = separate ? 1 : s.size();
    i64 const frames = s.empty() ? 0 : static_cast<i64>(s[0].size());
    std::vector<std::string> paths;
    for (std::size_t f = 0; f < files; ++f)
    {
        paths.push_back(dir.File(name + "-" + std::to_string(f) + ".wav"));
        Format(paths.back(), static_cast<int>(perFile), bits, frames);
        FF_AudioFile file((Sys_FileLoc(paths.back())));
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        Bytes data = Interleave(s, bits, f * perFile, perFile);
        file.SampleWrite(data.data(), frames);
    }
    return paths;
}

inline std::vector<std::string> FormatOutputs(vfltest::TempDir const& dir, std::string const& name, int channels,
                                              int bits, i64 frames, bool separate)
{
    std::vector<std::string> paths;
    int const files = separate ? channels : 1;
    for (int f = 0; f < files; ++f)
    {
        paths.push_back(dir.File(name + "-" + std::to_string(f) + ".wav"));
        Format(paths.back(), separate ? 1 : channels, bits, frames);
    }
    return paths;
}

// What a file holds, as the library reads it back.
struct Contents
{
    int channels = 0;
    int bits = 0;
    i32 rate = 0;
    i64 frames = 0;
    Bytes data;
};

inline Contents ReadBack(std::string const& path)
{
    FF_AudioFile file((Sys_FileLoc(path)));
    Contents c;
    if (!file.Implements(FF_AudioFile::eImportExportInterface))
        return c;
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    FF_AudioFileAttr const attr = file.GetAudioFileAttr();
    c.channels = attr.GetNumChannels();
    c.bits = attr.GetBitsPerSample();
    c.rate = attr.GetSamplesPerSec();
    c.frames = attr.GetNumSamples();
    c.data.resize(static_cast<std::size_t>(c.frames * attr.GetBytesPerSample() * c.channels));
    file.SampleRead(c.data.data(), c.frames);
    return c;
}

// An audio file that counts its reads, and throws an I/O error at the read
// numbered failAt (from 0).
class CountingAudioFile : public FF_AudioFile
{
public:
    explicit CountingAudioFile(std::string const& path, int failAt = -1)
        : FF_AudioFile(Sys_FileLoc(path)), mFailAt(failAt)
    {
    }

    void SampleRead(void* buffer, int64 frames) override
    {
        int const n = mReads.fetch_add(1);
        mFramesRead.push_back(frames);
        if (n == mFailAt)
            throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_FF_PlugIn_IOError, Cmn_NullExceptionData());
        FF_AudioFile::SampleRead(buffer, frames);
    }

    // Read by the test once the chain has ended.
    std::vector<i64> mFramesRead;

private:
    int mFailAt;
    std::atomic<int> mReads{0};
};

inline Files Open(std::vector<std::string> const& paths)
{
    Files files;
    for (auto const& p : paths)
        files.push_back(std::make_unique<FF_AudioFile>(Sys_FileLoc(p)));
    return files;
}

// A reader over paths and a writer into outPaths, chained, with the
// writer's percentage.
struct FileChain
{
    FF_AudioProcessChain::Handle chain;
    FF_AudioProcess::Handle reader;
    Cmn_PolymorphicHandle<FF_AudioProcessWriteFiles, Sys_Task> writer;
};

inline FileChain MakeFileChain(Files in, i64 frames, Files out,
                               i32 processBlock = FF_AudioProcessReadFiles::cDefaultProcessBlockSize,
                               i32 readBlock = FF_AudioProcessReadFiles::cDefaultReadBlockSize,
                               std::vector<FF_AudioProcess::Handle> const& filters = {},
                               FF_AudioProcessWriteFiles* writer = nullptr)
{
    FileChain c;
    c.chain = FF_AudioProcessChain::Handle(new FF_AudioProcessChain());
    c.reader = FF_AudioProcess::Handle(new FF_AudioProcessReadFiles(std::move(in), 0, frames, processBlock, readBlock));
    c.writer = decltype(c.writer)(writer ? writer : new FF_AudioProcessWriteFiles(std::move(out), 0));
    c.chain->Append(c.reader);
    for (auto const& f : filters)
        c.chain->Append(f);
    c.chain->Append(c.writer);
    c.chain->SetGetPercentCompletedObject(
        new FF_AudioProcessChain::UnitsProcessed<FF_AudioProcessWriteFiles>(c.writer.Get()));
    return c;
}

} // namespace fffiles
