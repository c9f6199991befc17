#pragma once

#include "Cmn/Cmn_Types.h"

// Reverses the bytes of one value in place, to turn it between host order
// and the other byte order. For an odd size the middle byte stays; a size of
// 0 or 1, or a negative one, changes nothing.
void Sys_SwapBlock(char* block, int32 size);
