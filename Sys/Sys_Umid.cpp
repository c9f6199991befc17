#include "Sys/Sys_Umid.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <ctime>
#include <istream>
#include <ostream>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_SwapBlock.h"
#include "Sys/Sys_Utils.h"

namespace
{

constexpr uint32 kUmidConstant = 457;
constexpr char kDigits[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789#!";

uint32 TimeValue()
{
    return static_cast<uint32>(static_cast<uint64>(Sys_Utils::Microseconds() / 100));
}

} // namespace

Sys_Umid::Sys_Umid(uint32 word0, uint32 word1, uint32 word2, uint32 word3) : mWords{word0, word1, word2, word3} {}

Sys_Umid Sys_Umid::Create()
{
    uint32 const clockValue = static_cast<uint32>(std::clock());
    uint32 const timeValue = TimeValue();
    // Wait for the time value to move on, so that the next call on this
    // thread cannot see the same one; at most 100 microseconds.
    while (TimeValue() == timeValue)
    {
    }
    return Sys_Umid(0, kUmidConstant, clockValue, timeValue);
}

void Sys_Umid::SwapIfWin32()
{
    if constexpr (std::endian::native == std::endian::little)
        for (uint32& word : mWords)
            Sys_SwapBlock(reinterpret_cast<char*>(&word), sizeof(word));
}

std::string Sys_Umid::AsString() const
{
    Sys_Umid copy = *this;
    copy.SwapIfWin32();
    unsigned char bytes[16];
    std::memcpy(bytes, copy.mWords, sizeof(bytes));

    int leadingZeros = 0;
    while (leadingZeros < 16 && bytes[leadingZeros] == 0)
        ++leadingZeros;
    int const significant = 16 - leadingZeros;
    int const digits = (significant * 8 + 5) / 6;

    std::string text;
    for (int d = 0; d < digits; ++d)
    {
        text += kDigits[bytes[15] & 0x3F];
        // Shift the whole 128-bit big-endian number right by 6 bits.
        for (int i = 15; i >= 0; --i)
        {
            unsigned const high = i > 0 ? bytes[i - 1] : 0u;
            bytes[i] = static_cast<unsigned char>((bytes[i] >> 6) | ((high << 2) & 0xFC));
        }
    }
    std::reverse(text.begin(), text.end());
    return text;
}

bool Sys_Umid::operator==(Sys_Umid const& other) const
{
    return std::memcmp(mWords, other.mWords, sizeof(mWords)) == 0;
}

bool Sys_Umid::operator<(Sys_Umid const& other) const
{
    return std::memcmp(mWords, other.mWords, sizeof(mWords)) < 0;
}

std::ostream& operator<<(std::ostream& os, Sys_Umid const& umid)
{
    return os << umid.mWords[0] << '.' << umid.mWords[1] << '.' << umid.mWords[2] << '.' << umid.mWords[3];
}

std::istream& operator>>(std::istream& is, Sys_Umid& umid)
{
    CMN_ASSERT(false);
    unsigned char* const bytes = reinterpret_cast<unsigned char*>(umid.mWords);
    for (int i = 0; i < 16; ++i)
    {
        char c = 0;
        is >> c;
        bytes[i] = static_cast<unsigned char>(c);
    }
    return is;
}
