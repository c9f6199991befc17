#include "FF/PlugIns/WAVEDataChunk.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

WAVEDataChunk::WAVEDataChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_data, kAudioData) {}

PlugInResult WAVEDataChunk::Read(std::uint32_t size, std::int64_t bodyPosition)
{
    std::int64_t const frameSize = mOwner->FrameSize();
    // 'fmt ' must come first.
    if (frameSize == 0)
        return E_UNEXPECTED;
    mOwner->SetNumSamplesValue(static_cast<std::int64_t>(size) / frameSize);
    mOwner->SetDataOffset(bodyPosition);
    return Skip((static_cast<std::int64_t>(size) + 1) & ~std::int64_t{1});
}

std::int64_t WAVEDataChunk::GetSize(std::int32_t nominal)
{
    std::int64_t const bytes = mOwner->NumSamples() * mOwner->FrameSize();
    return nominal ? bytes : (bytes + 1) & ~std::int64_t{1};
}

PlugInResult WAVEDataChunk::Write(std::uint32_t size, std::int64_t bodyPosition)
{
    mOwner->SetDataOffset(bodyPosition);
    return Skip(size);
}

PlugInResult WAVEDataChunk::Print(std::ostream& out, std::uint32_t size, std::int64_t)
{
    out << "\t" << size << " bytes of audio data\n";
    return Skip((static_cast<std::int64_t>(size) + 1) & ~std::int64_t{1});
}
