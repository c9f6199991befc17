#pragma once

#include "Cmn/Cmn_Types.h"

// A stretch of a 64-bit line from start to end. Where the library uses it for
// positions (sample frames), the end is exclusive.
class Cmn_Interval
{
public:
    Cmn_Interval() = default;
    Cmn_Interval(int64 s, int64 e) : start(s), end(e) {}

    int64 GetLength() const { return end - start; }
    bool operator==(Cmn_Interval const& other) const = default;

    int64 start = 0;
    int64 end = 0;
};
