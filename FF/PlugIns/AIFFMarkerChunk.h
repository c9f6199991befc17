// 'MARK': markers, each an id, a frame position and a name. A rewrite
// keeps the markers other tools set (cue points) and writes two loop
// markers for each loop of the instrument; the chunk vanishes at a flush
// when it has neither.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class AIFF;

class AIFFMarkerChunk : public Chunk
{
public:
    explicit AIFFMarkerChunk(AIFF* owner);
    bool IsObsolete() override;
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    // Not printed: the answer ends a printout of the file.
    PlugInResult Print(std::ostream&, i64, i64) override { return E_FAIL; }
    i64 GetSize(i32) override;
    u64 ValueBits() const override { return PlugIn::kValidInstrument; }

private:
    i32 LoopsToWrite() const;

    AIFF* mAiff;
};
