// 'FORM' with form type "AIFC".
#pragma once

#include "FF/PlugIns/AIFFHeaderChunk.h"

class AIFCHeaderChunk : public AIFFHeaderChunk
{
public:
    explicit AIFCHeaderChunk(ChunkyFile* owner) : AIFFHeaderChunk(owner, kChunkId_AIFC) {}
};
