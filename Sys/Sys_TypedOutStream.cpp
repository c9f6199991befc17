#include "Sys/Sys_TypedOutStream.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_OutStream.h"
#include "Sys/Sys_SwapBlock.h"

Sys_TypedOutStream::Sys_TypedOutStream(Cmn_OutStream* stream, ESwapMode swapMode) : mStream(stream), mSwapMode(swapMode)
{
    CMN_ASSERT(stream);
}

void Sys_TypedOutStream::Write(bool value)
{
    u8 const byte = value ? 1 : 0;
    mStream->Write(&byte, 1);
}

void Sys_TypedOutStream::WriteBlock(void const* buffer, int32 count)
{
    mStream->Write(buffer, count);
}

int32 Sys_TypedOutStream::GetPos()
{
    return mStream->GetPos();
}

void Sys_TypedOutStream::SetPos(int32 position)
{
    mStream->SetPos(position);
}

int32 Sys_TypedOutStream::GetEndPos()
{
    return mStream->GetEndPos();
}

void Sys_TypedOutStream::CleanUp()
{
    mStream->CleanUp();
}

void Sys_TypedOutStream::Reserve(int32 count)
{
    mStream->Reserve(count);
}
