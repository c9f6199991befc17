#include "Cmn/Cmn_PolyVectorOutStream.h"

#include <algorithm>
#include <cstring>

#include "Cmn/Cmn_Assert.h"

void Cmn_PolyVectorOutStream::Write(void const* buffer, int32 count)
{
    CMN_ASSERT(count >= 0);
    if (count <= 0)
        return;
    auto const* data = static_cast<unsigned char const*>(buffer);
    i64 const gap = i64(mBytes->Size()) - mPosition;
    if (gap < 0)
        mBytes->Insert(mBytes->End(), std::size_t(-gap), 0);
    else if (gap > 0)
    {
        int32 const n = int32(std::min<i64>(gap, count));
        std::memcpy(mBytes->Begin() + mPosition, data, std::size_t(n));
        mPosition += n;
        data += n;
        count -= n;
    }
    mBytes->Insert(mBytes->End(), data, data + count);
    mPosition += count;
}

void Cmn_PolyVectorOutStream::SetPos(int32 position)
{
    CMN_ASSERT(position >= 0);
    mPosition = std::max<int32>(position, 0);
}

void Cmn_PolyVectorOutStream::Reserve(int32 count)
{
    if (count > 0)
        mBytes->Reserve(std::size_t(count));
}
