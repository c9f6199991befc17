#include "Sys/Sys_MacRoman.h"

namespace
{

// 0x80 to 0xFF, as published.
constexpr u16 kHighHalf[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, // 0x80
    0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8, // 0x88
    0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, // 0x90
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, // 0x98
    0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF, // 0xA0
    0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, // 0xA8
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, // 0xB0
    0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, // 0xB8
    0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, // 0xC0
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, // 0xC8
    0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, // 0xD0
    0x00FF, 0x0178, 0x2044, 0x00A4, 0x2039, 0x203A, 0xFB01, 0xFB02, // 0xD8; 0xDB: the currency sign
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, // 0xE0
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, // 0xE8
    0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC, // 0xF0
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7, // 0xF8
};

// U+F020 to U+F029.
constexpr char kPrivateUse[10] = {'"', '*', '/', '<', '>', '?', '\\', '|', ' ', '.'};

} // namespace

u16 Sys_MacRoman::ToUnicode(u8 byte)
{
    return byte < 0x80 ? byte : kHighHalf[byte - 0x80];
}

bool Sys_MacRoman::FromUnicode(u16 character, u8* byte)
{
    if (character < 0x80)
    {
        *byte = u8(character);
        return true;
    }
    for (int i = 0; i < 128; ++i)
        if (kHighHalf[i] == character)
        {
            *byte = u8(0x80 + i);
            return true;
        }
    return false;
}

u16 Sys_MacRoman::FromPrivateUse(u16 character)
{
    if (character >= 0xF000 && character <= 0xF01F)
        return u16(character + 0x1000);
    if (character >= 0xF020 && character <= 0xF029)
        return u16(u8(kPrivateUse[character - 0xF020]));
    return character;
}

std::u16string Sys_MacRoman::FromUtf8(std::string const& text)
{
    std::u16string out;
    for (size_t i = 0; i < text.size();)
    {
        u8 const c = u8(text[i]);
        int const extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
        u32 cp = extra == 0 ? c : c & (0x3F >> extra);
        bool ok = true;
        for (int k = 1; ok && k <= extra; ++k)
        {
            if (i + size_t(k) >= text.size() || (u8(text[i + size_t(k)]) & 0xC0) != 0x80)
                ok = false;
            else
                cp = (cp << 6) | (u8(text[i + size_t(k)]) & 0x3F);
        }
        if (!ok || c >= 0xF8 || (c >= 0x80 && c < 0xC0))
        {
            out += char16_t(c);
            ++i;
            continue;
        }
        if (cp >= 0x10000)
        {
            cp -= 0x10000;
            out += char16_t(0xD800 + (cp >> 10));
            out += char16_t(0xDC00 + (cp & 0x3FF));
        }
        else
            out += char16_t(cp);
        i += size_t(extra) + 1;
    }
    return out;
}

std::string Sys_MacRoman::FromName(u16 const* characters, size_t count)
{
    std::string out;
    for (size_t i = 0; i < count; ++i)
    {
        u8 byte;
        out += FromUnicode(characters[i], &byte) ? char(byte) : '_';
    }
    return out;
}
