#include "FF/FF_AudioProcessSplitter.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioProcessBlock.h"

#include <cstring>

void FF_AudioProcessSplitter::Preflight(FF_AudioProcessBlock* block)
{
    CMN_ASSERT(block->GetNumChannels() == 1);
    block->SetNumChannels(2);
}

void FF_AudioProcessSplitter::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    i64 const bytes = in->GetNumSamples() * in->GetBytesPerSample();
    bool const fits = in->GetNumChannels() == 1 && in->GetNumSamples() >= 0 && in->GetNumChannelBuffers() >= 1 &&
                      out->GetNumChannelBuffers() >= 2 && bytes <= in->GetChannelCapacity() &&
                      bytes <= out->GetChannelCapacity();
    CMN_ASSERT(fits);
    if (!fits)
        return;
    std::memcpy(out->GetChannelData(0), in->GetChannelData(0), static_cast<std::size_t>(bytes));
    std::memcpy(out->GetChannelData(1), in->GetChannelData(0), static_cast<std::size_t>(bytes));
    out->SetNumChannels(2);
}
