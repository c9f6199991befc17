#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

// 'minf': modification time (file time units, UTC) and data revision.
class UAFMinfChunk : public Chunk
{
public:
    explicit UAFMinfChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override { return 16; }
};
