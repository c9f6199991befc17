#include "Sys/Sys_SwapBlock.h"

#include <utility>

void Sys_SwapBlock(char* block, int32 size)
{
    if (size < 2)
        return;
    for (int32 i = 0, j = size - 1; i < j; ++i, --j)
        std::swap(block[i], block[j]);
}
