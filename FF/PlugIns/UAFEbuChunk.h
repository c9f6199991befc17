#pragma once

#include "FF/PlugIns/Chunk.h"

// 'bext', the broadcast extension: description, originator, the umid as
// originator reference, date and time, and the SMPTE time stamp. A 'bext'
// read from a file keeps its bytes until the file gets a new identity.
class UAFEbuChunk : public Chunk
{
public:
    static constexpr std::int64_t kFixedSize = 602;

    UAFEbuChunk(ChunkyFile* owner, bool writeDefaults);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::uint32_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override { return kFixedSize + mCodingHistoryLength; }
    void Restamp() override;

private:
    bool mWriteDefaults;
    std::int32_t mCodingHistoryLength;
};
