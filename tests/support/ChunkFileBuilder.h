// Builds chunked files byte by byte, RIFF little-endian or FORM big-endian,
// so that tests can make exactly the damage they want. Chunk bodies of odd
// size get their pad byte unless a test gives the size itself.
#pragma once

#include "FF/PlugIns/Extended80.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

class ChunkFileBuilder
{
public:
    using Vec = std::vector<std::uint8_t>;

    explicit ChunkFileBuilder(bool bigEndian = false) : mBigEndian(bigEndian) {}

    ChunkFileBuilder& Raw(Vec const& bytes) { return Append(bytes.data(), bytes.size()); }
    ChunkFileBuilder& Id(char const (&id)[5]) { return Append(id, 4); }
    ChunkFileBuilder& U16(std::uint16_t v) { return Number(v, 2); }
    ChunkFileBuilder& U32(std::uint32_t v) { return Number(v, 4); }
    ChunkFileBuilder& U64(std::uint64_t v) { return Number(v, 8); }
    // A chunk with a given header size and body (the size need not match); no pad.
    ChunkFileBuilder& Chunk(char const (&id)[5], std::uint32_t size, Vec const& body)
    {
        Id(id).U32(size);
        return Raw(body);
    }
    ChunkFileBuilder& Chunk(char const (&id)[5], Vec const& body)
    {
        Chunk(id, static_cast<std::uint32_t>(body.size()), body);
        return Pad(body.size());
    }

    // ---- RIFF WAVE
    // 'RIFF' with a placeholder size, then "WAVE".
    ChunkFileBuilder& RiffHeader(std::uint32_t size = 0)
    {
        Id("RIFF").U32(size);
        return Id("WAVE");
    }
    // A PCM 'fmt ' chunk of 16 bytes (or more with `extra` bytes behind).
    ChunkFileBuilder& Fmt(std::uint16_t channels, std::uint32_t rate, std::uint16_t bits, std::uint16_t tag = 1,
                          std::uint32_t extra = 0)
    {
        Id("fmt ").U32(16 + extra).U16(tag).U16(channels).U32(rate);
        std::uint16_t const align = static_cast<std::uint16_t>(bits * channels / 8);
        U32(rate * align).U16(align).U16(bits);
        return Raw(Vec(extra, 0));
    }
    // WAVE_FORMAT_EXTENSIBLE: valid bits, speaker mask and a sub-format
    // GUID whose first two bytes are `subTag` (1 for integer PCM).
    ChunkFileBuilder& Extensible(std::uint16_t channels, std::uint32_t rate, std::uint16_t bits,
                                 std::uint16_t validBits, std::uint32_t mask, std::uint16_t subTag = 1)
    {
        std::uint16_t const align = static_cast<std::uint16_t>((bits + 7) / 8 * channels);
        Id("fmt ").U32(40).U16(0xFFFE).U16(channels).U32(rate).U32(rate * align).U16(align).U16(bits);
        U16(22).U16(validBits).U32(mask).U16(subTag);
        return Raw({0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
    }
    ChunkFileBuilder& Data(Vec const& audio, bool pad = true)
    {
        return pad ? Chunk("data", audio) : Chunk("data", static_cast<std::uint32_t>(audio.size()), audio);
    }

    // ---- AIFF and AIFF-C (build them with bigEndian = true)
    // 'FORM' with a placeholder size and the form type.
    ChunkFileBuilder& Form(char const (&type)[5] = "AIFF", std::uint32_t size = 0)
    {
        Id("FORM").U32(size);
        return Id(type);
    }
    using X80 = std::array<std::uint8_t, 10>;
    static X80 Rate(double rate)
    {
        X80 b;
        dtox80(&rate, b.data());
        return b;
    }
    ChunkFileBuilder& Comm(std::uint16_t channels, std::uint32_t frames, std::uint16_t bits, X80 const& rate,
                           std::uint32_t extra = 0)
    {
        Id("COMM").U32(18 + extra).U16(channels).U32(frames).U16(bits);
        Raw(Vec(rate.begin(), rate.end())).Raw(Vec(extra, 0));
        return Pad(extra);
    }
    ChunkFileBuilder& Comm(std::uint16_t channels, std::uint32_t frames, std::uint16_t bits, double rate)
    {
        return Comm(channels, frames, bits, Rate(rate));
    }
    // An AIFF-C 'COMM' with a compression type and a Pascal-string name.
    ChunkFileBuilder& CommC(std::uint16_t channels, std::uint32_t frames, std::uint16_t bits, double rate,
                            char const (&type)[5] = "NONE", std::string const& name = "not compressed")
    {
        Vec pstring(1 + name.size(), static_cast<std::uint8_t>(name.size()));
        std::copy(name.begin(), name.end(), pstring.begin() + 1);
        if (pstring.size() & 1) // a Pascal string keeps its length even
            pstring.push_back(0);
        X80 const r = Rate(rate);
        Id("COMM").U32(static_cast<std::uint32_t>(22 + pstring.size())).U16(channels).U32(frames).U16(bits);
        return Raw(Vec(r.begin(), r.end())).Id(type).Raw(pstring);
    }
    // 'SSND' with `offset` filler bytes in front of the audio.
    ChunkFileBuilder& Ssnd(Vec const& audio, std::uint32_t offset = 0, std::uint32_t blockSize = 0)
    {
        Id("SSND").U32(static_cast<std::uint32_t>(8 + offset + audio.size())).U32(offset).U32(blockSize);
        Raw(Vec(offset, 0xEE)).Raw(audio);
        return Pad(offset + audio.size());
    }
    ChunkFileBuilder& Inst(std::uint8_t base, std::int8_t detune, std::uint16_t sustainMode, std::uint16_t sustainBegin,
                           std::uint16_t sustainEnd, std::uint16_t releaseMode = 0, std::uint16_t releaseBegin = 0,
                           std::uint16_t releaseEnd = 0)
    {
        Id("INST").U32(20).Raw({base, static_cast<std::uint8_t>(detune), 0, 127, 0, 127}).U16(0);
        U16(sustainMode).U16(sustainBegin).U16(sustainEnd);
        return U16(releaseMode).U16(releaseBegin).U16(releaseEnd);
    }
    struct Marker
    {
        std::uint16_t id;
        std::uint32_t position;
        std::string name;
    };
    ChunkFileBuilder& Mark(std::vector<Marker> const& markers)
    {
        ChunkFileBuilder body(true);
        body.U16(static_cast<std::uint16_t>(markers.size()));
        for (auto const& m : markers)
        {
            body.U16(m.id).U32(m.position).Raw({static_cast<std::uint8_t>(m.name.size())});
            body.Raw(Vec(m.name.begin(), m.name.end())).Pad(m.name.size() + 1);
        }
        return Chunk("MARK", body.Bytes());
    }

    // Bytes changed after the fact, to damage a file or to stand for another
    // tool's edit: n bytes at `at` in the file's byte order, or the last n cut off.
    ChunkFileBuilder& Patch(std::size_t at, std::uint64_t v, int n = 1)
    {
        Put(at, v, n);
        return *this;
    }
    ChunkFileBuilder& Cut(std::size_t n)
    {
        mBytes.resize(mBytes.size() - n);
        return *this;
    }
    // Patches the RIFF or FORM size to the file length minus 8.
    ChunkFileBuilder& FixSize() { return Patch(4, mBytes.size() - 8, 4); }
    ChunkFileBuilder& FixRiffSize() { return FixSize(); } // the name older tests use
    // The bytes with the size fixed, or as built.
    Vec Done() { return FixSize().Bytes(); }
    Vec const& Bytes() const { return mBytes; }

private:
    ChunkFileBuilder& Pad(std::size_t n) { return n & 1 ? Raw({0}) : *this; }
    // resize and copy rather than insert: GCC 12 misreads insert from an
    // empty vector as an overflow at -O2.
    ChunkFileBuilder& Append(void const* data, std::size_t n)
    {
        std::size_t const at = mBytes.size();
        mBytes.resize(at + n);
        if (n)
            std::memcpy(mBytes.data() + at, data, n);
        return *this;
    }
    ChunkFileBuilder& Number(std::uint64_t v, int n)
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

// Audio bytes for a test: a ramp 1, 2, 3, ... or noise of a given seed.
inline std::vector<std::uint8_t> Ramp(std::size_t n, std::uint8_t first = 1)
{
    std::vector<std::uint8_t> b(n);
    std::iota(b.begin(), b.end(), first);
    return b;
}
inline std::vector<std::uint8_t> Noise(std::size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<std::uint8_t> b(n);
    for (auto& x : b)
        x = static_cast<std::uint8_t>(rng());
    return b;
}
