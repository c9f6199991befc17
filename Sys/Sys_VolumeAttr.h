#pragma once

#include <iosfwd>
#include <string>

#include "Cmn/Cmn_Types.h"

// What a mounted volume says about itself at the moment it is asked.
class Sys_VolumeAttr
{
public:
    Sys_VolumeAttr();
    Sys_VolumeAttr(std::string const& name, int64 size, int64 freeSpace, bool isSystemVolume);

    std::string const& GetName() const { return mName; }
    // Bytes of the volume.
    int64 GetSize() const { return mSize; }
    // Bytes available to the caller.
    int64 GetFreeSpace() const { return mFreeSpace; }
    bool IsSystemVolume() const { return mIsSystemVolume; }

    // A debug print; sizes are printed as their low 32 bits, as they always were.
    void Print(std::ostream& os) const;

private:
    std::string mName;
    int64 mSize;
    int64 mFreeSpace;
    bool mIsSystemVolume;
};
