// Relocatable blocks: a stable handle (char**) to a heap block that knows
// its size. Overview payloads travel between the audio file object and the
// handlers as such handles, so that either side can hold or dispose of them.
#pragma once

#include <cstdint>

namespace RelocatableBlock
{

// A new block of `size` bytes, zero-filled. Throws std::bad_alloc.
char** New(std::int64_t size);
// Frees the block and its handle; null is accepted.
void Dispose(char** handle);
std::int64_t GetSize(char** handle);

} // namespace RelocatableBlock
