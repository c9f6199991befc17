#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

// 'umid': the file's unique id, stored big-endian word by word, and a
// generation number that is written 0 and ignored.
class UAFUmidChunk : public Chunk
{
public:
    // With a fresh id, a new identifier goes to the handler at once.
    UAFUmidChunk(ChunkyFile* owner, bool freshId);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override { return 24; }
    void Restamp() override;
};
