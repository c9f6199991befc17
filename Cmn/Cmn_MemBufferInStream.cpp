#include "Cmn/Cmn_MemBufferInStream.h"

#include <cstring>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_NullExceptionData.h"
#include "Cmn/Cmn_TypedException.h"

namespace
{
[[noreturn]] void ThrowEndOfFile()
{
    throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
}
} // namespace

Cmn_MemBufferInStream::Cmn_MemBufferInStream(void const* begin, void const* end)
    : mBegin(static_cast<unsigned char const*>(begin)), mCurrent(mBegin), mEnd(static_cast<unsigned char const*>(end))
{
    CMN_ASSERT(mBegin <= mEnd);
}

void Cmn_MemBufferInStream::Read(void* buffer, int32 count)
{
    // A negative count is refused as well: it is never a length.
    if (count < 0 || count > mEnd - mCurrent)
        ThrowEndOfFile();
    if (count > 0)
        std::memcpy(buffer, mCurrent, std::size_t(count));
    mCurrent += count;
}

void Cmn_MemBufferInStream::SetPos(int32 position)
{
    // A negative position would point before the block: refused like one
    // past its end, so that no later read leaves the block.
    if (position < 0 || position > mEnd - mBegin)
        ThrowEndOfFile();
    mCurrent = mBegin + position;
}
