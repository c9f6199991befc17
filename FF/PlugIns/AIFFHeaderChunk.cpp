#include "FF/PlugIns/AIFFHeaderChunk.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

AIFFHeaderChunk::AIFFHeaderChunk(ChunkyFile* owner, ChunkId formType)
    : Chunk(owner, kChunkId_FORM, kFileHeader), mFormType(formType)
{
}

PlugInResult AIFFHeaderChunk::Read(std::uint32_t, std::int64_t)
{
    ChunkId form = 0;
    PlugInResult r = ReadExact(&form, 4);
    if (r != S_OK)
        return r;
    // The other form type belongs to the other handler: this one refuses.
    return form == mFormType ? S_OK : kAudioFile_BadParameter;
}

PlugInResult AIFFHeaderChunk::Write(std::uint32_t, std::int64_t)
{
    return WriteExact(&mFormType, 4);
}

PlugInResult AIFFHeaderChunk::Print(std::ostream& out, std::uint32_t, std::int64_t)
{
    ChunkId form = 0;
    PlugInResult r = ReadExact(&form, 4);
    if (r != S_OK)
        return r;
    out << "\tFormat Type: " << ChunkIdToText(form) << "\n";
    return S_OK;
}

std::int64_t AIFFHeaderChunk::GetSize(std::int32_t nominal)
{
    // The nominal size covers the whole file; the body is the form type.
    // (The nominal 0 case must not ask for the total: that sum asks here.)
    if (nominal == 0)
        return 4;
    return mOwner->GetTotalFileSize() - 8;
}
