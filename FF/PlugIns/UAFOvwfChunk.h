#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

// 'ovwf': waveform overviews at several decimations. Each overview's
// payload is opaque here and kept in a relocatable block behind a 14-byte
// header, so that one read fills it.
class UAFOvwfChunk : public Chunk
{
public:
    // Bytes in front of the payload in an overview's block.
    static constexpr i64 kBlockHeaderSize = 14;

    explicit UAFOvwfChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override;

    // A new block for `payloadBytes` bytes of overview, its header filled.
    static char** NewBlock(i64 payloadBytes, u32 samplesPerInterval);
};
