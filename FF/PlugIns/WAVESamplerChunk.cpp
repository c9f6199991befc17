#include "FF/PlugIns/WAVESamplerChunk.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <cstring>

namespace
{
constexpr std::int64_t kHeaderSize = 36;
constexpr std::int64_t kLoopSize = 24;

struct SamplerHeader
{
    std::uint32_t manufacturer, product, samplePeriod, unityNote, pitchFraction, smpteFormat, smpteOffset, numLoops,
        samplerData;
};
struct SampleLoop
{
    std::uint32_t cuePointId, type, start, end, fraction, playCount;
};
static_assert(sizeof(SamplerHeader) == kHeaderSize && sizeof(SampleLoop) == kLoopSize);

// RIFF loop type to the record's: forward, ping-pong, backward.
std::int32_t LoopTypeFromFile(std::uint32_t type)
{
    switch (type)
    {
    case 0: return 1;
    case 1: return 2;
    case 2: return 3;
    default: return 1;
    }
}
} // namespace

WAVESamplerChunk::WAVESamplerChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_smpl, kInstrument)
{
    owner->SetValidBits(PlugIn::kValidInstrument);
}

std::int32_t WAVESamplerChunk::LoopsToWrite() const
{
    if (!mOwner->HasInstrument())
        return 0;
    PlugInInstrument const& i = mOwner->Instrument();
    return (i.loop1Type != 0 ? 1 : 0) + (i.loop2Type != 0 ? 1 : 0);
}

std::int64_t WAVESamplerChunk::GetSize(std::int32_t)
{
    return kHeaderSize + kLoopSize * LoopsToWrite();
}

PlugInResult WAVESamplerChunk::Read(std::int64_t size, std::int64_t)
{
    if (size < kHeaderSize)
        return kAudioFile_Unimplemented;
    SamplerHeader h;
    PlugInResult r = ReadExact(&h, kHeaderSize);
    if (r != S_OK)
        return r;
    // The loop count comes from the size, not from the field; only the first
    // two loops are used, so only they are read.
    std::int64_t const loops = (static_cast<std::int64_t>(size) - kHeaderSize) / kLoopSize;
    SampleLoop loop[2] = {};
    std::int64_t const used = loops < 2 ? loops : 2;
    for (std::int64_t i = 0; i < used; ++i)
    {
        r = ReadExact(&loop[i], kLoopSize);
        if (r != S_OK)
            return r;
    }
    r = Skip(static_cast<std::int64_t>(size) - kHeaderSize - used * kLoopSize);
    if (r != S_OK)
        return r;

    PlugInInstrument instrument;
    std::uint32_t const samplerData = Swap32(h.samplerData);
    if (Swap32(h.manufacturer) == kManufacturer && Swap32(h.product) == kProduct)
    {
        instrument.rootMIDINote = static_cast<std::uint8_t>(samplerData & 0xFF);
        // The private form gives the fine tune back only as 0 or 1.
        instrument.fineTuneCents = (samplerData & ~0xFFu) ? 1 : 0;
    }
    else
    {
        instrument.fineTuneCents =
            static_cast<std::int8_t>((static_cast<std::uint64_t>(Swap32(h.pitchFraction)) * 100) >> 32);
        instrument.rootMIDINote = static_cast<std::uint8_t>(Swap32(h.unityNote) & 0xFF);
    }
    if (used >= 1)
    {
        instrument.loop1Type = LoopTypeFromFile(Swap32(loop[0].type));
        instrument.loop1Start = Swap32(loop[0].start);
        instrument.loop1Stop = Swap32(loop[0].end);
    }
    if (used >= 2)
    {
        instrument.loop2Type = LoopTypeFromFile(Swap32(loop[1].type));
        instrument.loop2Start = Swap32(loop[1].start);
        instrument.loop2Stop = Swap32(loop[1].end);
    }
    return mOwner->SetInstrumentAttr(&instrument);
}

PlugInResult WAVESamplerChunk::Write(std::int64_t, std::int64_t)
{
    std::int32_t const loops = LoopsToWrite();
    SamplerHeader h = {};
    h.manufacturer = kManufacturer;
    h.product = kProduct;
    h.numLoops = static_cast<std::uint32_t>(loops);
    SampleLoop out[2] = {};
    if (!mOwner->HasInstrument())
    {
        // Middle C as the unity note: a sampler maps the file where a player expects it.
        h.samplerData = 60;
        h.unityNote = 60;
    }
    else
    {
        PlugInInstrument const i = mOwner->Instrument();
        std::int32_t fine = i.fineTuneCents;
        h.samplerData = static_cast<std::uint32_t>(i.rootMIDINote) | (static_cast<std::uint32_t>(fine) << 8);
        h.unityNote = i.rootMIDINote;
        if (fine < 0)
        {
            // Kept as written in files of this system: 100 - fine, not 100 + fine.
            h.unityNote -= 1;
            fine = 100 - fine;
        }
        h.pitchFraction = static_cast<std::uint32_t>((static_cast<std::int64_t>(fine) * 0xFFFFFFFFll) / 100);
        int n = 0;
        auto put = [&](std::uint32_t id, std::int32_t type, std::int64_t start, std::int64_t stop)
        {
            if (type == 0)
                return;
            out[n].cuePointId = id;
            out[n].type = type == 1 ? 0 : type == 2 ? 1 : 2;
            out[n].start = static_cast<std::uint32_t>(start);
            out[n].end = static_cast<std::uint32_t>(stop);
            ++n;
        };
        put(1, i.loop1Type, i.loop1Start, i.loop1Stop);
        put(2, i.loop2Type, i.loop2Start, i.loop2Stop);
    }
    for (std::uint32_t* f : {&h.manufacturer, &h.product, &h.samplePeriod, &h.unityNote, &h.pitchFraction,
                             &h.smpteFormat, &h.smpteOffset, &h.numLoops, &h.samplerData})
        *f = Swap32(*f);
    PlugInResult r = WriteExact(&h, kHeaderSize);
    for (std::int32_t i = 0; r == S_OK && i < loops; ++i)
    {
        for (std::uint32_t* f :
             {&out[i].cuePointId, &out[i].type, &out[i].start, &out[i].end, &out[i].fraction, &out[i].playCount})
            *f = Swap32(*f);
        r = WriteExact(&out[i], kLoopSize);
    }
    return r;
}

PlugInResult WAVESamplerChunk::Print(std::ostream&, std::int64_t size, std::int64_t)
{
    // Decoded as on reading, and nothing printed.
    return Skip(size);
}
