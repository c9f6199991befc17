#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

// Zeros under a chunk id that every reader skips ('JUNK', 'FLLR'): it takes
// the place a chunk in front of the audio leaves when that chunk moves
// behind the audio, so that the audio never moves. Only a flush makes one;
// read back, it is a chunk of another tool like any other.
class FillerChunk : public Chunk
{
public:
    // `fileSize` bytes in all, its header among them (at least 8).
    FillerChunk(ChunkyFile* owner, ChunkId id, i64 fileSize);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override;

private:
    i64 mTakes;
};
