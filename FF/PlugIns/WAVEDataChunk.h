// 'data': the audio itself. It has no content in memory; its size follows
// the cached frame count.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

class WAVEDataChunk : public Chunk
{
public:
    explicit WAVEDataChunk(ChunkyFile* owner);
    // While the length is the one read, the bytes the chunk really takes
    // (a writer may have left out the pad); else what the length makes.
    i64 GetFileSize() override;
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    // Sets the data offset and passes over the audio: samples are written
    // straight into the file, never through here.
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override;

private:
    bool AsRead() const;

    // The body as the file held it: while the length is unchanged a rewrite
    // keeps every byte of it, a partial last frame too.
    i64 mDiskBytes = -1;
};
