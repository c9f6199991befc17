#include "FF/PlugIns/AIFFSsndChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

namespace
{
constexpr i64 kHeaderSize = 8; // offset and block size

u32 BigEndian32(u8 const* p)
{
    return (static_cast<u32>(p[0]) << 24) | (static_cast<u32>(p[1]) << 16) | (static_cast<u32>(p[2]) << 8) | p[3];
}

void PutBigEndian32(u8* p, u32 v)
{
    p[0] = static_cast<u8>(v >> 24);
    p[1] = static_cast<u8>(v >> 16);
    p[2] = static_cast<u8>(v >> 8);
    p[3] = static_cast<u8>(v);
}

i64 RoundUpToEven(i64 n)
{
    return (n + 1) & ~i64{1};
}
} // namespace

AIFFSsndChunk::AIFFSsndChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_SSND, kAudioData) {}

PlugInResult AIFFSsndChunk::Read(i64 size, i64 bodyPosition)
{
    // A body without room for its own two fields is damaged.
    if (size < kHeaderSize)
        return kAudioFile_BadParameter;
    u8 body[kHeaderSize];
    PlugInResult r = ReadExact(body, kHeaderSize);
    if (r != S_OK)
        return r;
    mOffset = BigEndian32(body);
    mOffsetField = mOffset;
    mBlockSize = BigEndian32(body + 4);
    mBlockSizeField = mBlockSize;
    // Some writers put the absolute file position of the audio here.
    if (static_cast<i64>(mOffset) == bodyPosition + kHeaderSize)
        mOffset = 0;
    if (static_cast<i64>(mBlockSize) == mOwner->FrameSize())
        mBlockSize = 0;
    // An offset beyond the chunk's own end points at no audio; taken, it
    // would let a flush grow the file by up to 4 GB.
    if (static_cast<i64>(mOffset) > static_cast<i64>(size) - kHeaderSize)
        return kAudioFile_BadParameter;
    mOwner->SetDataOffset(bodyPosition + mOffset + kHeaderSize);
    // The frame count is what 'COMM' says, before or behind this chunk, up
    // to what the chunk holds.
    mDiskBytes = size;
    mOwner->SetAudioBytes(size - kHeaderSize - mOffset);
    return S_OK;
}

bool AIFFSsndChunk::AsRead() const
{
    i64 const frameSize = mOwner->FrameSize();
    return mDiskBytes >= 0 && frameSize > 0 && mOwner->NumSamples() == (mDiskBytes - kHeaderSize - mOffset) / frameSize;
}

i64 AIFFSsndChunk::GetFileSize()
{
    return AsRead() && StoredFileSize() > 0 ? StoredFileSize() : GetSize(0) + 8;
}

i64 AIFFSsndChunk::GetSize(i32 nominal)
{
    i64 const frameSize = mOwner->FrameSize();
    bool const asRead = AsRead();
    i64 const bytes = asRead ? mDiskBytes : mOffset + kHeaderSize + mOwner->NumSamples() * frameSize;
    return nominal ? bytes : RoundUpToEven(bytes);
}

PlugInResult AIFFSsndChunk::Write(i64 size, i64 bodyPosition)
{
    u8 body[kHeaderSize];
    PutBigEndian32(body, mOffsetField);
    PutBigEndian32(body + 4, mBlockSizeField);
    PlugInResult r = WriteExact(body, kHeaderSize);
    if (r != S_OK)
        return r;
    mOwner->SetDataOffset(bodyPosition + mOffset + kHeaderSize);
    return Skip(RoundUpToEven(static_cast<i64>(size) - kHeaderSize));
}

PlugInResult AIFFSsndChunk::Print(std::ostream& out, i64 size, i64)
{
    if (size < kHeaderSize)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    u8 body[kHeaderSize];
    PlugInResult r = ReadExact(body, kHeaderSize);
    if (r != S_OK)
        return r;
    u32 const offset = BigEndian32(body);
    out << "\t" << offset << " byte offset to audio data\n"
        << "\tBlock size: " << BigEndian32(body + 4) << "\n"
        << "\t" << static_cast<i64>(size) - kHeaderSize - offset << " bytes of audio data\n";
    return S_OK;
}
