// Audio files for the media manager's tests: made through the library, so
// that they carry a media identifier, or byte by byte, so that they don't.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "support/TestSupport.h"
#include "support/WaveBuilder.h"

namespace vfltest
{

// Frame f of a ramp: channel 0 holds its low 16 bits, channel 1 the next 16,
// so that any frame read from the wrong place shows.
inline std::int16_t RampSample(std::int64_t frame, int channel)
{
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(frame >> (16 * channel)));
}

// A 16-bit stereo file of the ramp, with a new media identifier.
inline void MakeRampFile(std::string const& path, std::int64_t frames, char const* type = "wav")
{
    FF_AudioFile file((Sys_FileLoc(path)));
    file.Format(Sys_FileType(std::string(type)), 2, 44100, 16, 0);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    constexpr std::int64_t kBlock = 65536;
    std::vector<std::int16_t> samples(2 * kBlock);
    for (std::int64_t at = 0; at < frames; at += kBlock)
    {
        std::int64_t const n = std::min(kBlock, frames - at);
        for (std::int64_t i = 0; i < n; ++i)
        {
            samples[2 * i] = RampSample(at + i, 0);
            samples[2 * i + 1] = RampSample(at + i, 1);
        }
        file.SampleWrite(samples.data(), n);
    }
    file.SetNumSamples(frames);
}

// A 16-bit stereo WAVE file of the ramp as another program writes it: no
// media identifier.
inline void MakeForeignRampFile(std::string const& path, std::int64_t frames)
{
    std::vector<std::uint8_t> audio;
    for (std::int64_t f = 0; f < frames; ++f)
        for (int c = 0; c < 2; ++c)
        {
            auto const s = static_cast<std::uint16_t>(RampSample(f, c));
            audio.push_back(static_cast<std::uint8_t>(s));
            audio.push_back(static_cast<std::uint8_t>(s >> 8));
        }
    WriteWholeFile(path, WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Data(audio).FixRiffSize().Bytes());
}

} // namespace vfltest
