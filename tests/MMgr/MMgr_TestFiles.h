// Audio files for the media manager's tests: made through the library, so
// that they carry a media identifier, or byte by byte, so that they don't.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "support/TestSupport.h"
#include "support/WaveBuilder.h"

namespace vfltest
{

// The frames of a ramp from `from` on, interleaved: in frame f, channel 0
// holds its low 16 bits, channel 1 the next 16, so that any frame read from
// the wrong place shows.
inline std::vector<std::int16_t> Ramp(std::int64_t frames, std::int64_t from = 0)
{
    std::vector<std::int16_t> samples;
    for (std::int64_t f = from; f < from + frames; ++f)
        samples.insert(samples.end(), {std::int16_t(std::uint16_t(f)), std::int16_t(std::uint16_t(f >> 16))});
    return samples;
}

// A 16-bit stereo file of the ramp, with a new media identifier or without.
inline void MakeRampFile(std::string const& path, std::int64_t frames, bool identity = true)
{
    if (!identity)
    {
        std::vector<std::uint8_t> audio;
        for (std::uint16_t const s : Ramp(frames))
            audio.insert(audio.end(), {static_cast<std::uint8_t>(s), static_cast<std::uint8_t>(s >> 8)});
        return WriteWholeFile(path, WaveBuilder().RiffHeader().Fmt(2, 44100, 16).Data(audio).FixRiffSize().Bytes());
    }
    FF_AudioFile file((Sys_FileLoc(path)));
    file.Format(Sys_FileType(std::string("wav")), 2, 44100, 16, 0);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    file.SampleWrite(Ramp(frames).data(), frames);
    file.SetNumSamples(frames);
}

} // namespace vfltest
