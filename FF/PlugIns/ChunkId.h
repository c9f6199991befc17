// Four-character chunk identifiers. They are kept as the raw 4-byte word
// exactly as it lies in the file, never as a number in host order, so an
// id read from a big-endian file compares equal without a swap.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <cstdint>
#include <cstring>
#include <string>

using ChunkId = u32;

inline ChunkId ChunkIdFromText(char const (&text)[5])
{
    ChunkId id;
    std::memcpy(&id, text, 4);
    return id;
}

inline std::string ChunkIdToText(ChunkId id)
{
    char text[4];
    std::memcpy(text, &id, 4);
    return std::string(text, 4);
}

// Built from their text when the library loads.
extern const ChunkId kChunkId_Elmo;
extern const ChunkId kChunkId_umid;
extern const ChunkId kChunkId_minf;
extern const ChunkId kChunkId_omfi;
extern const ChunkId kChunkId_ovwf;
extern const ChunkId kChunkId_regn;
extern const ChunkId kChunkId_bext;
extern const ChunkId kChunkId_RIFF;
extern const ChunkId kChunkId_WAVE;
extern const ChunkId kChunkId_fmt;
extern const ChunkId kChunkId_data;
extern const ChunkId kChunkId_smpl;
extern const ChunkId kChunkId_FORM;
extern const ChunkId kChunkId_AIFF;
extern const ChunkId kChunkId_AIFC;
extern const ChunkId kChunkId_COMM;
extern const ChunkId kChunkId_SSND;
extern const ChunkId kChunkId_INST;
extern const ChunkId kChunkId_MARK;
extern const ChunkId kCompression_NONE;
// 64-bit WAVE: the 'RF64' and 'BW64' headers and the 'ds64' sizes, and the
// 'JUNK' chunk that writers leave behind the header for 'ds64' to replace.
extern const ChunkId kChunkId_RF64;
extern const ChunkId kChunkId_BW64;
extern const ChunkId kChunkId_ds64;
extern const ChunkId kChunkId_JUNK;
extern const ChunkId kChunkId_FVER;
// The AIFF filler: zeros that readers skip.
extern const ChunkId kChunkId_FLLR;
