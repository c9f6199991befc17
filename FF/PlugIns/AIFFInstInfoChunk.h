// 'INST': root note, fine tune, ranges and gain, and a sustain and a
// release loop, each as a play mode and two marker ids of 'MARK'.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class AIFF;

class AIFFInstInfoChunk : public Chunk
{
public:
    static constexpr i64 kSize = 20;

    // Sets the instrument bit of the handler: the chunk's presence is enough.
    explicit AIFFInstInfoChunk(AIFF* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    // Not printed: the answer ends a printout of the file.
    PlugInResult Print(std::ostream&, i64, i64) override { return E_FAIL; }
    i64 GetSize(i32) override { return kSize; }
    u64 ValueBits() const override { return PlugIn::kValidInstrument; }

private:
    AIFF* mAiff;
};
