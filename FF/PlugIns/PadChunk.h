#pragma once

#include "FF/PlugIns/Chunk.h"

// 'Elmo': padding that puts the first audio byte on a sector boundary of
// the file's volume. It is always there and always has a body: when the
// chunks in front already end on a boundary it takes a whole sector.
class PadChunk : public Chunk
{
public:
    explicit PadChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

    std::int32_t GetSectorSize() const { return mSectorSize; }

private:
    std::int32_t mSectorSize = 512;
};
