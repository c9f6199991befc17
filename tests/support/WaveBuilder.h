// The chunk file builder under the name the media manager's and the tool's
// tests know it by.
#pragma once

#include "support/ChunkFileBuilder.h"

using WaveBuilder = ChunkFileBuilder;
