// 'ds64': the 64-bit sizes of a WAVE file past 4 GiB, whose 'RF64' (or
// 'BW64') header and 'data' chunk carry 0xFFFFFFFF in their 32-bit fields.
#pragma once

#include "FF/PlugIns/Chunk.h"

class WAVE;

class WAVEDs64Chunk : public Chunk
{
public:
    static constexpr std::int64_t kFixedSize = 28; // form, data and frame sizes, table length

    explicit WAVEDs64Chunk(WAVE* owner);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    // The sizes of the file as it is now; a table of other chunks' sizes
    // that the file had stays as it was.
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

private:
    WAVE* mWave;
    std::int64_t mDiskSize = kFixedSize;
};
