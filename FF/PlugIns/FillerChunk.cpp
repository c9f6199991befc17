#include "FF/PlugIns/FillerChunk.h"
#include "Cmn/Cmn_Types.h"

#include <algorithm>
#include <ostream>

FillerChunk::FillerChunk(ChunkyFile* owner, ChunkId id, i64 fileSize) : Chunk(owner, id, kFiller), mTakes(fileSize) {}

PlugInResult FillerChunk::Read(i64 size, i64)
{
    return Skip(size);
}

PlugInResult FillerChunk::Write(i64 size, i64)
{
    static constexpr char kZeros[0x8000] = {};
    for (i64 left = size; left > 0;)
    {
        i64 const block = std::min<i64>(left, sizeof kZeros);
        if (PlugInResult const r = WriteExact(kZeros, block); r != S_OK)
            return r;
        left -= block;
    }
    return S_OK;
}

PlugInResult FillerChunk::Print(std::ostream& out, i64 size, i64)
{
    out << "\t** Filler **\n";
    return Skip(size);
}

i64 FillerChunk::GetSize(i32)
{
    // A place of odd size (a writer that forgot a pad byte) stays odd: the
    // chunk behind it stands where that writer put it, and is found as it
    // was found before.
    return mTakes - 8;
}
