#include "FF/PlugIns/RelocatableBlock.h"
#include "Cmn/Cmn_Types.h"

#include <cstring>
#include <new>

namespace
{
// The handle points at the first field, so a char** is the address of `data`.
struct Block
{
    char* data;
    i64 size;
};
} // namespace

namespace RelocatableBlock
{

char** New(i64 size)
{
    if (size < 0)
        throw std::bad_alloc();
    auto* block = new Block{nullptr, size};
    block->data = new (std::nothrow) char[static_cast<std::size_t>(size > 0 ? size : 1)]();
    if (!block->data)
    {
        delete block;
        throw std::bad_alloc();
    }
    return &block->data;
}

void Dispose(char** handle)
{
    if (!handle)
        return;
    auto* block = reinterpret_cast<Block*>(handle);
    delete[] block->data;
    delete block;
}

i64 GetSize(char** handle)
{
    return handle ? reinterpret_cast<Block*>(handle)->size : 0;
}

} // namespace RelocatableBlock
