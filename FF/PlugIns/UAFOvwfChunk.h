#pragma once

#include "FF/PlugIns/Chunk.h"

// 'ovwf': waveform overviews at several decimations. Each overview's
// payload is opaque here and kept in a relocatable block behind a 14-byte
// header, so that one read fills it.
class UAFOvwfChunk : public Chunk
{
public:
    // Bytes in front of the payload in an overview's block.
    static constexpr std::int64_t kBlockHeaderSize = 14;

    explicit UAFOvwfChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override;

    // A new block for `payloadBytes` bytes of overview, its header filled.
    static char** NewBlock(std::int64_t payloadBytes, std::uint32_t samplesPerInterval);
};
