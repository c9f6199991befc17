// 'SSND': an offset and a block size, then the audio. Like every audio
// chunk it has no content in memory: its size follows the cached frame
// count, which 'COMM' gives.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

class AIFFSsndChunk : public Chunk
{
public:
    explicit AIFFSsndChunk(ChunkyFile* owner);
    // While the length is the one read, the bytes the chunk really takes
    // (a writer may have left out the pad); else what the length makes.
    i64 GetFileSize() override;
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    // Sets the data offset and passes over the audio, which is written
    // straight into the file, never through here.
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override;

    u32 GetOffset() const { return mOffset; }
    u32 GetBlockSize() const { return mBlockSize; }

private:
    bool AsRead() const;

    u32 mOffset = 0;
    u32 mBlockSize = 0;
    // The offset field as the file has it (some writers put an absolute
    // position there), written back as it was.
    u32 mOffsetField = 0;
    u32 mBlockSizeField = 0;
    // The body as the file held it: while the length is unchanged a rewrite
    // keeps every byte of it.
    i64 mDiskBytes = -1;
};
