// A four-character code ('WAVE', 'STR ') as a number, first character in the
// highest byte: the form of Macintosh file types, creators and resource
// types. (Chunk ids are kept otherwise: as the bytes lie in the file.)
#pragma once

#include "Cmn/Cmn_Types.h"

constexpr u32 Cmn_FourCharCode(char const (&text)[5])
{
    return (static_cast<u32>(static_cast<unsigned char>(text[0])) << 24) |
           (static_cast<u32>(static_cast<unsigned char>(text[1])) << 16) |
           (static_cast<u32>(static_cast<unsigned char>(text[2])) << 8) |
           static_cast<u32>(static_cast<unsigned char>(text[3]));
}
