#pragma once

#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

// 'bext', the broadcast extension: description, originator, the umid as
// originator reference, date and time, and the SMPTE time stamp. A 'bext'
// read from a file keeps its bytes: a new time stamp is written into them,
// and a new identity only into one this system wrote.
class UAFEbuChunk : public Chunk
{
public:
    static constexpr std::int64_t kFixedSize = 602;

    UAFEbuChunk(ChunkyFile* owner, bool writeDefaults);
    bool IsObsolete() override { return false; }
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override
    {
        std::int64_t const size = kFixedSize + mCodingHistoryLength;
        return nominal ? size : size + (size & 1);
    }
    std::uint64_t ValueBits() const override { return PlugIn::kValidEbu | PlugIn::kValidUmid; }
    void Restamp() override;

private:
    // Writes the chunk's own bytes back with what the caller changed.
    PlugInResult Patch(std::int64_t bodyPosition);
    // Identity fields: the umid as originator reference, date and time.
    void StampIdentity(unsigned char* body);

    bool mRestamped = false;
    bool mWriteDefaults;
    std::int32_t mCodingHistoryLength;
};
