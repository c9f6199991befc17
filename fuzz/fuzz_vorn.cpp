// Feeds arbitrary bytes to the VORN handler as a file and its resource
// fork on disk: the first two bytes (big-endian) are the length of the
// data fork, which follows; the rest is the fork, in Resource.FRK beside
// it. Opens the file as a host does, reads its facts, metadata and every
// sample, then rewrites it (identity, a region, a flush) and reads it again:
// a file that was taken must still be taken, with the same audio (checked
// with VFL_FUZZ_STRICT set).
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioInstrumentAttr.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;

fs::path sFolder;

void Write(fs::path const& path, std::uint8_t const* data, std::size_t size)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(data), static_cast<std::streamsize>(size));
}

struct Audio
{
    bool taken = false;
    std::int64_t frames = 0;
    std::vector<char> samples;
};

Audio Read(std::string const& path, std::size_t size)
{
    Audio a;
    try
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        std::ostringstream printed;
        file.PrintFile(printed);
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
            return a;
        a.taken = true;
        FF_AudioFileAttr const attr = file.GetAudioFileAttr();
        a.frames = attr.GetNumSamples();
        std::vector<FF_ImportAudioRegion> regions;
        file.GetRegions(&regions, true);
        if (file.HasInstrumentAttr())
        {
            FF_AudioInstrumentAttr instrument;
            file.GetInstrumentAttr(&instrument);
        }
        if (file.Implements(FF_AudioFile::eNativeInterface))
            for (std::int32_t spi : {1, 256, 1024})
                if (file.HasOverview(spi, 8))
                {
                    std::int32_t intervals = 0;
                    RelocatableBlock::Dispose(file.GetOverview(spi, 8, &intervals));
                }
        std::int64_t const frameBytes = static_cast<std::int64_t>(attr.GetBytesPerSample()) * attr.GetNumChannels();
        if (a.frames > 0 && a.frames * frameBytes <= static_cast<std::int64_t>(size))
        {
            FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
            a.samples.resize(static_cast<std::size_t>(a.frames * frameBytes));
            file.SampleRead(a.samples.data(), a.frames);
        }
    }
    catch (std::exception const&)
    {
        // Refusing bad input with an exception is an answer.
    }
    return a;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Sys_Init::Init();
    sFolder = fs::temp_directory_path() / ("vfl-fuzz-vorn-" + std::to_string(std::random_device{}()));
    fs::create_directories(sFolder / "Resource.FRK");
    std::atexit(
        []
        {
            std::error_code ec;
            fs::remove_all(sFolder, ec);
        });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 2)
        return 0;
    std::size_t const length = std::min<std::size_t>(size - 2, std::size_t{data[0]} << 8 | data[1]);
    fs::path const file = sFolder / "take";
    Write(file, data + 2, length);
    Write(sFolder / "Resource.FRK" / "take", data + 2 + length, size - 2 - length);

    Audio const before = Read(file.string(), length);
    if (!before.taken || before.samples.empty())
        return 0;
    bool rewritten = false;
    try
    {
        FF_AudioFile f((Sys_FileLoc(file.string())));
        if (f.Implement(FF_AudioFile::eVelmoraInterface))
        {
            f.AddRegion("fuzz", 0, before.frames, 0, 0, 0);
            rewritten = true;
        }
    }
    catch (std::exception const&)
    {
    }
    if (!rewritten)
        return 0;
    Audio const after = Read(file.string(), length);
    static bool const strict = std::getenv("VFL_FUZZ_STRICT") != nullptr;
    if (strict && (!after.taken || after.frames != before.frames || after.samples != before.samples))
        std::abort();
    return 0;
}
