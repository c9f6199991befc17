#include "FF/PlugIns/WAVESamplerChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <cstring>

namespace
{
constexpr i64 kHeaderSize = 36;
constexpr i64 kLoopSize = 24;

struct SamplerHeader
{
    u32 manufacturer, product, samplePeriod, unityNote, pitchFraction, smpteFormat, smpteOffset, numLoops, samplerData;
};
struct SampleLoop
{
    u32 cuePointId, type, start, end, fraction, playCount;
};
static_assert(sizeof(SamplerHeader) == kHeaderSize && sizeof(SampleLoop) == kLoopSize);

// RIFF loop type to the record's: forward, ping-pong, backward.
i32 LoopTypeFromFile(u32 type)
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

i32 WAVESamplerChunk::LoopsToWrite() const
{
    if (!mOwner->HasInstrument())
        return 0;
    PlugInInstrument const& i = mOwner->Instrument();
    return (i.loop1Type != 0 ? 1 : 0) + (i.loop2Type != 0 ? 1 : 0);
}

i64 WAVESamplerChunk::GetSize(i32)
{
    return kHeaderSize + kLoopSize * LoopsToWrite();
}

PlugInResult WAVESamplerChunk::Read(i64 size, i64)
{
    if (size < kHeaderSize)
        return kAudioFile_Unimplemented;
    SamplerHeader h;
    PlugInResult r = ReadExact(&h, kHeaderSize);
    if (r != S_OK)
        return r;
    // The loop count comes from the size, not from the field; only the first
    // two loops are used, so only they are read.
    i64 const loops = (static_cast<i64>(size) - kHeaderSize) / kLoopSize;
    SampleLoop loop[2] = {};
    i64 const used = loops < 2 ? loops : 2;
    for (i64 i = 0; i < used; ++i)
    {
        r = ReadExact(&loop[i], kLoopSize);
        if (r != S_OK)
            return r;
    }
    r = Skip(static_cast<i64>(size) - kHeaderSize - used * kLoopSize);
    if (r != S_OK)
        return r;

    PlugInInstrument instrument;
    u32 const samplerData = Swap32(h.samplerData);
    if (Swap32(h.manufacturer) == kManufacturer && Swap32(h.product) == kProduct)
    {
        instrument.rootMIDINote = static_cast<u8>(samplerData & 0xFF);
        // The private form gives the fine tune back only as 0 or 1.
        instrument.fineTuneCents = (samplerData & ~0xFFu) ? 1 : 0;
    }
    else
    {
        instrument.fineTuneCents = static_cast<i8>((static_cast<u64>(Swap32(h.pitchFraction)) * 100) >> 32);
        instrument.rootMIDINote = static_cast<u8>(Swap32(h.unityNote) & 0xFF);
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

PlugInResult WAVESamplerChunk::Write(i64, i64)
{
    i32 const loops = LoopsToWrite();
    SamplerHeader h = {};
    h.manufacturer = kManufacturer;
    h.product = kProduct;
    h.numLoops = static_cast<u32>(loops);
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
        i32 fine = i.fineTuneCents;
        h.samplerData = static_cast<u32>(i.rootMIDINote) | (static_cast<u32>(fine) << 8);
        h.unityNote = i.rootMIDINote;
        if (fine < 0)
        {
            // Kept as written in files of this system: 100 - fine, not 100 + fine.
            h.unityNote -= 1;
            fine = 100 - fine;
        }
        h.pitchFraction = static_cast<u32>((static_cast<i64>(fine) * 0xFFFFFFFFll) / 100);
        int n = 0;
        auto put = [&](u32 id, i32 type, i64 start, i64 stop)
        {
            if (type == 0)
                return;
            out[n].cuePointId = id;
            out[n].type = type == 1 ? 0 : type == 2 ? 1 : 2;
            out[n].start = static_cast<u32>(start);
            out[n].end = static_cast<u32>(stop);
            ++n;
        };
        put(1, i.loop1Type, i.loop1Start, i.loop1Stop);
        put(2, i.loop2Type, i.loop2Start, i.loop2Stop);
    }
    for (u32* f : {&h.manufacturer, &h.product, &h.samplePeriod, &h.unityNote, &h.pitchFraction, &h.smpteFormat,
                   &h.smpteOffset, &h.numLoops, &h.samplerData})
        *f = Swap32(*f);
    PlugInResult r = WriteExact(&h, kHeaderSize);
    for (i32 i = 0; r == S_OK && i < loops; ++i)
    {
        for (u32* f :
             {&out[i].cuePointId, &out[i].type, &out[i].start, &out[i].end, &out[i].fraction, &out[i].playCount})
            *f = Swap32(*f);
        r = WriteExact(&out[i], kLoopSize);
    }
    return r;
}

PlugInResult WAVESamplerChunk::Print(std::ostream&, i64 size, i64)
{
    // Decoded as on reading, and nothing printed.
    return Skip(size);
}
