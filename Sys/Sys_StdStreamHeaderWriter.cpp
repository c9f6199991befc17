#include "Sys/Sys_StdStreamHeaderWriter.h"

#include <cstring>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_TypedOutStream.h"

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& stream, char const* magic, int16 version)
    : mStream(stream)
{
    std::size_t length = std::strlen(magic);
    CMN_ASSERT(length <= kMaxMagicLength);
    if (length > kMaxMagicLength)
        length = kMaxMagicLength;
    mStream.WriteBlock(magic, int32(length));
    mStream.Write(version);
    mSizePos = mStream.GetPos();
    mStream.Write(int32(0));
    mBodyStart = mStream.GetPos();
}

void Sys_StdStreamHeaderWriter::PatchSize()
{
    CMN_ASSERT(!mPatched);
    mPatched = true;
    int32 const end = mStream.GetPos();
    mStream.SetPos(mSizePos);
    mStream.Write(int32(end - mBodyStart));
    mStream.SetPos(end);
}
