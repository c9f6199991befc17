#include "Sys/Sys_Int64StreamIO.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <istream>
#include <ostream>

namespace
{
constexpr int kBufferSize = 256;

bool IsHex(std::ios_base const& s)
{
    return (s.flags() & std::ios_base::basefield) == std::ios_base::hex;
}

template <class T> bool ReadToken(std::istream& is, T& value)
{
    char buffer[kBufferSize] = {};
    if (!(is >> std::setw(kBufferSize) >> buffer))
        return false;
    char const* first = buffer;
    char const* const last = buffer + std::strlen(buffer);
    int base = 10;
    if (IsHex(is))
    {
        base = 16;
        if (last - first > 2 && first[0] == '0' && (first[1] == 'x' || first[1] == 'X'))
            first += 2;
    }
    if (*first == '+')
        ++first;
    T parsed{};
    auto const result = std::from_chars(first, last, parsed, base);
    if (result.ec != std::errc() || result.ptr != last || first == last)
    {
        is.setstate(std::ios_base::failbit);
        return false;
    }
    value = parsed;
    return true;
}
} // namespace

void Sys_WriteInt64(std::ostream& os, int64 value)
{
    char buffer[kBufferSize];
    if (IsHex(os))
        std::snprintf(buffer, sizeof buffer, "%" PRIX64, uint64(value));
    else
        std::snprintf(buffer, sizeof buffer, "%" PRId64, value);
    os << buffer;
}

void Sys_WriteUInt64(std::ostream& os, uint64 value)
{
    char buffer[kBufferSize];
    if (IsHex(os))
        std::snprintf(buffer, sizeof buffer, "%" PRIX64, value);
    else
        std::snprintf(buffer, sizeof buffer, "%" PRIu64, value);
    os << buffer;
}

void Sys_ReadInt64(std::istream& is, int64& value)
{
    if (!IsHex(is))
    {
        ReadToken(is, value);
        return;
    }
    // Hex is the bits of the number, as it is written.
    uint64 bits = 0;
    if (ReadToken(is, bits))
        value = int64(bits);
}

void Sys_ReadUInt64(std::istream& is, uint64& value)
{
    ReadToken(is, value);
}
