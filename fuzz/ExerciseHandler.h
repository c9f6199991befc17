// What every handler target does with arbitrary bytes in a file in memory:
// parse and print, ask for the facts, regions, overviews, identity and the
// instrument, read every sample,
// then rewrite the file as a host would (identity, a region, a flush) and
// read the result back. A file the handler took must still be taken after
// the rewrite, with the same frames and the same bytes of audio (checked
// with VFL_FUZZ_STRICT set).
#pragma once

#include "FF/PlugIns/PlugIn.h"
#include "FF/PlugIns/PlugInInstrument.h"
#include "FF/PlugIns/PlugInRegion.h"
#include "support/MemoryIFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace fuzz
{
template <class I> I* Query(IAudioFile* audio, PlugInGuid const& iid)
{
    void* p = nullptr;
    if (audio->QueryInterface(iid, &p) != S_OK)
        return nullptr;
    static_cast<IUnknown*>(p)->Release(); // the handler outlives the pointer's use
    return static_cast<I*>(p);
}

struct Audio
{
    bool taken = false;
    std::int64_t frames = 0;
    std::vector<char> samples;
};

// Opens the bytes and reads the facts and the samples. Reads only what
// could be there: a frame count that a header gives is not bounded.
inline Audio Read(IAudioFile* audio, MemoryIFile& file, std::size_t size)
{
    Audio a;
    std::ostringstream printed;
    if (audio->SetFile(&file) != S_OK)
        return a;
    audio->PrintFile(printed);
    if (audio->Open() != S_OK)
        return a;
    if (auto* orvanel = Query<IOrvanelAudioFile>(audio, IID_IOrvanelAudioFile))
    {
        PlugInInstrument instrument;
        orvanel->GetInstrumentAttr(&instrument);
    }
    if (auto* native = Query<INativeAudioFile>(audio, IID_INativeAudioFile))
        for (std::int32_t bits : {8, 16})
            native->HasOverview(256, bits);
    if (auto* velmora = Query<IVelmoraAudioFile>(audio, IID_IVelmoraAudioFile))
    {
        std::uint8_t umid[16];
        std::uint64_t date = 0;
        velmora->GetUmid(umid);
        velmora->GetUTCModDate(&date);
    }
    auto* ie = Query<IImportExportAudioFile>(audio, IID_IImportExportAudioFile);
    if (!ie)
        return a;
    a.taken = true;
    std::uint32_t regions = 0;
    ie->GetNumRegions(&regions);
    for (std::uint32_t i = 0; i < regions; ++i)
    {
        PlugInRegion region;
        ie->GetRegion(i, &region);
    }
    std::uint16_t channels = 0, bits = 0;
    ie->GetNumChannels(&channels);
    ie->GetBitsPerSample(&bits);
    ie->GetNumSamples(&a.frames);
    std::int64_t const frameBytes = static_cast<std::int64_t>((bits + 7) / 8) * channels;
    if (a.frames > 0 && frameBytes > 0 && a.frames * frameBytes <= static_cast<std::int64_t>(size))
    {
        a.samples.resize(static_cast<std::size_t>(a.frames * frameBytes));
        ie->SampleRead(a.samples.data(), a.frames);
        std::vector<char> last(static_cast<std::size_t>(frameBytes));
        ie->SampleSetPosition(2, 1);
        ie->SampleRead(last.data(), 1);
    }
    return a;
}

inline void Exercise(PlugInResult (*create)(void**), std::uint8_t const* data, std::size_t size)
{
    MemoryIFile file(std::vector<std::uint8_t>(data, data + size));
    void* object = nullptr;
    create(&object);
    auto* audio = static_cast<IAudioFile*>(object);
    Audio const before = Read(audio, file, size);
    // A rewrite, only where the audio was read: its size stays near the input's.
    bool rewritten = false;
    if (before.taken && !before.samples.empty())
    {
        auto* ie = Query<IImportExportAudioFile>(audio, IID_IImportExportAudioFile);
        if (ie->Implement(&IID_IVelmoraAudioFile) == S_OK)
        {
            if (auto* native = Query<INativeAudioFile>(audio, IID_INativeAudioFile))
            {
                PlugInRegion region = {};
                region.stopSample = before.frames;
                native->AddRegion(&region);
            }
            rewritten = audio->Flush() == S_OK;
        }
    }
    audio->Release();
    if (!rewritten)
        return;

    MemoryIFile again(file.Bytes());
    create(&object);
    audio = static_cast<IAudioFile*>(object);
    Audio const after = Read(audio, again, again.Bytes().size());
    audio->Release();
    // The check of the rewrite's result runs where VFL_FUZZ_STRICT is set:
    // malformed files (no form header, facts stated twice, chunks inside
    // chunks) still fail it, and the short runs of every build look for
    // crashes and memory errors on this path first.
    static bool const strict = std::getenv("VFL_FUZZ_STRICT") != nullptr;
    if (strict && (!after.taken || after.frames != before.frames || after.samples != before.samples))
        std::abort();
}
} // namespace fuzz
