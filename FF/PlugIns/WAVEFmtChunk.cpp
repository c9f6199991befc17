#include "FF/PlugIns/WAVEFmtChunk.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <cstring>
#include <ostream>

WAVEFmtChunk::WAVEFmtChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_fmt, kFmt) {}

PlugInResult WAVEFmtChunk::Read(std::uint32_t size, std::int64_t)
{
    unsigned char body[16];
    PlugInResult r = ReadExact(body, 16);
    if (r != S_OK)
        return r;
    // Anything behind the 16 bytes (cbSize and extensions) is skipped, not kept.
    r = Skip(static_cast<std::int64_t>(size) - 16);
    if (r != S_OK)
        return r;

    std::uint16_t formatTag, channels, bits;
    std::uint32_t rate;
    std::memcpy(&formatTag, body + 0, 2);
    std::memcpy(&channels, body + 2, 2);
    std::memcpy(&rate, body + 4, 4);
    std::memcpy(&bits, body + 14, 2);
    // Compressed and extensible formats stay unknown, and the file is refused.
    if (Swap16(formatTag) != kFormatPCM)
        return kAudioFile_Unimplemented;

    mOwner->SetChannels(Swap16(channels));
    mOwner->SetBitsPerSample(Swap16(bits));
    mOwner->SetSampleRate(static_cast<std::int32_t>(Swap32(rate)));
    return S_OK;
}

PlugInResult WAVEFmtChunk::Write(std::uint32_t, std::int64_t)
{
    std::uint16_t const channels = mOwner->Channels();
    std::uint16_t const bits = mOwner->BitsPerSample();
    auto const rate = static_cast<std::uint32_t>(mOwner->SampleRate());
    auto const blockAlign = static_cast<std::uint16_t>((bits * channels) / 8);
    unsigned char body[16];
    auto put16 = [&](int at, std::uint16_t v)
    {
        v = Swap16(v);
        std::memcpy(body + at, &v, 2);
    };
    auto put32 = [&](int at, std::uint32_t v)
    {
        v = Swap32(v);
        std::memcpy(body + at, &v, 4);
    };
    put16(0, kFormatPCM);
    put16(2, channels);
    put32(4, rate);
    put32(8, blockAlign * rate);
    put16(12, blockAlign);
    put16(14, bits);
    return WriteExact(body, 16);
}

PlugInResult WAVEFmtChunk::Print(std::ostream& out, std::uint32_t size, std::int64_t)
{
    if (size < 16)
        return Skip(size);
    unsigned char body[16];
    PlugInResult r = ReadExact(body, 16);
    if (r != S_OK)
        return r;
    std::uint16_t formatTag, channels, blockAlign, bits;
    std::uint32_t rate, bytesPerSec;
    std::memcpy(&formatTag, body + 0, 2);
    std::memcpy(&channels, body + 2, 2);
    std::memcpy(&rate, body + 4, 4);
    std::memcpy(&bytesPerSec, body + 8, 4);
    std::memcpy(&blockAlign, body + 12, 2);
    std::memcpy(&bits, body + 14, 2);
    out << "\tformatTag: " << Swap16(formatTag) << "\n"
        << "\tchannels: " << Swap16(channels) << "\n"
        << "\tsamplesPerSec: " << Swap32(rate) << "\n"
        << "\tavgBytesPerSec: " << Swap32(bytesPerSec) << "\n"
        << "\tblockAlign: " << Swap16(blockAlign) << "\n";
    if (Swap16(formatTag) == kFormatPCM)
        out << "\tbitsPerSample: " << Swap16(bits) << "\n";
    else
        out << "\t** Unknown Format **\n";
    return Skip(static_cast<std::int64_t>(size) - 16);
}
