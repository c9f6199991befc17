#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

// 'smpl', the RIFF sampler chunk, mapped onto the instrument record. In
// files written here the sampler data field privately holds the root note
// (low byte) and fine tune (the bits above).
class WAVESamplerChunk : public Chunk
{
public:
    static constexpr u32 kManufacturer = 0x01000013;
    static constexpr u32 kProduct = 0x29A;

    explicit WAVESamplerChunk(ChunkyFile* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override;
    // A sampler chunk of another tool keeps its bytes (sample period, every
    // loop, its sampler data) until the instrument is changed.
    u64 ValueBits() const override { return PlugIn::kValidInstrument; }

private:
    i32 LoopsToWrite() const;
};
