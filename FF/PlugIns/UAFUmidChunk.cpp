#include "FF/PlugIns/UAFUmidChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "Sys/Sys_Umid.h"

#include <cstring>
#include <ostream>

namespace
{
void GiveNewUmid(ChunkyFile* owner)
{
    Sys_Umid umid = Sys_Umid::Create();
    static_assert(sizeof(Sys_Umid) == 16);
    owner->SetUmidBytes(reinterpret_cast<u8 const*>(&umid));
}
} // namespace

UAFUmidChunk::UAFUmidChunk(ChunkyFile* owner, bool freshId) : Chunk(owner, kChunkId_umid, kUmid)
{
    if (freshId)
        GiveNewUmid(owner);
}

void UAFUmidChunk::Restamp()
{
    GiveNewUmid(mOwner);
}

PlugInResult UAFUmidChunk::Read(i64 size, i64)
{
    if (size != 24)
        return kAudioFile_Unimplemented;
    unsigned char body[24];
    PlugInResult r = ReadExact(body, 24);
    if (r != S_OK)
        return r;
    Sys_Umid umid;
    std::memcpy(&umid, body, 16);
    umid.SwapIfWin32();
    mOwner->SetUmidBytes(reinterpret_cast<u8 const*>(&umid));
    return S_OK;
}

PlugInResult UAFUmidChunk::Write(i64, i64)
{
    Sys_Umid umid;
    std::memcpy(&umid, mOwner->UmidBytes(), 16);
    umid.SwapIfWin32();
    unsigned char body[24] = {};
    std::memcpy(body, &umid, 16);
    return WriteExact(body, 24);
}

PlugInResult UAFUmidChunk::Print(std::ostream& out, i64 size, i64)
{
    if (size != 24)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    unsigned char body[24];
    PlugInResult r = ReadExact(body, 24);
    if (r != S_OK)
        return r;
    Sys_Umid umid;
    std::memcpy(&umid, body, 16);
    umid.SwapIfWin32();
    u32 words[4];
    std::memcpy(words, &umid, 16);
    u64 generation;
    std::memcpy(&generation, body + 16, 8);
    out << "\tumid: " << static_cast<i32>(words[0]) << "." << static_cast<i32>(words[1]) << "." << words[2] << "."
        << words[3] << "\n"
        << "\tgenNumber: " << Swap64(generation) << "\n";
    return S_OK;
}
