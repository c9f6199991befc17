#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

// 'Elmo': padding that puts the first audio byte on a sector boundary of
// the file's volume. It is always there and always has a body: when the
// chunks in front already end on a boundary it takes a whole sector.
class PadChunk : public Chunk
{
public:
    explicit PadChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override;

    i32 GetSectorSize() const { return mSectorSize; }

private:
    i32 mSectorSize = 512;
    // Where the chunk behind this pad stands on disk: -1 until the pad has
    // been read or written.
    i64 mNextAt = -1;
};
