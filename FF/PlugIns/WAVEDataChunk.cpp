#include "FF/PlugIns/WAVEDataChunk.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

WAVEDataChunk::WAVEDataChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_data, kAudioData) {}

PlugInResult WAVEDataChunk::Read(std::int64_t size, std::int64_t bodyPosition)
{
    std::int64_t const frameSize = mOwner->FrameSize();
    // 'fmt ' must come first.
    if (frameSize == 0)
        return E_UNEXPECTED;
    mDiskBytes = size;
    mOwner->SetNumSamplesValue(size / frameSize);
    mOwner->SetDataOffset(bodyPosition);
    mOwner->SetAudioBytes(size);
    return S_OK;
}

bool WAVEDataChunk::AsRead() const
{
    std::int64_t const frameSize = mOwner->FrameSize();
    return mDiskBytes >= 0 && frameSize > 0 && mOwner->NumSamples() == mDiskBytes / frameSize;
}

std::int64_t WAVEDataChunk::GetFileSize()
{
    return AsRead() && StoredFileSize() > 0 ? StoredFileSize() : GetSize(0) + 8;
}

std::int64_t WAVEDataChunk::GetSize(std::int32_t nominal)
{
    std::int64_t const frameSize = mOwner->FrameSize();
    bool const asRead = AsRead();
    std::int64_t const bytes = asRead ? mDiskBytes : mOwner->NumSamples() * frameSize;
    return nominal ? bytes : (bytes + 1) & ~std::int64_t{1};
}

PlugInResult WAVEDataChunk::Write(std::int64_t size, std::int64_t bodyPosition)
{
    mOwner->SetDataOffset(bodyPosition);
    return Skip(size);
}

PlugInResult WAVEDataChunk::Print(std::ostream& out, std::int64_t size, std::int64_t)
{
    out << "\t" << size << " bytes of audio data\n";
    return S_OK;
}
