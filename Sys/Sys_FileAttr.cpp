#include "Sys/Sys_FileAttr.h"

#include <ostream>

Sys_FileAttr::Sys_FileAttr(int64 size, bool readOnly, int64 created, int64 modified)
    : mSize(size), mReadOnly(readOnly), mCreated(created), mModified(modified)
{
}

void Sys_FileAttr::Print(std::ostream& os) const
{
    os << "Size: " << static_cast<uint32>(static_cast<uint64>(mSize)) << " bytes" << '\n';
    if (mReadOnly)
        os << "Read-Only" << '\n';
    os << "Created: " << mCreated << '\n';
    os << "Modified: " << mModified << '\n';
}
