#include "FF/PlugIns/Chunk.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/IFile.h"

#include <cstring>
#include <ostream>

Chunk::Chunk(ChunkyFile* owner, ChunkId id, std::int32_t kind)
    : mOwner(owner), mKind(kind), mId(id), mSamplesAtCreation(owner ? owner->NumSamples() : 0)
{
}

Chunk::~Chunk() = default;

std::int64_t Chunk::GetFileSize()
{
    return mFileSize;
}

bool Chunk::IsObsolete()
{
    CMN_ASSERT(false);
    return false;
}

PlugInResult Chunk::Read(std::uint32_t, std::int64_t)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

PlugInResult Chunk::Write(std::uint32_t, std::int64_t)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

PlugInResult Chunk::Print(std::ostream&, std::uint32_t, std::int64_t)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

std::int64_t Chunk::GetSize(std::int32_t)
{
    CMN_ASSERT(false);
    return 0;
}

std::int64_t Chunk::GetTotalSize(std::int32_t nominal)
{
    if (mKind == kUnknown)
        return GetFileSize();
    return GetSize(nominal) + 8;
}

bool Chunk::ShouldDiscard()
{
    if (mKind == kCorrupt)
        return true;
    // Unknown chunks may hold sample positions: once the audio was cut below
    // the length they were loaded with, they go.
    if (mKind == kUnknown)
        return mSamplesAtCreation > mOwner->NumSamples();
    return IsObsolete();
}

PlugInResult Chunk::ReadChunk(ChunkId, std::uint32_t size, std::int64_t position, std::int64_t fileEOF)
{
    // A file header's size may be wrong and the file still usable.
    if (mKind != kFileHeader && position + 8 + static_cast<std::int64_t>(size) > fileEOF)
        mKind = kCorrupt;

    PlugInResult result = S_OK;
    if (mKind != kUnknown && mKind != kCorrupt)
    {
        result = Read(size, position + 8);
        if (result == kAudioFile_Unimplemented)
        {
            mKind = kUnknown;
            result = S_OK;
        }
        else if (result == kAudioFile_BadParameter)
        {
            mKind = kCorrupt;
            result = S_OK;
        }
    }
    // The size is deliberately not rounded up to even here: an odd unknown
    // chunk leaves the walk a byte short, and the next header usually reads
    // as corrupt, which ends the parse.
    if (result == S_OK && mKind == kUnknown)
        result = mOwner->GetFile()->SetPosition(0, position + 8 + static_cast<std::int64_t>(size));
    return result;
}

PlugInResult Chunk::WriteChunk(std::int64_t position)
{
    CMN_ASSERT(mKind != kCorrupt);
    unsigned char header[8];
    std::memcpy(header, &mId, 4);
    std::uint32_t const size = Swap32(static_cast<std::uint32_t>(GetTotalSize(1) - 8));
    std::memcpy(header + 4, &size, 4);
    PlugInResult r = WriteExact(header, 8);
    if (r != S_OK)
        return r;
    // An unknown chunk's bytes stay as they lie on disk. One that lost its
    // place (file size 0) leaves only its header, which the next chunk
    // overwrites.
    if (mKind == kUnknown)
        return Skip(GetFileSize() - 8);
    return Write(static_cast<std::uint32_t>(GetSize(0)), position + 8);
}

PlugInResult Chunk::PrintChunk(std::ostream& out, std::int64_t position, std::int64_t fileEOF)
{
    unsigned char header[8];
    PlugInResult r = ReadExact(header, 8);
    if (r != S_OK)
        return r;
    std::uint32_t size;
    std::memcpy(&size, header + 4, 4);
    size = Swap32(size);
    if (mKind != kFileHeader && position + 8 + static_cast<std::int64_t>(size) > fileEOF)
        mKind = kCorrupt;
    out << "Chunk Position: " << position << "\n"
        << "Chunk ID: " << std::string(reinterpret_cast<char const*>(header), 4) << "\n"
        << "Chunk size (nominal): " << size << "\n"
        << "Chunk contents: \n";
    if (mKind == kCorrupt)
    {
        out << "\t** CORRUPT CHUNK **\n";
        return S_OK;
    }
    if (mKind == kUnknown)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    return Print(out, size, position + 8);
}

PlugInResult Chunk::WriteExact(void const* buffer, std::int64_t count)
{
    std::int64_t put = count;
    PlugInResult r = mOwner->GetFile()->Write(const_cast<void*>(buffer), &put);
    if (r != S_OK)
        return r;
    return put == count ? S_OK : E_UNEXPECTED;
}

PlugInResult Chunk::ReadExact(void* buffer, std::int64_t count)
{
    std::int64_t got = count;
    PlugInResult r = mOwner->GetFile()->Read(buffer, &got);
    if (r != S_OK)
        return r;
    return got == count ? S_OK : E_UNEXPECTED;
}

PlugInResult Chunk::Skip(std::int64_t count)
{
    return mOwner->GetFile()->SetPosition(1, count);
}

std::uint16_t Chunk::Swap16(std::uint16_t v) const
{
    return mOwner->Swap16(v);
}
std::uint32_t Chunk::Swap32(std::uint32_t v) const
{
    return mOwner->Swap32(v);
}
std::uint64_t Chunk::Swap64(std::uint64_t v) const
{
    return mOwner->Swap64(v);
}
