#include "FF/PlugIns/AIFC.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/AIFCExtCommChunk.h"
#include "FF/PlugIns/AIFCHeaderChunk.h"
#include "FF/PlugIns/AIFCVersionChunk.h"

PlugInResult AIFC::Create(void** object)
{
    return HandOut(new AIFC, object);
}

PlugInResult AIFC::GetFileTypeName(i32 size, char* buffer)
{
    return CopyTypeName(size, buffer, "AIFC");
}

void AIFC::AddVersionChunk(ChunkList& list)
{
    list.push_back(std::make_unique<AIFCVersionChunk>(this));
}

std::unique_ptr<Chunk> AIFC::NewHeaderChunk()
{
    return std::make_unique<AIFCHeaderChunk>(this);
}

std::unique_ptr<Chunk> AIFC::NewCommChunk()
{
    return std::make_unique<AIFCExtCommChunk>(this);
}

PlugInResult AIFC::DoImplement(PlugInGuid const* iid, ChunkList& list)
{
    // Identity only; CanImplement still answers yes for instrument data,
    // and the refusal comes here.
    if (*iid == IID_IVelmoraAudioFile)
        return ImplementIdentity(list, true);
    return E_FAIL;
}
