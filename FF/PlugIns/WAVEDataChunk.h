// 'data': the audio itself. It has no content in memory; its size follows
// the cached frame count.
#pragma once

#include "FF/PlugIns/Chunk.h"

class WAVEDataChunk : public Chunk
{
public:
    explicit WAVEDataChunk(ChunkyFile* owner);
    // While the length is the one read, the bytes the chunk really takes
    // (a writer may have left out the pad); else what the length makes.
    std::int64_t GetFileSize() override;
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    // Sets the data offset and passes over the audio: samples are written
    // straight into the file, never through here.
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

private:
    bool AsRead() const;

    // The body as the file held it: while the length is unchanged a rewrite
    // keeps every byte of it, a partial last frame too.
    std::int64_t mDiskBytes = -1;
};
