// 'fmt ': channels, rate and word length of linear PCM audio.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

class WAVEFmtChunk : public Chunk
{
public:
    static constexpr u16 kFormatPCM = 1;
    static constexpr u16 kFormatExtensible = 0xFFFE;

    explicit WAVEFmtChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override { return 16; }
    // Written only for a new file: one read keeps its bytes, extension and all.
    u64 ValueBits() const override
    {
        return PlugIn::kValidChannels | PlugIn::kValidSampleRate | PlugIn::kValidBitsPerSample;
    }
};
