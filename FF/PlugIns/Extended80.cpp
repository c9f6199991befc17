#include "FF/PlugIns/Extended80.h"
#include "Cmn/Cmn_Types.h"

#include <bit>
#include <cstdint>

namespace
{
constexpr int kBias80 = 16383;
constexpr int kBias64 = 1023;
constexpr int kMaxExponent80 = 0x7FFF;
constexpr int kMaxExponent64 = 0x7FF;
constexpr u64 kIntegerBit = u64{1} << 63;
constexpr u64 kFractionMask64 = (u64{1} << 52) - 1;

// `value` shifted right by `shift` (1 to 64), rounded to nearest, ties to even.
u64 ShiftRightRounded(u64 value, int shift)
{
    if (shift > 64)
        return 0; // less than half of the smallest step
    u64 const kept = shift == 64 ? 0 : value >> shift;
    u64 const rest = shift == 64 ? value : value & ((u64{1} << shift) - 1);
    u64 const half = u64{1} << (shift - 1);
    if (rest > half || (rest == half && (kept & 1)))
        return kept + 1;
    return kept;
}
} // namespace

double x80tod(unsigned char const* bytes)
{
    u64 const sign = static_cast<u64>(bytes[0] >> 7) << 63;
    int const exponent = ((bytes[0] & 0x7F) << 8) | bytes[1];
    u64 mantissa = 0;
    for (int i = 2; i < 10; ++i)
        mantissa = (mantissa << 8) | bytes[i];

    if (exponent == kMaxExponent80)
    {
        // Infinity has a zero fraction; the integer bit does not count.
        u64 const bits = (mantissa & ~kIntegerBit) == 0 ? 0x7FF0000000000000ull : 0x7FF8000000000000ull;
        return std::bit_cast<double>(sign | bits);
    }
    if (mantissa == 0)
        return std::bit_cast<double>(sign);

    // Value = mantissa * 2^(e - bias - 63), with e = 1 for the denormals.
    // Normalised so that the leading one is bit 63, the unbiased exponent
    // of that one is:
    int const leading = std::countl_zero(mantissa);
    mantissa <<= leading;
    int const unbiased = (exponent == 0 ? 1 : exponent) - kBias80 - leading;
    int const biased = unbiased + kBias64;
    if (biased >= kMaxExponent64)
        return std::bit_cast<double>(sign | 0x7FF0000000000000ull);
    if (biased >= 1)
    {
        // 53 significant bits with the hidden one; a carry out of rounding
        // runs into the exponent field, and from the largest into infinity.
        u64 const significand = ShiftRightRounded(mantissa, 11);
        return std::bit_cast<double>(sign | ((static_cast<u64>(biased - 1) << 52) + significand));
    }
    // A double denormal: fraction * 2^-1074. Rounding up to 2^52 gives the
    // smallest normal, whose bits are the same number.
    return std::bit_cast<double>(sign | ShiftRightRounded(mantissa, 12 - biased));
}

void dtox80(double const* value, unsigned char* bytes)
{
    u64 const bits = std::bit_cast<u64>(*value);
    unsigned const sign = static_cast<unsigned>(bits >> 63);
    int const biased = static_cast<int>((bits >> 52) & kMaxExponent64);
    u64 const fraction = bits & kFractionMask64;

    int exponent = 0;
    u64 mantissa = 0;
    if (biased == kMaxExponent64)
    {
        exponent = kMaxExponent80;
        // A NaN stays a quiet NaN with its payload.
        mantissa = fraction == 0 ? kIntegerBit : kIntegerBit | (u64{1} << 62) | (fraction << 11);
    }
    else if (biased == 0 && fraction == 0)
    {
        exponent = 0;
        mantissa = 0;
    }
    else if (biased == 0)
    {
        // A double denormal is a normal number in the wider exponent.
        int const leading = std::countl_zero(fraction);
        mantissa = fraction << leading;
        exponent = 1 - kBias64 - 52 + 63 - leading + kBias80;
    }
    else
    {
        mantissa = kIntegerBit | (fraction << 11);
        exponent = biased - kBias64 + kBias80;
    }
    bytes[0] = static_cast<unsigned char>((sign << 7) | (exponent >> 8));
    bytes[1] = static_cast<unsigned char>(exponent & 0xFF);
    for (int i = 9; i >= 2; --i)
    {
        bytes[i] = static_cast<unsigned char>(mantissa & 0xFF);
        mantissa >>= 8;
    }
}
