#pragma once

#include <iosfwd>

#include "Cmn/Cmn_Types.h"

// Text input and output of 64-bit numbers on standard streams: decimal, or
// upper-case hexadecimal without prefix when the stream's hex flag is set.
// Free functions rather than stream operators, because int64 and uint64 are
// long and unsigned long here and the standard streams have operators of
// their own for them.
//
// Output goes through a text buffer and is written as one string. Input
// reads one whitespace-delimited token (255 characters at most) and sets the
// stream's failbit if it is not a number of that type ("0x" may lead a hex
// number).
void Sys_WriteInt64(std::ostream& os, int64 value);
void Sys_WriteUInt64(std::ostream& os, uint64 value);
void Sys_ReadInt64(std::istream& is, int64& value);
void Sys_ReadUInt64(std::istream& is, uint64& value);
