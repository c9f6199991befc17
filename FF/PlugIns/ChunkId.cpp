#include "FF/PlugIns/ChunkId.h"

const ChunkId kChunkId_Elmo = ChunkIdFromText("Elmo");
const ChunkId kChunkId_umid = ChunkIdFromText("umid");
const ChunkId kChunkId_minf = ChunkIdFromText("minf");
const ChunkId kChunkId_omfi = ChunkIdFromText("omfi");
const ChunkId kChunkId_ovwf = ChunkIdFromText("ovwf");
const ChunkId kChunkId_regn = ChunkIdFromText("regn");
const ChunkId kChunkId_bext = ChunkIdFromText("bext");
const ChunkId kChunkId_RIFF = ChunkIdFromText("RIFF");
const ChunkId kChunkId_WAVE = ChunkIdFromText("WAVE");
const ChunkId kChunkId_fmt = ChunkIdFromText("fmt ");
const ChunkId kChunkId_data = ChunkIdFromText("data");
const ChunkId kChunkId_smpl = ChunkIdFromText("smpl");
const ChunkId kChunkId_FORM = ChunkIdFromText("FORM");
const ChunkId kChunkId_AIFF = ChunkIdFromText("AIFF");
const ChunkId kChunkId_AIFC = ChunkIdFromText("AIFC");
const ChunkId kChunkId_COMM = ChunkIdFromText("COMM");
const ChunkId kChunkId_SSND = ChunkIdFromText("SSND");
const ChunkId kChunkId_INST = ChunkIdFromText("INST");
const ChunkId kChunkId_MARK = ChunkIdFromText("MARK");
const ChunkId kCompression_NONE = ChunkIdFromText("NONE");
const ChunkId kChunkId_RF64 = ChunkIdFromText("RF64");
const ChunkId kChunkId_BW64 = ChunkIdFromText("BW64");
const ChunkId kChunkId_ds64 = ChunkIdFromText("ds64");
const ChunkId kChunkId_JUNK = ChunkIdFromText("JUNK");
const ChunkId kChunkId_FVER = ChunkIdFromText("FVER");
const ChunkId kChunkId_FLLR = ChunkIdFromText("FLLR");
