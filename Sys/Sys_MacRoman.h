#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

// The characters of Macintosh file names.
class Sys_MacRoman
{
public:
    // The Unicode character of a Mac OS Roman byte: below 0x80 the byte
    // itself, above it the published table, except that 0xDB gives the
    // currency sign U+00A4 (the table's earlier form), not the euro sign.
    static u16 ToUnicode(u8 byte);
    // The Mac OS Roman byte of a 16-bit character; false if it has none.
    static bool FromUnicode(u16 character, u8* byte);
    // A character of a name as a Windows or Samba server stores it: the
    // characters a Windows name may not hold are kept in the private-use
    // range U+F000 to U+F029 and come back here (U+F022 is '/').
    static u16 FromPrivateUse(u16 character);
    // UTF-8 text in 16-bit characters (pairs above U+FFFF); a byte that
    // begins no character stands for itself.
    static std::u16string FromUtf8(std::string const& text);
    // A Macintosh name of 16-bit characters in Mac OS Roman; a character
    // without a place in it becomes "_".
    static std::string FromName(u16 const* characters, size_t count);
};
