#pragma once

#include "Cmn/Cmn_Types.h"

// The copies between a stereo file's interleaved frames and a block's two
// channel buffers, for samples of 1, 2 or 3 bytes: the reader splits, the
// writer joins. Bytes are moved as they stand, in whatever order the file
// has them. The 16- and 24-bit forms run as vector loops where the
// processor has byte shuffles.
void FF_DeinterleaveStereo(char const* frames, char* left, char* right, i64 count, i32 bytesPerSample);
void FF_InterleaveStereo(char const* left, char const* right, char* frames, i64 count, i32 bytesPerSample);
