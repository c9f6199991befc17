// The RIFF WAVE handler: linear PCM, little-endian, 8-bit samples unsigned on disk.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/ChunkyFile.h"

class WAVE : public ChunkyFile
{
public:
    // The factory of the handler table: a new instance with its first reference.
    static PlugInResult Create(void** object);

    PlugInResult GetFileTypeName(i32 size, char* buffer) override;
    PlugInResult GetByteOrder(i32* order) override;

    bool IsBigEndian() override { return false; }
    bool IsUnsigned8Bit() override { return mBitsPerSample == 8; }
    using ChunkyFile::DoImplement;
    PlugInResult DoImplement(PlugInGuid const* iid, ChunkList& list) override;
    std::unique_ptr<Chunk> CreateChunk(ChunkId id) override;
    void CreateDefaultChunks(ChunkList& list) override;
    i32 DataChunkHeaderSize() override { return 8; }
    ChunkId FillerId() override { return kChunkId_JUNK; }
    // Past 4 GiB the file takes the 64-bit form.
    PlugInResult FitSizes() override;
    u32 SizeField(Chunk& chunk, i64 size) override;

    // A file past 4 GiB: 'RF64' header, sizes in 'ds64'.
    void SetLongForm() { mLongForm = true; }
    // The audio chunk's body bytes, as its size field would give them.
    i64 AudioChunkBytes();

protected:
    WAVE() = default;

private:
    // Makes the file one whose sizes do not fit 32 bits: the header becomes
    // 'RF64' and a 'ds64' chunk goes right behind it, taking room from the
    // pad in front of the audio where there is room, as the 64-bit WAVE
    // forms expect of a placeholder.
    void GoLong(ChunkList& list);
    bool NeedsLongForm();

    bool mLongForm = false;
};
