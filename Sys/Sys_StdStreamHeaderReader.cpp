#include "Sys/Sys_StdStreamHeaderReader.h"

#include <cstring>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_NullExceptionData.h"
#include "Cmn/Cmn_TypedException.h"
#include "Sys/Sys_TypedInStream.h"

Sys_StdStreamHeaderReader::Sys_StdStreamHeaderReader(Sys_TypedInStream& stream, char const* magic) : mStream(stream)
{
    std::size_t length = std::strlen(magic);
    CMN_ASSERT(length <= kMaxMagicLength);
    if (length > kMaxMagicLength)
        length = kMaxMagicLength;
    char found[kMaxMagicLength];
    mStream.ReadBlock(found, int32(length));
    if (std::memcmp(found, magic, length) != 0)
        throw "Magic ID does not match";
    mStream.Read(&mVersion);
    mStream.Read(&mSize);
    mBodyStart = mStream.GetPos();
    // A body that the stream cannot hold is a truncated record: said at once,
    // rather than after the fields have been read from what follows it.
    if (mSize < 0 || i64(mBodyStart) + mSize > mStream.GetEndPos())
        throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
}

void Sys_StdStreamHeaderReader::CheckVersion(int16 oldest, int16 newest) const
{
    if (mVersion < oldest)
        throw "Too old a version";
    if (mVersion > newest)
        throw "Cannot read data from newer version";
}

bool Sys_StdStreamHeaderReader::IsMoreLeft()
{
    return mStream.GetPos() < i64(mBodyStart) + mSize;
}

void Sys_StdStreamHeaderReader::SkipTheRest()
{
    mSkipped = true;
    i64 const end = i64(mBodyStart) + mSize;
    if (mStream.GetPos() > end)
        throw "Size of header doesn't match amount of data read";
    mStream.SetPos(int32(end));
}
