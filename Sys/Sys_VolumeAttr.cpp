#include "Sys/Sys_VolumeAttr.h"

#include <ostream>

Sys_VolumeAttr::Sys_VolumeAttr() : mSize(0), mFreeSpace(0), mIsSystemVolume(false) {}

Sys_VolumeAttr::Sys_VolumeAttr(std::string const& name, int64 size, int64 freeSpace, bool isSystemVolume)
    : mName(name), mSize(size), mFreeSpace(freeSpace), mIsSystemVolume(isSystemVolume)
{
}

void Sys_VolumeAttr::Print(std::ostream& os) const
{
    os << "Volume Name: " << mName << '\n';
    os << "Volume size: " << static_cast<uint32>(static_cast<uint64>(mSize)) << " bytes" << '\n';
    os << "Volume Free Space: " << static_cast<uint32>(static_cast<uint64>(mFreeSpace)) << " bytes" << '\n';
}
