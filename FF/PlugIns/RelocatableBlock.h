// Relocatable blocks: a stable handle (char**) to a heap block that knows
// its size. Overview payloads travel between the audio file object and the
// handlers as such handles, so that either side can hold or dispose of them.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <cstdint>

namespace RelocatableBlock
{

// A new block of `size` bytes, zero-filled. Throws std::bad_alloc.
char** New(i64 size);
// Frees the block and its handle; null is accepted.
void Dispose(char** handle);
i64 GetSize(char** handle);

} // namespace RelocatableBlock
