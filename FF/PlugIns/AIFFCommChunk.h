// 'COMM': channels, frame count, word length and the sample rate as an
// 80-bit extended float.
#pragma once

#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class AIFFCommChunk : public Chunk
{
public:
    static constexpr std::int64_t kSize = 18;

    explicit AIFFCommChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override { return kSize; }
    std::uint64_t ValueBits() const override
    {
        return PlugIn::kValidChannels | PlugIn::kValidSampleRate | PlugIn::kValidBitsPerSample |
               PlugIn::kValidNumSamples;
    }

protected:
    // Takes the four facts from the 18 bytes, or refuses them.
    PlugInResult SetFacts(std::uint8_t const* body);
    // The 18 bytes from the cached facts.
    void FillBody(std::uint8_t* body);
    // Prints the four facts of the 18 bytes.
    static void PrintFacts(std::ostream& out, std::uint8_t const* body);
};
