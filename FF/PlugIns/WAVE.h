// The RIFF WAVE handler: linear PCM, little-endian, 8-bit samples unsigned on disk.
#pragma once

#include "FF/PlugIns/ChunkyFile.h"

class WAVE : public ChunkyFile
{
public:
    // The factory of the handler table: a new instance with its first reference.
    static PlugInResult Create(void** object);

    PlugInResult GetFileTypeName(std::int32_t size, char* buffer) override;
    PlugInResult GetByteOrder(std::int32_t* order) override;

    bool IsBigEndian() override { return false; }
    bool IsUnsigned8Bit() override { return mBitsPerSample == 8; }
    using ChunkyFile::DoImplement;
    PlugInResult DoImplement(PlugInGuid const* iid, ChunkList& list) override;
    std::unique_ptr<Chunk> CreateChunk(ChunkId id) override;
    void CreateDefaultChunks(ChunkList& list) override;
    std::int32_t DataChunkHeaderSize() override { return 8; }

protected:
    WAVE() = default;
};
