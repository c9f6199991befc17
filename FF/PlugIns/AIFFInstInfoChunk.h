// 'INST': root note, fine tune, ranges and gain, and a sustain and a
// release loop, each as a play mode and two marker ids of 'MARK'.
#pragma once

#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class AIFF;

class AIFFInstInfoChunk : public Chunk
{
public:
    static constexpr std::int64_t kSize = 20;

    // Sets the instrument bit of the handler: the chunk's presence is enough.
    explicit AIFFInstInfoChunk(AIFF* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    // Not printed: the answer ends a printout of the file.
    PlugInResult Print(std::ostream&, std::int64_t, std::int64_t) override { return E_FAIL; }
    std::int64_t GetSize(std::int32_t) override { return kSize; }
    std::uint64_t ValueBits() const override { return PlugIn::kValidInstrument; }

private:
    AIFF* mAiff;
};
