// 'SSND': an offset and a block size, then the audio. Like every audio
// chunk it has no content in memory: its size follows the cached frame
// count, which 'COMM' gives.
#pragma once

#include "FF/PlugIns/Chunk.h"

class AIFFSsndChunk : public Chunk
{
public:
    explicit AIFFSsndChunk(ChunkyFile* owner);
    // While the length is the one read, the bytes the chunk really takes
    // (a writer may have left out the pad); else what the length makes.
    std::int64_t GetFileSize() override;
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    // Sets the data offset and passes over the audio, which is written
    // straight into the file, never through here.
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

    std::uint32_t GetOffset() const { return mOffset; }
    std::uint32_t GetBlockSize() const { return mBlockSize; }

private:
    bool AsRead() const;

    std::uint32_t mOffset = 0;
    std::uint32_t mBlockSize = 0;
    // The offset field as the file has it (some writers put an absolute
    // position there), written back as it was.
    std::uint32_t mOffsetField = 0;
    std::uint32_t mBlockSizeField = 0;
    // The body as the file held it: while the length is unchanged a rewrite
    // keeps every byte of it.
    std::int64_t mDiskBytes = -1;
};
