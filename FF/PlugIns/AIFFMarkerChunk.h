// 'MARK': markers, each an id, a frame position and a name. A rewrite
// keeps the markers other tools set (cue points) and writes two loop
// markers for each loop of the instrument; the chunk vanishes at a flush
// when it has neither.
#pragma once

#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class AIFF;

class AIFFMarkerChunk : public Chunk
{
public:
    explicit AIFFMarkerChunk(AIFF* owner);
    bool IsObsolete() override;
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    // Not printed: the answer ends a printout of the file.
    PlugInResult Print(std::ostream&, std::int64_t, std::int64_t) override { return E_FAIL; }
    std::int64_t GetSize(std::int32_t) override;
    std::uint64_t ValueBits() const override { return PlugIn::kValidInstrument; }

private:
    std::int32_t LoopsToWrite() const;

    AIFF* mAiff;
};
