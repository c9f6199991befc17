// 'COMM' of an AIFF-C file: the AIFF fields, then the compression type,
// which must be 'NONE', and its name as a Pascal string padded to even.
#pragma once

#include "FF/PlugIns/AIFFCommChunk.h"

#include <string>

class AIFCExtCommChunk : public AIFFCommChunk
{
public:
    static constexpr std::int64_t kFixedSize = 22;

    explicit AIFCExtCommChunk(ChunkyFile* owner);
    PlugInResult Read(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::uint32_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::uint32_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t) override;

    std::string const& GetCompressionName() const { return mCompressionName; }

private:
    // Reads the name's bytes behind the fixed part and decodes them.
    PlugInResult ReadName(std::uint32_t size, std::string* name);
    // The length byte and the characters, rounded up to an even count.
    std::int64_t NameBufferSize() const;

    std::string mCompressionName = "Not Compressed";
};
