// 'COMM' of an AIFF-C file: the AIFF fields, then the compression type and
// its name as a Pascal string padded to even. Of the types, those of plain
// integer samples are read: 'NONE', 'twos', 'in24' and 'in32' big-endian,
// 'sowt', '42ni' (or '42n1') and '23ni' little-endian.
#pragma once

#include "FF/PlugIns/AIFFCommChunk.h"

#include <string>

class AIFCExtCommChunk : public AIFFCommChunk
{
public:
    static constexpr std::int64_t kFixedSize = 22;

    explicit AIFCExtCommChunk(ChunkyFile* owner);
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override;

    std::string const& GetCompressionName() const { return mCompressionName; }

private:
    // Reads the name's bytes behind the fixed part and decodes them.
    PlugInResult ReadName(std::int64_t size, std::string* name);
    // The length byte and the characters, rounded up to an even count.
    std::int64_t NameBufferSize() const;

    std::string mCompressionName = "Not Compressed";
    ChunkId mCompressionType = kCompression_NONE;
};
