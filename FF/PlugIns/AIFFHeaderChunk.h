// 'FORM' with form type "AIFF". Not a container for this code: its body is
// the 4-byte form type, and the chunks behind it are its siblings.
#pragma once

#include "FF/PlugIns/Chunk.h"

class AIFFHeaderChunk : public Chunk
{
public:
    explicit AIFFHeaderChunk(ChunkyFile* owner) : AIFFHeaderChunk(owner, kChunkId_AIFF) {}
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::uint32_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

protected:
    AIFFHeaderChunk(ChunkyFile* owner, ChunkId formType);

private:
    ChunkId mFormType;
};
