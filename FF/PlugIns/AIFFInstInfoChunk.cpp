#include "FF/PlugIns/AIFFInstInfoChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/AIFF.h"

#include <cstring>

namespace
{
// Play modes of a loop.
constexpr u16 kNoLooping = 0;
constexpr u16 kForwardLooping = 1;
constexpr u16 kForwardBackwardLooping = 2;

void PutBigEndian16(u8* p, u16 v)
{
    p[0] = static_cast<u8>(v >> 8);
    p[1] = static_cast<u8>(v);
}

// The instrument's loop type as a play mode: only ping-pong has its own.
u16 PlayMode(i32 loopType)
{
    return loopType == 2 ? kForwardBackwardLooping : kForwardLooping;
}
} // namespace

AIFFInstInfoChunk::AIFFInstInfoChunk(AIFF* owner) : Chunk(owner, kChunkId_INST, kInstrument), mAiff(owner)
{
    owner->SetValidBits(PlugIn::kValidInstrument);
}

PlugInResult AIFFInstInfoChunk::Read(i64 size, i64)
{
    // A shorter body is of no known shape; a longer one keeps its tail unread.
    if (size < kSize)
        return kAudioFile_Unimplemented;
    AIFF::InstInfo body;
    PlugInResult r = ReadExact(body.data(), kSize);
    if (r != S_OK)
        return r;
    r = Skip(static_cast<i64>(size) - kSize);
    if (r != S_OK)
        return r;
    // Loops come from the markers, once they are known.
    PlugInInstrument instrument;
    instrument.rootMIDINote = body[0];
    instrument.fineTuneCents = static_cast<i8>(body[1]);
    mAiff->SetInstInfo(body);
    mAiff->StoreInstrument(instrument);
    mAiff->ResolveLoops();
    return S_OK;
}

PlugInResult AIFFInstInfoChunk::Write(i64, i64)
{
    // Note ranges, velocities and a gain of 0 dB, or what the file had:
    // the record does not carry them, and a rewrite must not reset them.
    u8 body[kSize] = {60, 0, 0, 127, 0, 127, 0, 0};
    if (AIFF::InstInfo const* old = mAiff->GetInstInfo())
        std::memcpy(body, old->data(), kSize);
    if (mAiff->HasInstrument())
    {
        PlugInInstrument const& i = mAiff->Instrument();
        body[0] = i.rootMIDINote;
        body[1] = static_cast<u8>(i.fineTuneCents);
        // Sustain loop on the first pair of loop markers, release loop on
        // the second; a loop left out plays no markers.
        auto const ids = static_cast<u16>(mAiff->LoopMarkerBase());
        std::memset(body + 8, 0, kSize - 8);
        if (i.loop1Type != 0)
        {
            PutBigEndian16(body + 8, PlayMode(i.loop1Type));
            PutBigEndian16(body + 10, ids);
            PutBigEndian16(body + 12, static_cast<u16>(ids + 1));
        }
        if (i.loop2Type != 0)
        {
            PutBigEndian16(body + 14, PlayMode(i.loop2Type));
            PutBigEndian16(body + 16, static_cast<u16>(ids + 2));
            PutBigEndian16(body + 18, static_cast<u16>(ids + 3));
        }
    }
    static_assert(kNoLooping == 0, "a loop left out keeps the zeros of the body");
    return WriteExact(body, kSize);
}
