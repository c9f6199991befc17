#pragma once

#include <iosfwd>

#include "Cmn/Cmn_Types.h"

// What the file system says about one file. Times are in the 64-bit file
// time units of the whole system layer: 100 ns since 1601-01-01 UTC.
class Sys_FileAttr
{
public:
    // Leaves the fields unset: a value to be assigned to.
    Sys_FileAttr() = default;
    Sys_FileAttr(int64 size, bool readOnly, int64 created, int64 modified);
    virtual ~Sys_FileAttr() = default;
    Sys_FileAttr(Sys_FileAttr const&) = default;
    Sys_FileAttr& operator=(Sys_FileAttr const&) = default;

    int64 GetSize() const { return mSize; }
    bool IsReadOnly() const { return mReadOnly; }
    int64 GetCreated() const { return mCreated; }
    int64 GetModified() const { return mModified; }

    // A debug print. The size is printed as its low 32 bits on purpose: the
    // print has always looked like that and people read logs by it.
    virtual void Print(std::ostream& os) const;

private:
    int64 mSize;
    bool mReadOnly;
    int64 mCreated;
    int64 mModified;
};
