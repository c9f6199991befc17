// 'RIFF' with form type "WAVE". Not a container for this code: its body is
// the 4-byte form type, and the chunks behind it are its siblings.
#pragma once

#include "FF/PlugIns/Chunk.h"

class WAVEHeaderChunk : public Chunk
{
public:
    explicit WAVEHeaderChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::uint32_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;
};
