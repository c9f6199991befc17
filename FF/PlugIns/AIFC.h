// The AIFF-C handler, for the uncompressed ('NONE') subset only. It adds
// identity metadata to a foreign file, but no instrument data.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/AIFF.h"

class AIFC : public AIFF
{
public:
    static PlugInResult Create(void** object);

    PlugInResult GetFileTypeName(i32 size, char* buffer) override;
    using ChunkyFile::DoImplement;
    PlugInResult DoImplement(PlugInGuid const* iid, ChunkList& list) override;

protected:
    AIFC() = default;
    // The format version chunk that every AIFF-C file carries.
    void AddVersionChunk(ChunkList& list) override;
    std::unique_ptr<Chunk> NewHeaderChunk() override;
    std::unique_ptr<Chunk> NewCommChunk() override;
};
