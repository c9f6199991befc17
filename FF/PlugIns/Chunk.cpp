#include "FF/PlugIns/Chunk.h"
#include "Cmn/Cmn_Types.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/IFile.h"

#include <cstring>
#include <ostream>

Chunk::Chunk(ChunkyFile* owner, ChunkId id, i32 kind)
    : mOwner(owner), mKind(kind), mId(id), mSamplesAtCreation(owner ? owner->NumSamples() : 0)
{
}

Chunk::~Chunk() = default;

i64 Chunk::GetFileSize()
{
    return mFileSize;
}

bool Chunk::IsObsolete()
{
    CMN_ASSERT(false);
    return false;
}

PlugInResult Chunk::Read(i64, i64)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

PlugInResult Chunk::Write(i64, i64)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

PlugInResult Chunk::Print(std::ostream&, i64, i64)
{
    CMN_ASSERT(false);
    return E_FAIL;
}

i64 Chunk::GetSize(i32)
{
    CMN_ASSERT(false);
    return 0;
}

i64 Chunk::GetTotalSize(i32 nominal)
{
    if (KeepsItsBytes())
        return mHeld.empty() ? GetFileSize() : static_cast<i64>(mHeld.size());
    return GetSize(nominal) + 8;
}

bool Chunk::KeepsItsBytes()
{
    if (mKind == kUnknown)
        return true;
    if (mKind == kCorrupt || (mFileSize == 0 && mHeld.empty()))
        return false;
    u64 const bits = ValueBits();
    return bits != kAlwaysWritten && (bits & mOwner->ChangedMask()) == 0;
}

PlugInResult Chunk::HoldBytes(i64 position)
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

PlugInResult Chunk::ReadChunk(ChunkId, i64 size, i64 position, i64 fileEOF)
{
    i64 const body = position + 8;
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

PlugInResult Chunk::WriteChunk(i64 position)
{
    CMN_ASSERT(mKind != kCorrupt);
    if (KeepsItsBytes())
    {
        if (mHeld.empty())
            return Skip(GetFileSize());
        PlugInResult const r = WriteExact(mHeld.data(), static_cast<i64>(mHeld.size()));
        if (r == S_OK)
            std::vector<u8>().swap(mHeld);
        return r;
    }
    unsigned char header[8];
    std::memcpy(header, &mId, 4);
    u32 const size = Swap32(mOwner->SizeField(*this, GetTotalSize(1) - 8));
    std::memcpy(header + 4, &size, 4);
    PlugInResult r = WriteExact(header, 8);
    if (r == S_OK)
        r = Write(GetSize(0), position + 8);
    // A body made afresh from changed values no longer needs its old bytes.
    if (r == S_OK)
        std::vector<u8>().swap(mHeld);
    return r;
}

PlugInResult Chunk::PrintChunk(std::ostream& out, i64 position, i64 fileEOF)
{
    unsigned char header[8];
    PlugInResult r = ReadExact(header, 8);
    if (r != S_OK)
        return r;
    u32 size;
    std::memcpy(&size, header + 4, 4);
    size = Swap32(size);
    i64 extent = size;
    if (mKind == kAudioData)
        extent = mOwner->AudioBodySize(size, position + 8, fileEOF);
    else if (mKind != kFileHeader && position + 8 + static_cast<i64>(size) > fileEOF)
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

PlugInResult Chunk::WriteExact(void const* buffer, i64 count)
{
    i64 put = count;
    PlugInResult r = mOwner->GetFile()->Write(const_cast<void*>(buffer), &put);
    if (r != S_OK)
        return r;
    return put == count ? S_OK : E_UNEXPECTED;
}

PlugInResult Chunk::ReadExact(void* buffer, i64 count)
{
    i64 got = count;
    PlugInResult r = mOwner->GetFile()->Read(buffer, &got);
    if (r != S_OK)
        return r;
    return got == count ? S_OK : E_UNEXPECTED;
}

PlugInResult Chunk::Skip(i64 count)
{
    return mOwner->GetFile()->SetPosition(1, count);
}

u16 Chunk::Swap16(u16 v) const
{
    return mOwner->Swap16(v);
}
u32 Chunk::Swap32(u32 v) const
{
    return mOwner->Swap32(v);
}
u64 Chunk::Swap64(u64 v) const
{
    return mOwner->Swap64(v);
}
