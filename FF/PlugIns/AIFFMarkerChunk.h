// 'MARK': markers, each an id, a frame position and a name. Only loop
// markers are written, two for each loop of the instrument; the chunk
// vanishes at the next flush when no loop is left.
#pragma once

#include "FF/PlugIns/Chunk.h"

class AIFF;

class AIFFMarkerChunk : public Chunk
{
public:
    explicit AIFFMarkerChunk(AIFF* owner);
    bool IsObsolete() override;
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    // Not printed: the answer ends a printout of the file.
    PlugInResult Print(std::ostream&, std::uint32_t, std::int64_t) override { return E_FAIL; }
    std::int64_t GetSize(std::int32_t) override;

private:
    std::int32_t LoopsToWrite() const;

    AIFF* mAiff;
};
