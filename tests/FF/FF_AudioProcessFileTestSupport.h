// WAVE files for the tests of the file reader and writer stages: streams
// written through the library and read back, and a file that counts its
// reads and fails at a chosen one.
#pragma once

#include "FF_AudioProcessTestStages.h"

#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessWriteFiles.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "support/TestSupport.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace fffiles
{
using namespace ffchain;
using Bytes = std::vector<char>;
using Files = std::vector<std::unique_ptr<FF_AudioFile>>;
using Paths = std::vector<std::string>;

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

// `count` channels from `first` on, interleaved in the stored width.
inline Bytes Interleave(Samples const& s, int bits, std::size_t first, std::size_t count)
{
    Bytes out;
    for (std::size_t i = 0; i < (s.empty() ? 0 : s[0].size()); ++i)
        for (std::size_t c = first; c < first + count; ++c)
            for (int k = 0; k < BytesOf(bits); ++k)
                out.push_back(static_cast<char>(static_cast<u32>(s[c][i]) >> (8 * k)));
    return out;
}

// New WAVE files with room for `frames` frames: one of all channels, or one
// per channel. With samples, the stream is written into them.
inline Paths MakeFiles(vfltest::TempDir const& dir, std::string const& name, int channels, int bits, i64 frames,
                       bool separate, Samples const* samples = nullptr)
{
    Paths paths;
    std::size_t const perFile = separate ? 1 : static_cast<std::size_t>(channels);
    for (std::size_t f = 0; f < static_cast<std::size_t>(channels) / perFile; ++f)
    {
        paths.push_back(dir.File(name + "-" + std::to_string(f) + ".wav"));
        FF_AudioFile file((Sys_FileLoc(paths.back())));
        file.Format(Sys_FileType(std::string("wav")), static_cast<int32>(perFile), 44100, bits, frames);
        if (!samples)
            continue;
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        Bytes data = Interleave(*samples, bits, f * perFile, perFile);
        file.SampleWrite(data.data(), frames);
    }
    return paths;
}

// What a file holds, as the library reads it back.
struct Contents
{
    int channels = 0, bits = 0;
    i64 frames = -1;
    Bytes data;
};

inline Contents ReadBack(std::string const& path)
{
    FF_AudioFile file((Sys_FileLoc(path)));
    Contents c;
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    FF_AudioFileAttr const attr = file.GetAudioFileAttr();
    c.channels = attr.GetNumChannels();
    c.bits = attr.GetBitsPerSample();
    c.frames = attr.GetNumSamples();
    c.data.resize(static_cast<std::size_t>(c.frames * attr.GetBytesPerSample() * c.channels));
    file.SampleRead(c.data.data(), c.frames);
    return c;
}

// Counts its reads and the frames of each; throws an I/O error at the read
// numbered failAt (from 0).
class CountingAudioFile : public FF_AudioFile
{
public:
    explicit CountingAudioFile(std::string const& path, int failAt = -1)
        : FF_AudioFile(Sys_FileLoc(path)), mFailAt(failAt)
    {
    }

    std::vector<i64> reads;

    void SampleRead(void* buffer, int64 frames) override
    {
        reads.push_back(frames);
        if (static_cast<int>(reads.size()) - 1 == mFailAt)
            throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_FF_PlugIn_IOError, Cmn_NullExceptionData());
        FF_AudioFile::SampleRead(buffer, frames);
    }

private:
    int mFailAt;
};

inline Files Open(Paths const& paths, int failFirstAt = -1)
{
    Files files;
    for (auto const& p : paths)
        files.push_back(std::make_unique<CountingAudioFile>(p, files.empty() ? failFirstAt : -1));
    return files;
}

// Holds every transfer of the chain's threads until let go: an abort given
// meanwhile certainly comes before the chain's end, however fast the machine.
struct HeldTransfers
{
    static inline std::atomic<bool> held{false};
    static inline std::atomic<int> waiting{0};
    static inline std::thread::id caller;

    static void Wait()
    {
        if (std::this_thread::get_id() == caller)
            return;
        ++waiting;
        while (held)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        --waiting;
    }
    // The system's call, once let go.
    template <auto Call, typename... Args> static int64 Held(Args... args)
    {
        Wait();
        return (Sys_FilePosixCalls::System().*Call)(args...);
    }

    HeldTransfers()
    {
        using Calls = Sys_FilePosixCalls;
        caller = std::this_thread::get_id();
        held = true;
        Calls::Current().pread = &Held<&Calls::pread, int, void*, uint64, int64>;
        Calls::Current().preadv = &Held<&Calls::preadv, int, Calls::Segment const*, int, int64>;
        Calls::Current().queued = &Held<&Calls::queued, int, int64, int64>;
    }
    ~HeldTransfers()
    {
        held = false;
        Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System();
    }
};

// A reader and a writer, and the writer's percentage on the chain.
struct FileChain
{
    FF_AudioProcessChain::Handle chain{new FF_AudioProcessChain()};
    FF_AudioProcess::Handle reader;
    H<FF_AudioProcessWriteFiles> writer;

    FileChain(FF_AudioProcessReadFiles* r, FF_AudioProcessWriteFiles* w) : reader(r), writer(w)
    {
        chain->Append(reader);
        chain->Append(writer);
        chain->SetGetPercentCompletedObject(new FF_AudioProcessChain::UnitsProcessed<FF_AudioProcessWriteFiles>(w));
    }

    void Start()
    {
        chain->Allocate();
        FF_ScheduleChain(chain);
    }
};

} // namespace fffiles
