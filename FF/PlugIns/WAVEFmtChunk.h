// 'fmt ': channels, rate and word length of linear PCM audio.
#pragma once

#include "FF/PlugIns/Chunk.h"

class WAVEFmtChunk : public Chunk
{
public:
    static constexpr std::uint16_t kFormatPCM = 1;

    explicit WAVEFmtChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::uint32_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override { return 16; }
};
