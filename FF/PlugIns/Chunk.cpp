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

PlugInResult Chunk::Read(std::int64_t, std::int64_t)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

PlugInResult Chunk::Write(std::int64_t, std::int64_t)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

PlugInResult Chunk::Print(std::ostream&, std::int64_t, std::int64_t)
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
    if (KeepsItsBytes())
        return mHeld.empty() ? GetFileSize() : static_cast<std::int64_t>(mHeld.size());
    return GetSize(nominal) + 8;
}

bool Chunk::KeepsItsBytes()
{
    if (mKind == kUnknown)
        return true;
    if (mKind == kCorrupt || (mFileSize == 0 && mHeld.empty()))
        return false;
    std::uint64_t const bits = ValueBits();
    return bits != kAlwaysWritten && (bits & mOwner->ChangedMask()) == 0;
}

PlugInResult Chunk::HoldBytes(std::int64_t position)
{
    if (mFileSize == 0 || !mHeld.empty())
        return S_OK;
    // Bounded by what the file really holds, and by a limit: a rewrite that
    // would have to keep more in memory fails rather than drop it.
    if (mFileSize > kMaxHeldBytes)
        return E_FAIL;
    mHeld.resize(static_cast<std::size_t>(mFileSize));
    PlugInResult r = mOwner->GetFile()->SetPosition(0, position);
    if (r == S_OK)
        r = ReadExact(mHeld.data(), mFileSize);
    if (r != S_OK)
        mHeld.clear();
    return r;
}

bool Chunk::ShouldDiscard()
{
    if (mKind == kCorrupt)
        return true;
    // Unknown chunks may hold sample positions: once the audio was cut below
    // the length they were loaded with, they go. Bytes behind the form are
    // no chunk and hold none.
    if (mKind == kUnknown)
        return !mTrailing && mSamplesAtCreation > mOwner->NumSamples();
    return IsObsolete();
}

PlugInResult Chunk::ReadChunk(ChunkId, std::int64_t size, std::int64_t position, std::int64_t fileEOF)
{
    std::int64_t const body = position + 8;
    // An audio chunk may not say how long it is (a recorder that stopped,
    // a stream): its handler knows how much of it there is.
    if (mKind == kAudioData)
        size = mOwner->AudioBodySize(size, body, fileEOF);
    // A file header's size may be wrong and the file still usable.
    else if (mKind != kFileHeader && body + size > fileEOF)
        mKind = kCorrupt;

    PlugInResult result = S_OK;
    if (mKind != kUnknown && mKind != kCorrupt)
    {
        result = Read(size, body);
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
    // Every chunk but the header ends at its size rounded up to even: the
    // formats pad odd bodies with a byte that the size leaves out. Walking
    // by the bare size would lose every chunk behind an odd one.
    if (result == S_OK && mKind != kCorrupt && mKind != kFileHeader)
        result = mOwner->GetFile()->SetPosition(0, mOwner->ChunkEnd(body + size, fileEOF));
    return result;
}

PlugInResult Chunk::WriteChunk(std::int64_t position)
{
    CMN_ASSERT(mKind != kCorrupt);
    if (KeepsItsBytes())
    {
        if (mHeld.empty())
            return Skip(GetFileSize());
        PlugInResult const r = WriteExact(mHeld.data(), static_cast<std::int64_t>(mHeld.size()));
        if (r == S_OK)
            std::vector<std::uint8_t>().swap(mHeld);
        return r;
    }
    unsigned char header[8];
    std::memcpy(header, &mId, 4);
    std::uint32_t const size = Swap32(mOwner->SizeField(*this, GetTotalSize(1) - 8));
    std::memcpy(header + 4, &size, 4);
    PlugInResult r = WriteExact(header, 8);
    if (r == S_OK)
        r = Write(GetSize(0), position + 8);
    // A body made afresh from changed values no longer needs its old bytes.
    if (r == S_OK)
        std::vector<std::uint8_t>().swap(mHeld);
    return r;
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
    std::int64_t extent = size;
    if (mKind == kAudioData)
        extent = mOwner->AudioBodySize(size, position + 8, fileEOF);
    else if (mKind != kFileHeader && position + 8 + static_cast<std::int64_t>(size) > fileEOF)
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
        out << "\t** Contents Unknown **\n";
    else
        r = Print(out, extent, position + 8);
    if (r != S_OK || mKind == kFileHeader)
        return r;
    return mOwner->GetFile()->SetPosition(0, mOwner->ChunkEnd(position + 8 + extent, fileEOF));
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
