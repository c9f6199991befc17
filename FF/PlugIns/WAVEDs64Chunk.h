// 'ds64': the 64-bit sizes of a WAVE file past 4 GiB, whose 'RF64' (or
// 'BW64') header and 'data' chunk carry 0xFFFFFFFF in their 32-bit fields.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

class WAVE;

class WAVEDs64Chunk : public Chunk
{
public:
    static constexpr i64 kFixedSize = 28; // form, data and frame sizes, table length

    explicit WAVEDs64Chunk(WAVE* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    // The sizes of the file as it is now; a table of other chunks' sizes
    // that the file had stays as it was.
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override;

private:
    WAVE* mWave;
    i64 mDiskSize = kFixedSize;
};
