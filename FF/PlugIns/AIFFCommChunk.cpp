#include "FF/PlugIns/AIFFCommChunk.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/Extended80.h"

#include <ostream>

namespace
{
std::uint32_t BigEndian(std::uint8_t const* p, int n)
{
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i)
        v = (v << 8) | p[i];
    return v;
}

void PutBigEndian(std::uint8_t* p, std::uint32_t v, int n)
{
    for (int i = n - 1; i >= 0; --i, v >>= 8)
        p[i] = static_cast<std::uint8_t>(v & 0xFF);
}
} // namespace

AIFFCommChunk::AIFFCommChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_COMM, kComm) {}

PlugInResult AIFFCommChunk::SetFacts(std::uint8_t const* body)
{
    auto const channels = static_cast<std::uint16_t>(BigEndian(body + 0, 2));
    std::uint32_t const frames = BigEndian(body + 2, 4);
    auto const bits = static_cast<std::uint16_t>(BigEndian(body + 6, 2));
    // Truncated, not rounded: 44100.9 reads as 44100.
    double const rate = x80tod(body + 8);
    // Facts that no reader could use leave the chunk unknown and the file
    // refused: no whole byte in a frame, and rates that are not a positive
    // 32-bit number (infinities, NaNs and the tiny denormals among them).
    if ((static_cast<std::int64_t>(bits) * channels) / 8 == 0 || !(rate >= 1.0 && rate < 2147483648.0))
        return kAudioFile_Unimplemented;
    mOwner->SetChannels(channels);
    mOwner->SetBitsPerSample(bits);
    mOwner->SetSampleRate(static_cast<std::int32_t>(rate));
    mOwner->SetNumSamplesValue(frames);
    return S_OK;
}

PlugInResult AIFFCommChunk::Read(std::int64_t size, std::int64_t)
{
    if (size < kSize)
        return kAudioFile_Unimplemented;
    std::uint8_t body[kSize];
    PlugInResult r = ReadExact(body, kSize);
    if (r != S_OK)
        return r;
    r = Skip(static_cast<std::int64_t>(size) - kSize);
    if (r != S_OK)
        return r;
    return SetFacts(body);
}

void AIFFCommChunk::FillBody(std::uint8_t* body)
{
    PutBigEndian(body + 0, mOwner->Channels(), 2);
    // Only the low 32 bits of the length fit the field.
    PutBigEndian(body + 2, static_cast<std::uint32_t>(mOwner->NumSamples()), 4);
    PutBigEndian(body + 6, mOwner->BitsPerSample(), 2);
    double const rate = mOwner->SampleRate();
    dtox80(&rate, body + 8);
}

PlugInResult AIFFCommChunk::Write(std::int64_t, std::int64_t)
{
    std::uint8_t body[kSize];
    FillBody(body);
    return WriteExact(body, kSize);
}

void AIFFCommChunk::PrintFacts(std::ostream& out, std::uint8_t const* body)
{
    out << "\tnumChannels: " << BigEndian(body + 0, 2) << "\n"
        << "\tsampleRate: " << x80tod(body + 8) << "\n"
        << "\tsampleSize: " << BigEndian(body + 6, 2) << "\n"
        << "\tnumSampleFrames: " << BigEndian(body + 2, 4) << "\n";
}

PlugInResult AIFFCommChunk::Print(std::ostream& out, std::int64_t size, std::int64_t)
{
    if (size < kSize)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    std::uint8_t body[kSize];
    PlugInResult r = ReadExact(body, kSize);
    if (r != S_OK)
        return r;
    PrintFacts(out, body);
    return Skip(static_cast<std::int64_t>(size) - kSize);
}
