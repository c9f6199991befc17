#include "FF/PlugIns/WAVEDataChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

WAVEDataChunk::WAVEDataChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_data, kAudioData) {}

PlugInResult WAVEDataChunk::Read(i64 size, i64 bodyPosition)
{
    i64 const frameSize = mOwner->FrameSize();
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
    i64 const frameSize = mOwner->FrameSize();
    return mDiskBytes >= 0 && frameSize > 0 && mOwner->NumSamples() == mDiskBytes / frameSize;
}

i64 WAVEDataChunk::GetFileSize()
{
    return AsRead() && StoredFileSize() > 0 ? StoredFileSize() : GetSize(0) + 8;
}

i64 WAVEDataChunk::GetSize(i32 nominal)
{
    i64 const frameSize = mOwner->FrameSize();
    bool const asRead = AsRead();
    i64 const bytes = asRead ? mDiskBytes : mOwner->NumSamples() * frameSize;
    return nominal ? bytes : (bytes + 1) & ~i64{1};
}

PlugInResult WAVEDataChunk::Write(i64 size, i64 bodyPosition)
{
    mOwner->SetDataOffset(bodyPosition);
    return Skip(size);
}

PlugInResult WAVEDataChunk::Print(std::ostream& out, i64 size, i64)
{
    out << "\t" << size << " bytes of audio data\n";
    return S_OK;
}
