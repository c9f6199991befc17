// 'RIFF' with form type "WAVE".
#pragma once

#include "FF/PlugIns/FormHeaderChunk.h"

class WAVEHeaderChunk : public FormHeaderChunk
{
public:
    explicit WAVEHeaderChunk(ChunkyFile* owner) : FormHeaderChunk(owner, kChunkId_RIFF, kChunkId_WAVE) {}
};
