// 'FORM' with form type "AIFF".
#pragma once

#include "FF/PlugIns/FormHeaderChunk.h"

class AIFFHeaderChunk : public FormHeaderChunk
{
public:
    explicit AIFFHeaderChunk(ChunkyFile* owner) : FormHeaderChunk(owner, kChunkId_FORM, kChunkId_AIFF) {}

protected:
    AIFFHeaderChunk(ChunkyFile* owner, ChunkId formType) : FormHeaderChunk(owner, kChunkId_FORM, formType) {}
};
