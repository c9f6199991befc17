#include "FF/FF_AudioProcessRequantize.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <cstring>

namespace
{
using Block = FF_AudioProcessBlock;

template <int InBytes, int OutBytes, int Shift> void Widen(char const* in, char* out, u64 count)
{
    for (u64 n = 0; n < count; ++n)
    {
        i32 const s = Block::LoadSample<InBytes>(in + n * InBytes);
        Block::StoreSample<OutBytes>(out + n * OutBytes, static_cast<i32>(static_cast<u32>(s) << Shift));
    }
}

template <int InBytes, int OutBytes, bool InFloat, typename Quantizer>
[[gnu::always_inline]] inline void NarrowBody(Quantizer& quantize, char const* in, char* out, u64 count)
{
    // Results go to a local array first, then to the output bytes in a loop
    // of their own, away from the chain of the quantiser's state.
    constexpr u64 cRun = 256;
    i32 results[cRun];
    for (u64 n = 0; n < count; n += cRun)
    {
        u64 const m = std::min(cRun, count - n);
        char const* from = in + n * InBytes;
        quantize.template QuantizeRun<InFloat>([from](u64 u) { return Block::LoadSample<InBytes>(from + u * InBytes); },
                                               results, m);
        char* to = out + n * OutBytes;
        for (u64 u = 0; u < m; ++u)
            Block::StoreSample<OutBytes>(to + u * OutBytes, results[u]);
    }
}

#if defined(__x86_64__)
// Truncation in one instruction takes SSE 4.1.
template <int InBytes, int OutBytes, typename Quantizer>
__attribute__((target("sse4.1"))) void NarrowSse41(Quantizer& quantize, char const* in, char* out, u64 count)
{
    NarrowBody<InBytes, OutBytes, true>(quantize, in, out, count);
}

bool HaveSse41()
{
    static bool const have = __builtin_cpu_supports("sse4.1");
    return have;
}
#endif

template <int InBytes, int OutBytes, typename Quantizer>
void Narrow(Quantizer& quantize, char const* in, char* out, u64 count)
{
#if defined(__x86_64__)
    if (HaveSse41())
        return NarrowSse41<InBytes, OutBytes>(quantize, in, out, count);
#endif
    NarrowBody<InBytes, OutBytes, false>(quantize, in, out, count);
}

template <int InBytes, int OutBytes, int Shift> void ShiftDown(char const* in, char* out, u64 count)
{
    for (u64 n = 0; n < count; ++n)
        Block::StoreSample<OutBytes>(out + n * OutBytes, Block::LoadSample<InBytes>(in + n * InBytes) >> Shift);
}

// Samples of 12 or 20 bits (files say so) stand in the high bits of 16 or
// 24, their low bits zero: as a stream they are samples of the full width,
// and are converted as such rather than refused.
u16 StreamWidth(u16 bits)
{
    return static_cast<u16>((bits + 7) / 8 * 8);
}
} // namespace

FF_AudioProcessRequantize::FF_AudioProcessRequantize(u16 inBits, u16 outBits) : mInBits(inBits), mOutBits(outBits)
{
    SetName(GetTaskName());
    u16 const width = StreamWidth(inBits);
    if (width > outBits && outBits >= 1 && width <= 32)
    {
        mDither = std::make_unique<Dither>(width, outBits);
        mNoiseShape = std::make_unique<NoiseShape>(width, outBits);
    }
}

FF_AudioProcessRequantize::~FF_AudioProcessRequantize() = default;

void FF_AudioProcessRequantize::SetRequantizeFn()
{
    using F = FF_AudioProcessRequantize;
    mRequantizeFn = nullptr;
    auto const pair = [](int in, int out) { return in * 100 + out; };
    switch (pair(StreamWidth(mInBits), mOutBits))
    {
    case 808:
    case 1616:
    case 2424:
    case 3232: mRequantizeFn = &F::RequantizeNoOp; break;
    case 816: mRequantizeFn = &F::Requantize8x16; break;
    case 824: mRequantizeFn = &F::Requantize8x24; break;
    case 832: mRequantizeFn = &F::Requantize8x32; break;
    case 1608: mRequantizeFn = &F::Requantize16x8; break;
    case 1624: mRequantizeFn = &F::Requantize16x24; break;
    case 1632: mRequantizeFn = &F::Requantize16x32; break;
    case 2408: mRequantizeFn = &F::Requantize24x8; break;
    case 2416: mRequantizeFn = &F::Requantize24x16; break;
    case 2432: mRequantizeFn = &F::Requantize24x32; break;
    // 32-bit integer files are common (every tool writes them), and they
    // must narrow like the others: dither to 16 bits, error feedback alone
    // to 8 and to 24 bits.
    case 3208: mRequantizeFn = &F::Requantize32x8; break;
    case 3216: mRequantizeFn = &F::Requantize32x16; break;
    case 3224: mRequantizeFn = &F::Requantize32x24; break;
    default: break;
    }
    CMN_ASSERT(mRequantizeFn != nullptr);
}

void FF_AudioProcessRequantize::Preflight(FF_AudioProcessBlock* block)
{
    CMN_ASSERT(block->GetBitsPerSample() == mInBits);
    block->SetBitsPerSample(mOutBits);
    SetRequantizeFn();
}

void FF_AudioProcessRequantize::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    CMN_ASSERT(in->GetBitsPerSample() == mInBits);
    CMN_ASSERT(mRequantizeFn != nullptr);
    i64 const count = in->GetNumSamples();
    u16 const channels = in->GetNumChannels();
    i64 const inBytes = count * ((mInBits + 7) / 8);
    i64 const outBytes = count * ((mOutBits + 7) / 8);
    bool const fits = count >= 0 && channels <= in->GetNumChannelBuffers() && channels <= out->GetNumChannelBuffers() &&
                      inBytes <= in->GetChannelCapacity() && outBytes <= out->GetChannelCapacity();
    CMN_ASSERT(fits);
    if (in->GetBitsPerSample() != mInBits || mRequantizeFn == nullptr || !fits)
        return;
    for (u16 ch = 0; ch < channels; ++ch)
        (this->*mRequantizeFn)(in->GetChannelData(ch), out->GetChannelData(ch), static_cast<u64>(count));
    out->SetBitsPerSample(mOutBits);
}

void FF_AudioProcessRequantize::RequantizeNoOp(char const* in, char* out, u64 count)
{
    std::memcpy(out, in, count * ((mInBits + 7u) / 8u));
}

void FF_AudioProcessRequantize::Requantize8x16(char const* in, char* out, u64 count)
{
    Widen<1, 2, 8>(in, out, count);
}
void FF_AudioProcessRequantize::Requantize8x24(char const* in, char* out, u64 count)
{
    Widen<1, 3, 16>(in, out, count);
}
void FF_AudioProcessRequantize::Requantize8x32(char const* in, char* out, u64 count)
{
    Widen<1, 4, 24>(in, out, count);
}
void FF_AudioProcessRequantize::Requantize16x24(char const* in, char* out, u64 count)
{
    Widen<2, 3, 8>(in, out, count);
}
void FF_AudioProcessRequantize::Requantize16x32(char const* in, char* out, u64 count)
{
    Widen<2, 4, 16>(in, out, count);
}
void FF_AudioProcessRequantize::Requantize24x32(char const* in, char* out, u64 count)
{
    Widen<3, 4, 8>(in, out, count);
}

void FF_AudioProcessRequantize::Requantize16x8(char const* in, char* out, u64 count)
{
    if (mUseNoiseShaping)
        Narrow<2, 1>(*mNoiseShape, in, out, count);
    else
        ShiftDown<2, 1, 8>(in, out, count);
}

void FF_AudioProcessRequantize::Requantize24x8(char const* in, char* out, u64 count)
{
    if (mUseNoiseShaping)
        Narrow<3, 1>(*mNoiseShape, in, out, count);
    else
        ShiftDown<3, 1, 16>(in, out, count);
}

void FF_AudioProcessRequantize::Requantize32x8(char const* in, char* out, u64 count)
{
    Narrow<4, 1>(*mNoiseShape, in, out, count);
}

void FF_AudioProcessRequantize::Requantize32x16(char const* in, char* out, u64 count)
{
    Narrow<4, 2>(*mDither, in, out, count);
}

void FF_AudioProcessRequantize::Requantize32x24(char const* in, char* out, u64 count)
{
    Narrow<4, 3>(*mNoiseShape, in, out, count);
}

void FF_AudioProcessRequantize::Requantize24x16(char const* in, char* out, u64 count)
{
    if (mUseNoiseShaping)
        Narrow<3, 2>(*mDither, in, out, count);
    else
        ShiftDown<3, 2, 8>(in, out, count);
}
