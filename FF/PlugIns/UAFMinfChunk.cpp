#include "FF/PlugIns/UAFMinfChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <cstring>
#include <ostream>

UAFMinfChunk::UAFMinfChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_minf, kMinf)
{
    // The chunk's mere presence makes the modification record known, even
    // when its body turns out to be of another size.
    owner->SetValidBits(PlugIn::kValidModification);
}

PlugInResult UAFMinfChunk::Read(i64 size, i64)
{
    if (size != 16)
        return kAudioFile_Unimplemented;
    u64 body[2];
    PlugInResult r = ReadExact(body, 16);
    if (r != S_OK)
        return r;
    mOwner->SetUTCModDate(Swap64(body[0]));
    mOwner->SetDataRevision(Swap64(body[1]));
    return S_OK;
}

PlugInResult UAFMinfChunk::Write(i64, i64)
{
    u64 const body[2] = {Swap64(mOwner->UTCModDate()), Swap64(mOwner->DataRevision())};
    return WriteExact(body, 16);
}

PlugInResult UAFMinfChunk::Print(std::ostream& out, i64 size, i64)
{
    if (size != 16)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    u64 body[2];
    PlugInResult r = ReadExact(body, 16);
    if (r != S_OK)
        return r;
    out << "\tmodTime: " << Swap64(body[0]) << "\n\tdataRevision: " << Swap64(body[1]) << "\n";
    return S_OK;
}
