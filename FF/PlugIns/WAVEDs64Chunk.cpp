#include "FF/PlugIns/WAVEDs64Chunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/WAVE.h"

#include <cstring>
#include <ostream>

namespace
{
u64 Little64(unsigned char const* p)
{
    u64 v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}

void PutLittle64(unsigned char* p, u64 v)
{
    for (int i = 0; i < 8; ++i, v >>= 8)
        p[i] = static_cast<unsigned char>(v);
}
} // namespace

WAVEDs64Chunk::WAVEDs64Chunk(WAVE* owner) : Chunk(owner, kChunkId_ds64, kDs64), mWave(owner) {}

PlugInResult WAVEDs64Chunk::Read(i64 size, i64)
{
    if (size < kFixedSize)
        return kAudioFile_Unimplemented;
    unsigned char body[kFixedSize];
    PlugInResult const r = ReadExact(body, kFixedSize);
    if (r != S_OK)
        return r;
    auto const data = Little64(body + 8);
    // A size no file can have is no size: the audio then runs to the end.
    if (data <= static_cast<u64>(INT64_MAX))
        mOwner->SetLongAudioSize(static_cast<i64>(data));
    mWave->SetLongForm();
    mDiskSize = size;
    return S_OK;
}

i64 WAVEDs64Chunk::GetSize(i32)
{
    return mDiskSize;
}

PlugInResult WAVEDs64Chunk::Write(i64 size, i64)
{
    unsigned char body[kFixedSize] = {};
    PutLittle64(body, static_cast<u64>(mOwner->GetFormSize() - 8));
    PutLittle64(body + 8, static_cast<u64>(mWave->AudioChunkBytes()));
    PutLittle64(body + 16, static_cast<u64>(mOwner->NumSamples()));
    if (size > kFixedSize)
    {
        // The table length stays as the file has it, with the table behind it.
        i64 saved = 0;
        PlugInResult r = mOwner->GetFile()->GetPosition(&saved);
        if (r == S_OK)
            r = Skip(24);
        if (r == S_OK)
            r = ReadExact(body + 24, 4);
        if (r == S_OK)
            r = mOwner->GetFile()->SetPosition(0, saved);
        if (r != S_OK)
            return r;
    }
    PlugInResult const r = WriteExact(body, kFixedSize);
    return r == S_OK ? Skip(size - kFixedSize) : r;
}

PlugInResult WAVEDs64Chunk::Print(std::ostream& out, i64 size, i64)
{
    if (size < kFixedSize)
    {
        out << "\t** Contents Unknown **\n";
        return S_OK;
    }
    unsigned char body[kFixedSize];
    PlugInResult const r = ReadExact(body, kFixedSize);
    if (r != S_OK)
        return r;
    if (Little64(body + 8) <= static_cast<u64>(INT64_MAX))
        mOwner->SetLongAudioSize(static_cast<i64>(Little64(body + 8)));
    u32 table;
    std::memcpy(&table, body + 24, 4);
    out << "\triffSize: " << Little64(body) << "\n"
        << "\tdataSize: " << Little64(body + 8) << "\n"
        << "\tsampleCount: " << Little64(body + 16) << "\n"
        << "\ttableLength: " << table << "\n";
    return S_OK;
}
