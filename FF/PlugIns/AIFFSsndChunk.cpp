#include "FF/PlugIns/AIFFSsndChunk.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

namespace
{
constexpr std::int64_t kHeaderSize = 8; // offset and block size

std::uint32_t BigEndian32(std::uint8_t const* p)
{
    return (static_cast<std::uint32_t>(p[0]) << 24) | (static_cast<std::uint32_t>(p[1]) << 16) |
           (static_cast<std::uint32_t>(p[2]) << 8) | p[3];
}

void PutBigEndian32(std::uint8_t* p, std::uint32_t v)
{
    p[0] = static_cast<std::uint8_t>(v >> 24);
    p[1] = static_cast<std::uint8_t>(v >> 16);
    p[2] = static_cast<std::uint8_t>(v >> 8);
    p[3] = static_cast<std::uint8_t>(v);
}

std::int64_t RoundUpToEven(std::int64_t n)
{
    return (n + 1) & ~std::int64_t{1};
}
} // namespace

AIFFSsndChunk::AIFFSsndChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_SSND, kAudioData) {}

PlugInResult AIFFSsndChunk::Read(std::int64_t size, std::int64_t bodyPosition)
{
    // A body without room for its own two fields is damaged.
    if (size < kHeaderSize)
        return kAudioFile_BadParameter;
    std::uint8_t body[kHeaderSize];
    PlugInResult r = ReadExact(body, kHeaderSize);
    if (r != S_OK)
        return r;
    mOffset = BigEndian32(body);
    mOffsetField = mOffset;
    mBlockSize = BigEndian32(body + 4);
    mBlockSizeField = mBlockSize;
    // Some writers put the absolute file position of the audio here.
    if (static_cast<std::int64_t>(mOffset) == bodyPosition + kHeaderSize)
        mOffset = 0;
    if (static_cast<std::int64_t>(mBlockSize) == mOwner->FrameSize())
        mBlockSize = 0;
    // An offset beyond the chunk's own end points at no audio; taken, it
    // would let a flush grow the file by up to 4 GB.
    if (static_cast<std::int64_t>(mOffset) > static_cast<std::int64_t>(size) - kHeaderSize)
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
    std::int64_t const frameSize = mOwner->FrameSize();
    return mDiskBytes >= 0 && frameSize > 0 && mOwner->NumSamples() == (mDiskBytes - kHeaderSize - mOffset) / frameSize;
}

std::int64_t AIFFSsndChunk::GetFileSize()
{
    return AsRead() && StoredFileSize() > 0 ? StoredFileSize() : GetSize(0) + 8;
}

std::int64_t AIFFSsndChunk::GetSize(std::int32_t nominal)
{
    std::int64_t const frameSize = mOwner->FrameSize();
    bool const asRead = AsRead();
    std::int64_t const bytes = asRead ? mDiskBytes : mOffset + kHeaderSize + mOwner->NumSamples() * frameSize;
    return nominal ? bytes : RoundUpToEven(bytes);
}

PlugInResult AIFFSsndChunk::Write(std::int64_t size, std::int64_t bodyPosition)
{
    std::uint8_t body[kHeaderSize];
    PutBigEndian32(body, mOffsetField);
    PutBigEndian32(body + 4, mBlockSizeField);
    PlugInResult r = WriteExact(body, kHeaderSize);
    if (r != S_OK)
        return r;
    mOwner->SetDataOffset(bodyPosition + mOffset + kHeaderSize);
    return Skip(RoundUpToEven(static_cast<std::int64_t>(size) - kHeaderSize));
}

PlugInResult AIFFSsndChunk::Print(std::ostream& out, std::int64_t size, std::int64_t)
{
    if (size < kHeaderSize)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    std::uint8_t body[kHeaderSize];
    PlugInResult r = ReadExact(body, kHeaderSize);
    if (r != S_OK)
        return r;
    std::uint32_t const offset = BigEndian32(body);
    out << "\t" << offset << " byte offset to audio data\n"
        << "\tBlock size: " << BigEndian32(body + 4) << "\n"
        << "\t" << static_cast<std::int64_t>(size) - kHeaderSize - offset << " bytes of audio data\n";
    return S_OK;
}
