// 'RIFF' with form type "WAVE", or its 64-bit forms 'RF64' and 'BW64'.
#pragma once

#include "FF/PlugIns/FormHeaderChunk.h"

class WAVEHeaderChunk : public FormHeaderChunk
{
public:
    WAVEHeaderChunk(ChunkyFile* owner, ChunkId id) : FormHeaderChunk(owner, id, kChunkId_WAVE) {}
};
