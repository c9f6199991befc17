// 'FVER': the version of the AIFF-C format a file follows, a time stamp
// that readers of the format check. Written in new files; one read from a
// file is kept as another tool wrote it.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

class AIFCVersionChunk : public Chunk
{
public:
    // The stamp of the one published version of the format.
    static constexpr u32 kVersion1 = 0xA2805140;

    explicit AIFCVersionChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_FVER, kVersion) {}
    bool IsObsolete() override { return false; }
    PlugInResult Write(i64, i64) override
    {
        u32 const stamp = Swap32(kVersion1);
        return WriteExact(&stamp, 4);
    }
    i64 GetSize(i32) override { return 4; }
};
