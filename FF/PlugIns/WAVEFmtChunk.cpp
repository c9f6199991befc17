#include "FF/PlugIns/WAVEFmtChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <cstring>
#include <ostream>
#include <string>

WAVEFmtChunk::WAVEFmtChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_fmt, kFmt) {}

PlugInResult WAVEFmtChunk::Read(i64 size, i64)
{
    if (size < 16)
        return kAudioFile_Unimplemented;
    // The extensible form carries 24 more bytes: valid bits, the speaker
    // mask and the sub-format, whose first two bytes are a format tag.
    unsigned char body[40] = {};
    i64 const bytes = size < 40 ? size : 40;
    PlugInResult r = ReadExact(body, bytes);
    if (r != S_OK)
        return r;

    u16 formatTag, channels, bits, validBits = 0;
    u32 rate, mask = 0;
    std::memcpy(&formatTag, body + 0, 2);
    std::memcpy(&channels, body + 2, 2);
    std::memcpy(&rate, body + 4, 4);
    std::memcpy(&bits, body + 14, 2);
    formatTag = Swap16(formatTag);
    bits = Swap16(bits);
    if (formatTag == kFormatExtensible)
    {
        // Sub-format GUID xxxxxxxx-0000-0010-8000-00aa00389b71, tag in front.
        static unsigned char const kGuidTail[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                    0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
        if (bytes < 40 || std::memcmp(body + 26, kGuidTail, 14) != 0)
        {
            mOwner->SetRefusalReason("WAVE extensible format with an unknown sub-format");
            return kAudioFile_Unimplemented;
        }
        std::memcpy(&validBits, body + 18, 2);
        std::memcpy(&mask, body + 20, 4);
        std::memcpy(&formatTag, body + 24, 2);
        validBits = Swap16(validBits);
        mask = Swap32(mask);
    }
    if (formatTag != kFormatPCM)
    {
        std::string reason = "WAVE format tag " + std::to_string(formatTag);
        if (formatTag == 3)
            reason += " (" + std::to_string(bits) + "-bit float)";
        mOwner->SetRefusalReason(reason + " is not supported");
        return kAudioFile_Unimplemented;
    }
    // Counts past the signed numbers a file's attributes hold (channels of
    // 16 bits, a rate of 32) are no real file's.
    if (bits < 8 || Swap16(channels) == 0 || Swap16(channels) > 0x7FFF || Swap32(rate) > 0x7FFFFFFFu)
    {
        mOwner->SetRefusalReason("WAVE PCM of " + std::to_string(bits) + " bits in " +
                                 std::to_string(Swap16(channels)) + " channels at " + std::to_string(Swap32(rate)) +
                                 " Hz");
        return kAudioFile_Unimplemented;
    }
    // Fewer valid bits than the container holds count as the word length
    // where the samples still take the container's bytes; otherwise the
    // container is the word length, its low bits zero.
    if (validBits != 0 && validBits < bits && (validBits + 7) / 8 == (bits + 7) / 8)
        bits = validBits;
    mOwner->SetChannels(Swap16(channels));
    mOwner->SetBitsPerSample(bits);
    mOwner->SetSampleRate(static_cast<i32>(Swap32(rate)));
    mOwner->SetChannelMask(mask);
    return S_OK;
}

PlugInResult WAVEFmtChunk::Write(i64, i64)
{
    u16 const channels = mOwner->Channels();
    u16 const bits = mOwner->BitsPerSample();
    auto const rate = static_cast<u32>(mOwner->SampleRate());
    auto const blockAlign = static_cast<u16>(((bits + 7) / 8) * channels);
    unsigned char body[16];
    auto put16 = [&](int at, u16 v)
    {
        v = Swap16(v);
        std::memcpy(body + at, &v, 2);
    };
    auto put32 = [&](int at, u32 v)
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

PlugInResult WAVEFmtChunk::Print(std::ostream& out, i64 size, i64)
{
    if (size < 16)
        return Skip(size);
    unsigned char body[16];
    PlugInResult r = ReadExact(body, 16);
    if (r != S_OK)
        return r;
    u16 formatTag, channels, blockAlign, bits;
    u32 rate, bytesPerSec;
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
    return Skip(static_cast<i64>(size) - 16);
}
