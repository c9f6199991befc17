#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

struct PlugInRegion;

// 'regn': the named regions of the audio, 88 bytes each.
class UAFRegnChunk : public Chunk
{
public:
    explicit UAFRegnChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override;

private:
    // The five numbers of a record in the file's byte order, in place.
    void SwapRecord(PlugInRegion& region) const;
};
