#include "FF/PlugIns/WAVEHeaderChunk.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/IFile.h"

#include <ostream>

WAVEHeaderChunk::WAVEHeaderChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_RIFF, kFileHeader) {}

PlugInResult WAVEHeaderChunk::Read(std::uint32_t, std::int64_t)
{
    ChunkId form = 0;
    PlugInResult r = ReadExact(&form, 4);
    // Whatever the read returned, a header without the WAVE form refuses the file.
    if (r != S_OK || form != kChunkId_WAVE)
        return kAudioFile_BadParameter;
    return S_OK;
}

PlugInResult WAVEHeaderChunk::Write(std::uint32_t, std::int64_t)
{
    return WriteExact(&kChunkId_WAVE, 4);
}

PlugInResult WAVEHeaderChunk::Print(std::ostream& out, std::uint32_t, std::int64_t)
{
    ChunkId form = 0;
    PlugInResult r = ReadExact(&form, 4);
    if (r != S_OK)
        return r;
    out << "\tFormat Type: " << ChunkIdToText(form) << "\n";
    return S_OK;
}

std::int64_t WAVEHeaderChunk::GetSize(std::int32_t nominal)
{
    // The header's size covers the whole file; its body is the form type.
    // (The nominal 0 case must not ask for the total: that sum asks here.)
    if (nominal == 0)
        return 4;
    return mOwner->GetTotalFileSize() - 8;
}
