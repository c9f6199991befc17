#pragma once

#include "Cmn/Cmn_Interval.h"
#include "Cmn/Cmn_Types.h"

#include <iosfwd>
#include <list>

// A set of positions on a 64-bit line, kept as intervals sorted by start that
// neither overlap nor touch: inserting a stretch that reaches or overlaps
// its neighbours joins them into one. Ends are exclusive, so [10, 20) and
// [20, 30) are one interval [10, 30). Empty intervals hold no position and
// are never kept.
//
// Compaction holds the stretches of a file to keep in one, and asks it where
// a position of the file lands once they are laid end to end.
//
// One thread at a time.
class Cmn_IntervalList
{
public:
    using const_iterator = std::list<Cmn_Interval>::const_iterator;

    // Adds the positions of `interval` (start at or below end).
    void Insert(Cmn_Interval interval);
    // Takes the positions of `interval` out; an interval that reaches over
    // either end of it is cut, one that holds it in its middle is split.
    void Delete(Cmn_Interval interval);
    // True if one single interval holds the whole of `interval`: a stretch
    // that spans a gap is not contained even if both its ends are.
    bool Contains(Cmn_Interval const& interval) const;
    // Where position `v` lands when the intervals are laid end to end: the
    // lengths of the intervals before it plus its offset in its own. A
    // position at an interval's end maps to the end of that interval, one in
    // a gap or behind the last interval is an assertion.
    int64 MapFlatToSparse(int64 v) const;
    // "( start, end )" for each interval, with nothing between or after.
    void Print(std::ostream& out) const;

    bool IsEmpty() const { return mIntervals.empty(); }
    std::size_t GetNumIntervals() const { return mIntervals.size(); }
    // The sum of the lengths: the length of the intervals laid end to end.
    int64 GetTotalLength() const;
    void Clear() { mIntervals.clear(); }

    const_iterator begin() const { return mIntervals.begin(); }
    const_iterator end() const { return mIntervals.end(); }

private:
    std::list<Cmn_Interval> mIntervals;
};
