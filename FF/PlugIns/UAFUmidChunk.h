#pragma once

#include "FF/PlugIns/Chunk.h"

// 'umid': the file's unique id, stored big-endian word by word, and a
// generation number that is written 0 and ignored.
class UAFUmidChunk : public Chunk
{
public:
    // With a fresh id, a new identifier goes to the handler at once.
    UAFUmidChunk(ChunkyFile* owner, bool freshId);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override { return 24; }
    void Restamp() override;
};
