#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

// 'bext', the broadcast extension: description, originator, the umid as
// originator reference, date and time, and the SMPTE time stamp. A 'bext'
// read from a file keeps its bytes: a new time stamp is written into them,
// and a new identity only into one this system wrote.
class UAFEbuChunk : public Chunk
{
public:
    static constexpr i64 kFixedSize = 602;

    UAFEbuChunk(ChunkyFile* owner, bool writeDefaults);
    bool IsObsolete() override { return false; }
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override
    {
        i64 const size = kFixedSize + mCodingHistoryLength;
        return nominal ? size : size + (size & 1);
    }
    u64 ValueBits() const override { return PlugIn::kValidEbu | PlugIn::kValidUmid; }
    void Restamp() override;

private:
    // Writes the chunk's own bytes back with what the caller changed.
    PlugInResult Patch(i64 bodyPosition);
    // Identity fields: the umid as originator reference, date and time.
    void StampIdentity(unsigned char* body);

    bool mRestamped = false;
    bool mWriteDefaults;
    i32 mCodingHistoryLength;
};
