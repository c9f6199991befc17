// 'SSND': an offset and a block size, then the audio. Like every audio
// chunk it has no content in memory: its size follows the cached frame
// count, which 'COMM' gives.
#pragma once

#include "FF/PlugIns/Chunk.h"

class AIFFSsndChunk : public Chunk
{
public:
    explicit AIFFSsndChunk(ChunkyFile* owner);
    std::int64_t GetFileSize() override { return GetSize(0) + 8; }
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    // Sets the data offset and passes over the audio, which is written
    // straight into the file, never through here.
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::uint32_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

    std::uint32_t GetOffset() const { return mOffset; }
    std::uint32_t GetBlockSize() const { return mBlockSize; }

private:
    std::uint32_t mOffset = 0;
    std::uint32_t mBlockSize = 0;
};
