#include "FF/PlugIns/FormHeaderChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <ostream>

FormHeaderChunk::FormHeaderChunk(ChunkyFile* owner, ChunkId headerId, ChunkId formType)
    : Chunk(owner, headerId, kFileHeader), mFormType(formType)
{
}

PlugInResult FormHeaderChunk::Read(i64, i64)
{
    ChunkId form = 0;
    PlugInResult const r = ReadExact(&form, 4);
    return r == S_OK && form == mFormType ? S_OK : kAudioFile_BadParameter;
}

PlugInResult FormHeaderChunk::Write(i64, i64)
{
    return WriteExact(&mFormType, 4);
}

PlugInResult FormHeaderChunk::Print(std::ostream& out, i64, i64)
{
    ChunkId form = 0;
    PlugInResult const r = ReadExact(&form, 4);
    if (r != S_OK)
        return r;
    out << "\tFormat Type: " << ChunkIdToText(form) << "\n";
    return S_OK;
}

i64 FormHeaderChunk::GetSize(i32 nominal)
{
    // The nominal 0 case must not ask for the total: that sum asks here.
    if (nominal == 0)
        return 4;
    return mOwner->GetFormSize() - 8;
}
