// 'COMM': channels, frame count, word length and the sample rate as an
// 80-bit extended float.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class AIFFCommChunk : public Chunk
{
public:
    static constexpr i64 kSize = 18;

    explicit AIFFCommChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override { return kSize; }
    u64 ValueBits() const override
    {
        return PlugIn::kValidChannels | PlugIn::kValidSampleRate | PlugIn::kValidBitsPerSample |
               PlugIn::kValidNumSamples;
    }

protected:
    // Takes the four facts from the 18 bytes, or refuses them.
    PlugInResult SetFacts(u8 const* body);
    // The 18 bytes from the cached facts.
    void FillBody(u8* body);
    // Prints the four facts of the 18 bytes.
    static void PrintFacts(std::ostream& out, u8 const* body);
};
