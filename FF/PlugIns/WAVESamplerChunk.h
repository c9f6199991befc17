#pragma once

#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

// 'smpl', the RIFF sampler chunk, mapped onto the instrument record. In
// files written here the sampler data field privately holds the root note
// (low byte) and fine tune (the bits above).
class WAVESamplerChunk : public Chunk
{
public:
    static constexpr std::uint32_t kManufacturer = 0x01000013;
    static constexpr std::uint32_t kProduct = 0x29A;

    explicit WAVESamplerChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override;
    // A sampler chunk of another tool keeps its bytes (sample period, every
    // loop, its sampler data) until the instrument is changed.
    std::uint64_t ValueBits() const override { return PlugIn::kValidInstrument; }

private:
    std::int32_t LoopsToWrite() const;
};
