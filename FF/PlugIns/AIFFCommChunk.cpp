#include "FF/PlugIns/AIFFCommChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/Extended80.h"

#include <ostream>

namespace
{
u32 BigEndian(u8 const* p, int n)
{
    u32 v = 0;
    for (int i = 0; i < n; ++i)
        v = (v << 8) | p[i];
    return v;
}

void PutBigEndian(u8* p, u32 v, int n)
{
    for (int i = n - 1; i >= 0; --i, v >>= 8)
        p[i] = static_cast<u8>(v & 0xFF);
}
} // namespace

AIFFCommChunk::AIFFCommChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_COMM, kComm) {}

PlugInResult AIFFCommChunk::SetFacts(u8 const* body)
{
    auto const channels = static_cast<u16>(BigEndian(body + 0, 2));
    u32 const frames = BigEndian(body + 2, 4);
    auto const bits = static_cast<u16>(BigEndian(body + 6, 2));
    // Truncated, not rounded: 44100.9 reads as 44100.
    double const rate = x80tod(body + 8);
    // Facts that no reader could use leave the chunk unknown and the file
    // refused: no whole byte in a frame, a negative count of channels, and
    // rates that are not a positive 32-bit number (infinities, NaNs and the
    // tiny denormals among them).
    if ((static_cast<i64>(bits) * channels) / 8 == 0 || channels > 0x7FFF || !(rate >= 1.0 && rate < 2147483648.0))
        return kAudioFile_Unimplemented;
    mOwner->SetChannels(channels);
    mOwner->SetBitsPerSample(bits);
    mOwner->SetSampleRate(static_cast<i32>(rate));
    mOwner->SetNumSamplesValue(frames);
    return S_OK;
}

PlugInResult AIFFCommChunk::Read(i64 size, i64)
{
    if (size < kSize)
        return kAudioFile_Unimplemented;
    u8 body[kSize];
    PlugInResult r = ReadExact(body, kSize);
    if (r != S_OK)
        return r;
    r = Skip(static_cast<i64>(size) - kSize);
    if (r != S_OK)
        return r;
    return SetFacts(body);
}

void AIFFCommChunk::FillBody(u8* body)
{
    PutBigEndian(body + 0, mOwner->Channels(), 2);
    // Only the low 32 bits of the length fit the field.
    PutBigEndian(body + 2, static_cast<u32>(mOwner->NumSamples()), 4);
    PutBigEndian(body + 6, mOwner->BitsPerSample(), 2);
    double const rate = mOwner->SampleRate();
    dtox80(&rate, body + 8);
}

PlugInResult AIFFCommChunk::Write(i64, i64)
{
    u8 body[kSize];
    FillBody(body);
    return WriteExact(body, kSize);
}

void AIFFCommChunk::PrintFacts(std::ostream& out, u8 const* body)
{
    out << "\tnumChannels: " << BigEndian(body + 0, 2) << "\n"
        << "\tsampleRate: " << x80tod(body + 8) << "\n"
        << "\tsampleSize: " << BigEndian(body + 6, 2) << "\n"
        << "\tnumSampleFrames: " << BigEndian(body + 2, 4) << "\n";
}

PlugInResult AIFFCommChunk::Print(std::ostream& out, i64 size, i64)
{
    if (size < kSize)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    u8 body[kSize];
    PlugInResult r = ReadExact(body, kSize);
    if (r != S_OK)
        return r;
    PrintFacts(out, body);
    return Skip(static_cast<i64>(size) - kSize);
}
