#pragma once

#include "FF/PlugIns/Chunk.h"

struct PlugInRegion;

// 'regn': the named regions of the audio, 88 bytes each.
class UAFRegnChunk : public Chunk
{
public:
    explicit UAFRegnChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override;

private:
    // The five numbers of a record in the file's byte order, in place.
    void SwapRecord(PlugInRegion& region) const;
};
