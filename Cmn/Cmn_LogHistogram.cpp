#include "Cmn/Cmn_LogHistogram.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <ostream>

#include "Cmn/Cmn_Assert.h"

namespace
{
constexpr i64 kMaxValue = std::numeric_limits<i64>::max();
}

Cmn_LogHistogram::Cmn_LogHistogram(i64 ticksPerUnit, double smallestTime)
    : mLogBinWidth(std::log(10.0) / 5), mTicksPerUnit(double(ticksPerUnit)), mSmallestTime(smallestTime)
{
    // Below one tick per unit the bins are meaningless, and below a smallest
    // time of 1.0 FormatTime would never end: both are kept in range even
    // when the assertion handler lets the code go on.
    CMN_ASSERT(ticksPerUnit >= 1);
    CMN_ASSERT(smallestTime >= 1.0);
    if (!(mTicksPerUnit >= 1))
        mTicksPerUnit = 1;
    if (!(mSmallestTime >= 1.0))
        mSmallestTime = 1.0;

    // The first value of each bin, by bisection on the formula, which grows
    // with the value. A bin spans a ratio of 10^0.2, so its first value lies
    // close to the exact border; the search starts from a narrow bracket
    // around it and falls back to the whole range if that does not hold it.
    auto firstValueOf = [this](int bin, i64 lo)
    {
        // The smallest value in [lo, kMaxValue] whose bin is at least bin, or
        // -1 if there is none. FormulaBin(lo - 1) < bin is known.
        if (FormulaBin(kMaxValue) < bin)
            return i64(-1);
        i64 hi = kMaxValue;
        double const guess = mTicksPerUnit * std::exp((bin - 1) * mLogBinWidth);
        if (guess < 0x1p62)
        {
            i64 const g = i64(guess);
            i64 const slack = g / (i64(1) << 20) + 2;
            if (g - slack > lo && FormulaBin(g - slack) < bin)
                lo = g - slack;
            if (g + slack > lo && FormulaBin(g + slack) >= bin)
                hi = g + slack;
        }
        while (lo < hi)
        {
            i64 const mid = lo + (hi - lo) / 2;
            if (FormulaBin(mid) >= bin)
                hi = mid;
            else
                lo = mid + 1;
        }
        return lo;
    };
    mBinStart.fill(std::numeric_limits<u64>::max());
    mFirstValue = kMaxValue;
    // The largest value, 2^63 as a double, is never below the ticks per unit,
    // so bin 1 is always reached; should it not be, every value stays in bin 0.
    i64 const first = firstValueOf(1, 1);
    if (first >= 0)
    {
        mFirstValue = first;
        mBinStart[1] = u64(first);
        for (int bin = 2; bin <= kMaxBins; ++bin)
        {
            i64 const start = firstValueOf(bin, i64(mBinStart[bin - 1]));
            if (start < 0)
                break;
            mBinStart[bin] = u64(start);
        }
        for (int bits = 0; bits < 63; ++bits)
        {
            i64 const low = std::max(i64(1) << bits, first);
            i64 const high = bits == 62 ? kMaxValue : (i64(1) << (bits + 1)) - 1;
            if (low > high)
                continue;
            mFirstBinOfBitLength[bits] = u8(FormulaBin(low));
            CMN_ASSERT(FormulaBin(high) - FormulaBin(low) <= 2);
        }
    }
    Reset();
}

void Cmn_LogHistogram::Reset()
{
    mBins.Clear();
    mMin = 0;
    mMax = 0;
    mTotal = 0;
    mCount = 0;
}

int Cmn_LogHistogram::FormulaBin(i64 value) const
{
    double const x = double(value);
    if (x < mTicksPerUnit)
        return 0;
    double const bin = std::floor(std::log(x / mTicksPerUnit) / mLogBinWidth + 1);
    return bin < 1 ? 1 : int(bin);
}

void Cmn_LogHistogram::AddExponentString(std::string const& name)
{
    mExponentStrings.PushBack(name);
}

std::string Cmn_LogHistogram::FormatTime(double t) const
{
    // Below 1.0, and for a value that is not a number, the smallest time.
    if (!(t >= 1.0))
        return "<" + FormatTime(mSmallestTime);
    if (t > DBL_MAX)
        t = DBL_MAX;
    // n := t * 10, truncated, with a digit dropped while it has three or more.
    // Digits beyond what a 64-bit integer holds are dropped in floating point
    // first; they never reach the three that are shown.
    int e = 0;
    double scaled = t * 10;
    while (scaled >= 1e18)
    {
        scaled /= 10;
        ++e;
    }
    i64 n = i64(scaled);
    while (n >= 100)
    {
        n /= 10;
        ++e;
    }
    char const a = char('0' + n / 10);
    char const b = char('0' + n % 10);
    std::string text;
    switch (e % 3)
    {
    case 0: text = {a, '.', b}; break;
    case 1: text = {a, b}; break;
    default: text = {a, b, '0'}; break;
    }
    std::size_t k = std::size_t(e / 3);
    while (k > 0 && k >= mExponentStrings.Size())
    {
        text += "000";
        --k;
    }
    if (!mExponentStrings.Empty())
        text += mExponentStrings[k];
    return text;
}

std::string Cmn_LogHistogram::FormatRawTime(i64 value) const
{
    return FormatTime(double(value) / mTicksPerUnit * mSmallestTime);
}

void Cmn_LogHistogram::Dump(std::ostream& os) const
{
    if (mCount > 0)
        os << "Min: " << FormatRawTime(mMin) << ", Max: " << FormatRawTime(mMax)
           << ", avg: " << FormatRawTime(mTotal / mCount) << ", count: " << mCount << "\n";
    if (mBins.Empty())
        return;
    os << "<" << FormatTime(mSmallestTime) << ": " << mBins[0] << "\n";
    for (std::size_t i = 1; i < mBins.Size(); ++i)
        os << FormatTime(std::exp(double(i - 1) * mLogBinWidth) * mSmallestTime) << ": " << mBins[i] << "\n";
}
