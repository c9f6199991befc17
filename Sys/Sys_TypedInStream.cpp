#include "Sys/Sys_TypedInStream.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_InStream.h"
#include "Sys/Sys_SwapBlock.h"

Sys_TypedInStream::Sys_TypedInStream(Cmn_InStream* stream, ESwapMode swapMode) : mStream(stream), mSwapMode(swapMode)
{
    CMN_ASSERT(stream);
}

void Sys_TypedInStream::Read(bool* value)
{
    // One byte; any byte but 0 is true (a bool may hold no other value).
    u8 byte = 0;
    mStream->Read(&byte, 1);
    *value = byte != 0;
}

void Sys_TypedInStream::ReadBlock(void* buffer, int32 count)
{
    mStream->Read(buffer, count);
}

int32 Sys_TypedInStream::GetPos()
{
    return mStream->GetPos();
}

void Sys_TypedInStream::SetPos(int32 position)
{
    mStream->SetPos(position);
}

int32 Sys_TypedInStream::GetEndPos()
{
    return mStream->GetEndPos();
}
