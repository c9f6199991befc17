// 'FVER': the version of the AIFF-C format a file follows, a time stamp
// that readers of the format check. Written in new files; one read from a
// file is kept as another tool wrote it.
#pragma once

#include "FF/PlugIns/Chunk.h"

class AIFCVersionChunk : public Chunk
{
public:
    // The stamp of the one published version of the format.
    static constexpr std::uint32_t kVersion1 = 0xA2805140;

    explicit AIFCVersionChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_FVER, kVersion) {}
    bool IsObsolete() override { return false; }
    PlugInResult Write(std::int64_t, std::int64_t) override
    {
        std::uint32_t const stamp = Swap32(kVersion1);
        return WriteExact(&stamp, 4);
    }
    std::int64_t GetSize(std::int32_t) override { return 4; }
};
