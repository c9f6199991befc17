// Builds chunked files byte by byte, so that tests can make exactly the
// damage they want.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class WaveBuilder
{
public:
    explicit WaveBuilder(bool bigEndian = false) : mBigEndian(bigEndian) {}

    WaveBuilder& Raw(std::vector<std::uint8_t> const& bytes) { return Append(bytes.data(), bytes.size()); }
    WaveBuilder& Id(char const (&id)[5]) { return Append(id, 4); }
    WaveBuilder& U16(std::uint16_t v) { return Number(v, 2); }
    WaveBuilder& U32(std::uint32_t v) { return Number(v, 4); }
    // A chunk with a given header size and body (the size need not match).
    WaveBuilder& Chunk(char const (&id)[5], std::uint32_t size, std::vector<std::uint8_t> const& body)
    {
        Id(id).U32(size);
        return Raw(body);
    }
    WaveBuilder& Chunk(char const (&id)[5], std::vector<std::uint8_t> const& body)
    {
        return Chunk(id, static_cast<std::uint32_t>(body.size()), body);
    }
    // 'RIFF' with a placeholder size, then "WAVE".
    WaveBuilder& RiffHeader(std::uint32_t size = 0)
    {
        Id("RIFF").U32(size);
        return Id("WAVE");
    }
    // A PCM 'fmt ' chunk of 16 bytes (or more with `extra` bytes behind).
    WaveBuilder& Fmt(std::uint16_t channels, std::uint32_t rate, std::uint16_t bits, std::uint16_t tag = 1,
                     std::uint32_t extra = 0)
    {
        Id("fmt ").U32(16 + extra).U16(tag).U16(channels).U32(rate);
        std::uint16_t const align = static_cast<std::uint16_t>(bits * channels / 8);
        U32(rate * align).U16(align).U16(bits);
        mBytes.resize(mBytes.size() + extra, 0);
        return *this;
    }
    // WAVE_FORMAT_EXTENSIBLE: valid bits, speaker mask and a sub-format
    // GUID whose first two bytes are `subTag` (1 for integer PCM).
    WaveBuilder& Extensible(std::uint16_t channels, std::uint32_t rate, std::uint16_t bits, std::uint16_t validBits,
                            std::uint32_t mask, std::uint16_t subTag = 1)
    {
        std::uint16_t const align = static_cast<std::uint16_t>((bits + 7) / 8 * channels);
        Id("fmt ").U32(40).U16(0xFFFE).U16(channels).U32(rate).U32(rate * align).U16(align).U16(bits);
        U16(22).U16(validBits).U32(mask).U16(subTag);
        return Raw({0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
    }
    WaveBuilder& Data(std::vector<std::uint8_t> const& audio, bool pad = true)
    {
        Chunk("data", audio);
        if (pad && (audio.size() & 1))
            mBytes.push_back(0);
        return *this;
    }
    // Patches the RIFF size to the file length minus 8.
    WaveBuilder& FixRiffSize()
    {
        std::uint32_t size = static_cast<std::uint32_t>(mBytes.size() - 8);
        Put(4, size, 4);
        return *this;
    }
    std::vector<std::uint8_t> const& Bytes() const { return mBytes; }

private:
    // resize and copy rather than insert: GCC 12 misreads insert from an
    // empty vector as an overflow at -O2.
    WaveBuilder& Append(void const* data, std::size_t n)
    {
        std::size_t const at = mBytes.size();
        mBytes.resize(at + n);
        if (n)
            std::memcpy(mBytes.data() + at, data, n);
        return *this;
    }
    WaveBuilder& Number(std::uint64_t v, int n)
    {
        std::size_t at = mBytes.size();
        mBytes.resize(at + n);
        Put(at, v, n);
        return *this;
    }
    void Put(std::size_t at, std::uint64_t v, int n)
    {
        for (int i = 0; i < n; ++i)
            mBytes[at + (mBigEndian ? n - 1 - i : i)] = static_cast<std::uint8_t>(v >> (8 * i));
    }

    bool mBigEndian;
    std::vector<std::uint8_t> mBytes;
};
