#include "Cmn/Cmn_IntervalList.h"

#include "Cmn/Cmn_Assert.h"

#include <algorithm>
#include <ostream>

void Cmn_IntervalList::Insert(Cmn_Interval interval)
{
    int64 const s = interval.start;
    int64 const e = interval.end;
    CMN_ASSERT(s <= e);
    if (s >= e)
        return;

    // prev: the last interval that starts before the new one.
    auto it = mIntervals.begin();
    auto prev = mIntervals.end();
    while (it != mIntervals.end() && it->start < s)
        prev = it++;
    // What starts inside the new interval and ends before its end is swallowed.
    while (it != mIntervals.end() && it->end < e)
        it = mIntervals.erase(it);
    auto const next = it;

    bool const havePrev = prev != mIntervals.end();
    bool const haveNext = next != mIntervals.end();
    if (havePrev && haveNext)
    {
        if (s <= prev->end && e >= next->start)
        {
            // Bridges the gap between the two.
            prev->end = next->end;
            mIntervals.erase(next);
        }
        else if (s > prev->end && e < next->start)
            mIntervals.insert(next, interval);
        else if (s <= prev->end)
            prev->end = std::max(prev->end, e);
        else
            next->start = std::min(next->start, s);
    }
    else if (havePrev)
    {
        if (s <= prev->end)
            prev->end = std::max(prev->end, e);
        else
            mIntervals.push_back(interval);
    }
    else if (haveNext)
    {
        if (e >= next->start)
            next->start = std::min(next->start, s);
        else
            mIntervals.insert(next, interval);
    }
    else
        mIntervals.push_back(interval);
}

void Cmn_IntervalList::Delete(Cmn_Interval interval)
{
    int64 const s = interval.start;
    int64 const e = interval.end;
    CMN_ASSERT(s <= e);
    if (s >= e)
        return;
    for (auto it = mIntervals.begin(); it != mIntervals.end() && it->start < e;)
    {
        if (it->end <= s)
        {
            ++it;
            continue;
        }
        // The parts in front of and behind the deleted stretch stay.
        if (it->start < s && it->end > e)
        {
            mIntervals.insert(it, Cmn_Interval(it->start, s));
            it->start = e;
            return;
        }
        if (it->start < s)
        {
            it->end = s;
            ++it;
        }
        else if (it->end > e)
        {
            it->start = e;
            return;
        }
        else
            it = mIntervals.erase(it);
    }
}

bool Cmn_IntervalList::Contains(Cmn_Interval const& interval) const
{
    for (auto const& i : mIntervals)
    {
        if (i.start > interval.start)
            break;
        if (i.end >= interval.end)
            return true;
    }
    return false;
}

int64 Cmn_IntervalList::MapFlatToSparse(int64 v) const
{
    int64 sum = 0;
    auto it = mIntervals.begin();
    for (; it != mIntervals.end() && it->end < v; ++it)
        sum += it->end - it->start;
    CMN_ASSERT(it != mIntervals.end() && v >= it->start);
    if (it == mIntervals.end())
        return sum;
    return sum + v - it->start;
}

void Cmn_IntervalList::Print(std::ostream& out) const
{
    for (auto const& i : mIntervals)
        out << "( " << i.start << ", " << i.end << " )";
}

int64 Cmn_IntervalList::GetTotalLength() const
{
    int64 sum = 0;
    for (auto const& i : mIntervals)
        sum += i.end - i.start;
    return sum;
}
