#pragma once

#include "FF/PlugIns/Chunk.h"

// 'minf': modification time (file time units, UTC) and data revision.
class UAFMinfChunk : public Chunk
{
public:
    explicit UAFMinfChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override { return 16; }
};
