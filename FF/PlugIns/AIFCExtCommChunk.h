// 'COMM' of an AIFF-C file: the AIFF fields, then the compression type and
// its name as a Pascal string padded to even. Of the types, those of plain
// integer samples are read: 'NONE', 'twos', 'in24' and 'in32' big-endian,
// 'sowt', '42ni' (or '42n1') and '23ni' little-endian, and 8-bit unsigned
// 'raw '.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/AIFFCommChunk.h"

#include <string>

class AIFCExtCommChunk : public AIFFCommChunk
{
public:
    static constexpr i64 kFixedSize = 22;

    explicit AIFCExtCommChunk(ChunkyFile* owner);
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32) override;

    std::string const& GetCompressionName() const { return mCompressionName; }

private:
    // Reads the name's bytes behind the fixed part and decodes them.
    PlugInResult ReadName(i64 size, std::string* name);
    // The length byte and the characters, rounded up to an even count.
    i64 NameBufferSize() const;

    std::string mCompressionName = "Not Compressed";
    ChunkId mCompressionType = kCompression_NONE;
};
