#pragma once

#include <array>
#include <bit>
#include <iosfwd>
#include <string>

#include "Cmn/Cmn_PolyVector.h"
#include "Cmn/Cmn_Types.h"

// Collects time measurements in raw clock ticks into bins of equal width on
// a logarithmic scale, five to a decade, and prints the smallest, largest and
// average value and the bins in readable units: a range of several decades
// at a glance, for real-time profiling.
//
// Bin 0 holds what lies below one display unit (ticksPerUnit ticks); bin
// i >= 1 what lies from 10^((i-1)/5) units on. Log finds the bin from the
// value's bit length and a table of the bins' first values, made once by the
// constructor from the logarithm itself, so that the bins are exactly those
// of the formula (see FormulaBin) and no logarithm is taken per value.
//
// For one thread: Log is called by the measuring thread, and Dump after the
// measurement has ended.
class Cmn_LogHistogram
{
public:
    // smallestTime is the time of bin 1's border in display units, 1.0 or
    // more; ticksPerUnit is 1 or more.
    Cmn_LogHistogram(i64 ticksPerUnit, double smallestTime);

    void Reset();
    void Log(i64 value)
    {
        // Without branches that random values would mispredict.
        bool const first = mCount == 0;
        mMin = first || value < mMin ? value : mMin;
        mMax = first || value > mMax ? value : mMax;
        // Counters wrap rather than overflow.
        mTotal = i64(u64(mTotal) + u64(value));
        mCount = i32(u32(mCount) + 1);
        int const bin = BinOf(value);
        if (std::size_t(bin) >= mBins.Size())
            mBins.Resize(bin + 1, 0);
        mBins[bin] = i32(u32(mBins[bin]) + 1);
    }

    // Unit names: index 0 names 10^0 display units, index 1 10^3, and so on.
    void AddExponentString(std::string const& name);

    // "Min: x, Max: x, avg: x, count: n" when there are values, then one line
    // per bin: its lower border and its count.
    void Dump(std::ostream& os) const;

    // Three significant digits at most and the unit: "1.5s", "15ms", "150ms".
    // Below 1.0, "<" and the smallest time.
    std::string FormatTime(double t) const;
    std::string FormatRawTime(i64 value) const;

    // The bin of value as the defining formula gives it: 0 below one unit,
    // otherwise floor(ln(value / ticksPerUnit) / (ln 10 / 5) + 1), at least 1.
    int FormulaBin(i64 value) const;
    // The same through the tables.
    int BinOf(i64 value) const
    {
        if (value < mFirstValue)
            return 0;
        // A bit length spans about 1.5 bins: at most two borders lie above
        // its first value's bin (the constructor makes sure).
        int const bin = mFirstBinOfBitLength[63 - std::countl_zero(u64(value))];
        return bin + int(u64(value) >= mBinStart[bin + 1]) + int(u64(value) >= mBinStart[bin + 2]);
    }

    i64 GetMin() const { return mMin; }
    i64 GetMax() const { return mMax; }
    i64 GetTotal() const { return mTotal; }
    i32 GetCount() const { return mCount; }
    Cmn_PolyVector<i32> const& GetBins() const { return mBins; }

private:
    static constexpr int kMaxBins = 128;

    double mLogBinWidth;
    double mTicksPerUnit;
    double mSmallestTime;
    Cmn_PolyVector<std::string> mExponentStrings;
    Cmn_PolyVector<i32> mBins;
    i64 mMin;
    i64 mMax;
    i64 mTotal;
    i32 mCount;

    // The smallest value of bin 1; values below it are in bin 0.
    i64 mFirstValue = 0;
    // mBinStart[b]: the smallest value of bin b, for 1 <= b <= the last bin
    // any value reaches; above that, a border that no value reaches.
    std::array<u64, kMaxBins + 3> mBinStart{};
    // The bin of the smallest value of each bit length at or above bin 1.
    std::array<u8, 64> mFirstBinOfBitLength{};
};
