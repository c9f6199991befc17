#include "FF/PlugIns/UAFUmidChunk.h"

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
    owner->SetUmidBytes(reinterpret_cast<std::uint8_t const*>(&umid));
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

PlugInResult UAFUmidChunk::Read(std::int64_t size, std::int64_t)
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
    mOwner->SetUmidBytes(reinterpret_cast<std::uint8_t const*>(&umid));
    return S_OK;
}

PlugInResult UAFUmidChunk::Write(std::int64_t, std::int64_t)
{
    Sys_Umid umid;
    std::memcpy(&umid, mOwner->UmidBytes(), 16);
    umid.SwapIfWin32();
    unsigned char body[24] = {};
    std::memcpy(body, &umid, 16);
    return WriteExact(body, 24);
}

PlugInResult UAFUmidChunk::Print(std::ostream& out, std::int64_t size, std::int64_t)
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
    std::uint32_t words[4];
    std::memcpy(words, &umid, 16);
    std::uint64_t generation;
    std::memcpy(&generation, body + 16, 8);
    out << "\tumid: " << static_cast<std::int32_t>(words[0]) << "." << static_cast<std::int32_t>(words[1]) << "."
        << words[2] << "." << words[3] << "\n"
        << "\tgenNumber: " << Swap64(generation) << "\n";
    return S_OK;
}
