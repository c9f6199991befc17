// 'fmt ': channels, rate and word length of linear PCM audio.
#pragma once

#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class WAVEFmtChunk : public Chunk
{
public:
    static constexpr std::uint16_t kFormatPCM = 1;
    static constexpr std::uint16_t kFormatExtensible = 0xFFFE;

    explicit WAVEFmtChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override { return 16; }
    // Written only for a new file: one read keeps its bytes, extension and all.
    std::uint64_t ValueBits() const override
    {
        return PlugIn::kValidChannels | PlugIn::kValidSampleRate | PlugIn::kValidBitsPerSample;
    }
};
