// Shared by the AIFF handler tests: a byte builder for AIFF and AIFF-C
// files, a handler on a file in memory, and an independent chunk walk.
#pragma once

#include "FF/PlugIns/AIFC.h"
#include "FF/PlugIns/AIFF.h"
#include "FF/PlugIns/Extended80.h"
#include "support/MemoryIFile.h"
#include "support/WaveBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace aifftest
{
using Bytes = std::vector<std::uint8_t>;
using X80 = std::array<std::uint8_t, 10>;

inline X80 Rate(double rate)
{
    X80 b;
    dtox80(&rate, b.data());
    return b;
}

inline Bytes Ramp(std::size_t n, std::uint8_t first = 1)
{
    Bytes b(n);
    std::iota(b.begin(), b.end(), first);
    return b;
}

// Big-endian chunks, each padded to even as AIFF has it.
class AiffBuilder
{
public:
    // 'FORM' with a placeholder size and the form type.
    AiffBuilder& Form(char const (&type)[5] = "AIFF", std::uint32_t size = 0)
    {
        mB.Id("FORM").U32(size).Id(type);
        return *this;
    }
    AiffBuilder& Comm(std::uint16_t channels, std::uint32_t frames, std::uint16_t bits, X80 const& rate,
                      std::uint32_t extra = 0)
    {
        mB.Id("COMM").U32(18 + extra).U16(channels).U32(frames).U16(bits);
        mB.Raw(Bytes(rate.begin(), rate.end())).Raw(Bytes(extra, 0));
        return Pad(extra);
    }
    AiffBuilder& Comm(std::uint16_t channels, std::uint32_t frames, std::uint16_t bits, double rate)
    {
        return Comm(channels, frames, bits, Rate(rate));
    }
    // An AIFF-C 'COMM' with a compression type and a Pascal-string name.
    AiffBuilder& CommC(std::uint16_t channels, std::uint32_t frames, std::uint16_t bits, double rate,
                       char const (&type)[5] = "NONE", std::string const& name = "not compressed")
    {
        // Sized first and then filled: GCC 12 misreads an insert here as an overflow.
        Bytes pstring(1 + name.size(), static_cast<std::uint8_t>(name.size()));
        std::copy(name.begin(), name.end(), pstring.begin() + 1);
        if (pstring.size() & 1)
            pstring.push_back(0);
        X80 const r = Rate(rate);
        mB.Id("COMM").U32(static_cast<std::uint32_t>(22 + pstring.size())).U16(channels).U32(frames).U16(bits);
        mB.Raw(Bytes(r.begin(), r.end())).Id(type).Raw(pstring);
        return *this;
    }
    // 'SSND' with `offset` filler bytes in front of the audio.
    AiffBuilder& Ssnd(Bytes const& audio, std::uint32_t offset = 0, std::uint32_t blockSize = 0)
    {
        mB.Id("SSND").U32(static_cast<std::uint32_t>(8 + offset + audio.size())).U32(offset).U32(blockSize);
        mB.Raw(Bytes(offset, 0xEE)).Raw(audio);
        return Pad(offset + audio.size());
    }
    AiffBuilder& Inst(std::uint8_t base, std::int8_t detune, std::uint16_t sustainMode, std::uint16_t sustainBegin,
                      std::uint16_t sustainEnd, std::uint16_t releaseMode = 0, std::uint16_t releaseBegin = 0,
                      std::uint16_t releaseEnd = 0)
    {
        mB.Id("INST").U32(20).Raw({base, static_cast<std::uint8_t>(detune), 0, 127, 0, 127}).U16(0);
        mB.U16(sustainMode).U16(sustainBegin).U16(sustainEnd).U16(releaseMode).U16(releaseBegin).U16(releaseEnd);
        return *this;
    }
    struct Marker
    {
        std::uint16_t id;
        std::uint32_t position;
        std::string name;
    };
    AiffBuilder& Mark(std::vector<Marker> const& markers)
    {
        WaveBuilder body(true);
        body.U16(static_cast<std::uint16_t>(markers.size()));
        for (auto const& m : markers)
        {
            body.U16(m.id).U32(m.position).Raw({static_cast<std::uint8_t>(m.name.size())});
            body.Raw(Bytes(m.name.begin(), m.name.end()));
            if ((7 + m.name.size()) & 1)
                body.Raw({0});
        }
        return Chunk("MARK", body.Bytes());
    }
    AiffBuilder& Chunk(char const (&id)[5], Bytes const& body)
    {
        mB.Chunk(id, body);
        return Pad(body.size());
    }
    AiffBuilder& Chunk(char const (&id)[5], std::uint32_t size, Bytes const& body)
    {
        mB.Chunk(id, size, body);
        return *this;
    }
    AiffBuilder& Raw(Bytes const& bytes)
    {
        mB.Raw(bytes);
        return *this;
    }
    // The bytes as built, FORM size and all.
    Bytes AsIs() const { return mB.Bytes(); }
    // The bytes with the FORM size patched to the length minus 8.
    Bytes Done() const
    {
        Bytes b = mB.Bytes();
        auto const size = static_cast<std::uint32_t>(b.size() - 8);
        b[4] = static_cast<std::uint8_t>(size >> 24);
        b[5] = static_cast<std::uint8_t>(size >> 16);
        b[6] = static_cast<std::uint8_t>(size >> 8);
        b[7] = static_cast<std::uint8_t>(size);
        return b;
    }

private:
    AiffBuilder& Pad(std::size_t n)
    {
        if (n & 1)
            mB.Raw({0});
        return *this;
    }
    WaveBuilder mB{true};
};

// An AIFF or AIFF-C handler on a file in memory, with its interfaces.
class Handler
{
public:
    explicit Handler(Bytes bytes = {}, bool aifc = false) : mFile(std::move(bytes))
    {
        void* object = nullptr;
        (aifc ? AIFC::Create : AIFF::Create)(&object);
        mAudio = static_cast<IAudioFile*>(object);
        EXPECT_EQ(mAudio->SetFile(&mFile), S_OK);
    }
    ~Handler() { mAudio->Release(); }
    Handler(Handler const&) = delete;
    Handler& operator=(Handler const&) = delete;

    template <class I> I* Get(PlugInGuid const& iid)
    {
        void* p = nullptr;
        if (mAudio->QueryInterface(iid, &p) != S_OK)
            return nullptr;
        static_cast<IUnknown*>(p)->Release(); // the handler lives as long as this object
        return static_cast<I*>(p);
    }
    IImportExportAudioFile* IE() { return Get<IImportExportAudioFile>(IID_IImportExportAudioFile); }
    INativeAudioFile* Native() { return Get<INativeAudioFile>(IID_INativeAudioFile); }
    IVelmoraAudioFile* Velmora() { return Get<IVelmoraAudioFile>(IID_IVelmoraAudioFile); }
    IEbuAudioFile* Ebu() { return Get<IEbuAudioFile>(IID_IEbuAudioFile); }
    IOrvanelAudioFile* Orvanel() { return Get<IOrvanelAudioFile>(IID_IOrvanelAudioFile); }
    AIFF* Aiff() { return static_cast<AIFF*>(mAudio); }
    std::int64_t Frames()
    {
        std::int64_t n = -1;
        IE()->GetNumSamples(&n);
        return n;
    }
    std::int64_t DataOffset()
    {
        std::int64_t offset = -1;
        Native()->SampleToOffset(0, &offset);
        return offset;
    }
    PlugInInstrument Instrument()
    {
        PlugInInstrument i;
        Orvanel()->GetInstrumentAttr(&i);
        return i;
    }

    IAudioFile* mAudio = nullptr;
    MemoryIFile mFile;
};

inline std::uint32_t BigEndian(Bytes const& b, std::int64_t at, int n)
{
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i)
        v = (v << 8) | b[static_cast<std::size_t>(at + i)];
    return v;
}

// An independent walk over a big-endian chunked file.
struct RawChunk
{
    std::string id;
    std::int64_t at; // header position
    std::uint32_t size;
};

inline std::vector<RawChunk> Walk(Bytes const& b)
{
    std::vector<RawChunk> out;
    std::int64_t pos = 0;
    while (pos + 8 <= static_cast<std::int64_t>(b.size()))
    {
        std::uint32_t const size = BigEndian(b, pos + 4, 4);
        out.push_back({std::string(reinterpret_cast<char const*>(b.data() + pos), 4), pos, size});
        pos += out.back().id == "FORM" ? 12 : 8 + size + (size & 1);
    }
    return out;
}

inline RawChunk Find(Bytes const& b, std::string const& id)
{
    for (auto const& c : Walk(b))
        if (c.id == id)
            return c;
    return {"", -1, 0};
}
} // namespace aifftest
