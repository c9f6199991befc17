#include "FF/FF_AudioProcessSRC.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessSRCKernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

i32 FF_AudioProcessSRC::sKernelLevel = FF_AudioProcessSRC::kKernelBest;

namespace
{
using Block = FF_AudioProcessBlock;
using namespace ffsrc;

constexpr i32 cMaxOversample = 512;
// Outputs one lane of the periodic kernel covers at least: enough that the
// lane copies of the ring cost little next to the taps.
constexpr i64 cMinLaneSpan = 64;

bool IsKnownQuality(int q)
{
    return q == 0 || q == 17 || q == 33 || q == 129 || q == 257;
}

template <int Bytes> constexpr i64 MaxOf()
{
    return (i64{1} << (8 * Bytes - 1)) - 1;
}
template <int Bytes> constexpr i64 MinOf()
{
    return -(i64{1} << (8 * Bytes - 1));
}

// Add 0.5 and truncate toward zero, limited to the range of the width.
// Bounding in double first keeps the cast defined and, the bounds being
// integers, gives what truncating and then clamping would give.
template <int Bytes> i32 RoundToSample(f64 sum)
{
    f64 const v = std::clamp(sum + 0.5, static_cast<f64>(MinOf<Bytes>()), static_cast<f64>(MaxOf<Bytes>()));
    return static_cast<i32>(v);
}

} // namespace

FF_AudioProcessSRC::FF_AudioProcessSRC(i32 inRate, i32 outRate, EQuality quality)
    : mInRate(inRate), mOutRate(outRate), mQuality(quality)
{
    SetName(GetTaskName());
    bool const valid = inRate > 0 && outRate > 0 && IsKnownQuality(quality);
    CMN_ASSERT(valid);
    if (!valid)
    {
        // Carry on as a harmless linear stage between two positive rates.
        mInRate = std::max(inRate, 1);
        mOutRate = std::max(outRate, 1);
        mQuality = kQualityLinear;
    }
    i64 const g = std::gcd(mInRate, mOutRate);
    mPeriod = mOutRate / g;
    mPeriodInputs = mInRate / g;
    if (mQuality != kQualityLinear)
        CreateSincTable();
}

FF_AudioProcessSRC::~FF_AudioProcessSRC() = default;

void FF_AudioProcessSRC::CreateSincTable()
{
    i32 const g = std::gcd(mInRate, mOutRate);
    mOversample = std::min(mOutRate / g, cMaxOversample);
    i64 const taps = mQuality;
    i64 const L = (taps + 2) * mOversample;
    mSincTableSize = (L % 2 == 0) ? L + 1 : L;
    mSincTable = std::make_unique<f64[]>(static_cast<std::size_t>(mSincTableSize));

    f64 const pi = 2.0 * std::asin(1.0);
    f64 const c = std::min(static_cast<f64>(mOutRate) / static_cast<f64>(mInRate), 1.0);
    i64 const C = L / 2;
    mSincTable[C] = c;
    for (i64 k = 1; k <= C; ++k)
    {
        f64 const x = static_cast<f64>(k) * pi / mOversample;
        f64 const y = std::min(2.0 * x / static_cast<f64>(taps + 2), pi);
        f64 const w = 0.42 + 0.5 * std::cos(y) + 0.08 * std::cos(2.0 * y);
        f64 const v = std::sin(c * x) / (c * x) * w * c;
        mSincTable[C - k] = v;
        mSincTable[C + k] = v;
    }

    // Tap t of phase p reads entry mOversample - p + t * mOversample.
    mRows.resize(static_cast<std::size_t>(mOversample) * mQuality);
    for (i64 p = 0; p < mOversample; ++p)
        for (i64 t = 0; t < taps; ++t)
            mRows[p * taps + t] = mSincTable[mOversample - p + t * mOversample];
}

void FF_AudioProcessSRC::Preflight(FF_AudioProcessBlock* block)
{
    mInputLength = block->GetTotalSamples();
    i64 const in = mInRate;
    i64 const out = mOutRate;
    bool const lengthOk = mInputLength >= 0 && mInputLength <= (std::numeric_limits<i64>::max() - in) / out / 2;
    CMN_ASSERT(lengthOk);
    if (!lengthOk)
        mInputLength = 0;
    mOutputLength = (mInputLength * out + in - 1) / in;
    block->SetTotalSamples(mOutputLength);
    block->SetSampleRate(mOutRate);
    mNumChannels = block->GetNumChannels();

    // In 64 bits: n times the rate passes 32 bits for large blocks at high rates.
    i64 const n = block->GetNumSamples();
    bool const blockOk = n >= 0 && n <= std::numeric_limits<i32>::max() / 4;
    CMN_ASSERT(blockOk);
    mBlockCapacity = blockOk ? n : 0;
    i64 const a = (mBlockCapacity * out + in - 1) / in;
    i64 const b = (out + in - 1) / in;
    if (mQuality == kQualityLinear)
    {
        block->SetNumSamples(a + b);
    }
    else
    {
        block->SetNumSamples(b * mQuality / 2 + a);
        // Half a filter more than one block and one filter: the zeros put
        // after the last sample must not overwrite history still to be read.
        mRingSize = static_cast<i32>(mBlockCapacity - 1 + mQuality + mQuality / 2);
    }
}

void FF_AudioProcessSRC::AllocateImpl(FF_AudioProcessBlock const&)
{
    if (mQuality == kQualityLinear)
    {
        mLastSamples = std::make_unique<i32[]>(static_cast<std::size_t>(std::max(mNumChannels, 0)));
    }
    else
    {
        mRings.assign(static_cast<std::size_t>(std::max(mNumChannels, 0)),
                      std::vector<f64>(static_cast<std::size_t>(mRingSize) + mQuality, 0.0));
    }
}

void FF_AudioProcessSRC::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    CMN_ASSERT(in->GetBitsPerSample() == out->GetBitsPerSample());
    if (in->GetBitsPerSample() != out->GetBitsPerSample())
        return;
    if (mQuality == kQualityLinear)
        ProcessLinearInterp(in, out);
    else
        ProcessSincInterp(in, out);
    out->SetSampleRate(mOutRate);
    out->SetTotalSamples(mOutputLength);
}

// ------------------------------------------------------------------ linear

template <int Bytes>
void FF_AudioProcessSRC::LinearChannel(char const* in, char* out, i64 numIn, bool endOfStream, i32 channel, i64 maxOut,
                                       i64& produced)
{
    i64 const in64 = mInRate;
    i64 const out64 = mOutRate;
    i64 const blockEnd = mInputPos + numIn;
    i64 j = 0;
    for (;; ++j)
    {
        i64 const m = mOutputPos + j;
        if (endOfStream && m == mOutputLength)
            break;
        i64 const X = m * in64;
        i64 const i = X / out64;
        i64 const f = X % out64;
        i64 const next = f != 0 ? i + 1 : i;
        i64 s0;
        if (i < mInputPos)
            s0 = mLastSamples[channel];
        else if (i < blockEnd)
            s0 = Block::LoadSample<Bytes>(in + (i - mInputPos) * Bytes);
        else if (!endOfStream)
            break; // sample i comes with the next block, and so does this output
        else
            s0 = 0;
        i64 s1;
        if (next >= blockEnd)
        {
            if (!endOfStream)
            {
                mLastSamples[channel] = static_cast<i32>(s0);
                break;
            }
            s1 = 0;
        }
        else
        {
            s1 = Block::LoadSample<Bytes>(in + (next - mInputPos) * Bytes);
        }
        if (j == maxOut)
        {
            CMN_ASSERT(false); // more outputs than the block was sized for
            break;
        }
        i64 const v = s0 + ((s1 - s0) * f + out64 / 2) / out64;
        Block::StoreSample<Bytes>(out + j * Bytes, static_cast<i32>(v));
    }
    produced = j;
}

void FF_AudioProcessSRC::ProcessLinearInterp(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    i64 const numIn = in->GetNumSamples();
    int const bytes = in->GetBytesPerSample();
    i32 const channels = in->GetNumChannels();
    bool const fits = bytes >= 1 && bytes <= 4 && numIn >= 0 && numIn * bytes <= in->GetChannelCapacity() &&
                      channels <= mNumChannels && static_cast<u32>(channels) <= in->GetNumChannelBuffers() &&
                      static_cast<u32>(channels) <= out->GetNumChannelBuffers() && mLastSamples != nullptr;
    CMN_ASSERT(fits);
    if (!fits)
        return;
    bool const eos = in->GetEndOfStream();
    i64 const maxOut = out->GetChannelCapacity() / bytes;
    i64 produced = 0;
    for (i32 ch = 0; ch < channels; ++ch)
    {
        char const* src = in->GetChannelData(static_cast<u32>(ch));
        char* dst = out->GetChannelData(static_cast<u32>(ch));
        switch (bytes)
        {
        case 1: LinearChannel<1>(src, dst, numIn, eos, ch, maxOut, produced); break;
        case 2: LinearChannel<2>(src, dst, numIn, eos, ch, maxOut, produced); break;
        case 3: LinearChannel<3>(src, dst, numIn, eos, ch, maxOut, produced); break;
        default: LinearChannel<4>(src, dst, numIn, eos, ch, maxOut, produced); break;
        }
    }
    mOutputPos += produced;
    mInputPos += numIn;
    out->SetNumSamples(produced);
}

// ------------------------------------------------------------------ sinc

i64 FF_AudioProcessSRC::PlanSincOutputs(i64 numIn, bool endOfStream, i64 maxOut)
{
    if (static_cast<i64>(mStarts.size()) < maxOut)
    {
        mStarts.resize(static_cast<std::size_t>(maxOut));
        mPhases.resize(static_cast<std::size_t>(maxOut));
    }
    std::size_t const channels = std::max<std::size_t>(mRings.size(), 1);
    if (mSumsStride < maxOut || mSums.size() < channels * static_cast<std::size_t>(maxOut))
    {
        mSumsStride = maxOut;
        mSums.resize(channels * static_cast<std::size_t>(maxOut));
    }
    i64 const in64 = mInRate;
    i64 const out64 = mOutRate;
    i64 const half = mQuality / 2;
    i64 const blockEnd = mInputPos + numIn;
    i64 const ringSize = mRingSize;

    // Output m sits at input i = m * in / out, fraction f = m * in % out.
    // Both are carried from output to output rather than divided out: f is
    // a multiple of g = gcd(in, out), so f / g runs through one period and
    // steps by in / g modulo the period.
    i64 const g = out64 / mPeriod;
    i64 const X = mOutputPos * in64;
    i64 i = X / out64;
    i64 fg = (X % out64) / g;
    i64 const stepI = in64 / out64;
    i64 const stepF = (in64 % out64) / g;
    i64 const stepStart = stepI % ringSize;
    i64 start = ((ringSize + mRingWrite + i - mInputPos - half) % ringSize + ringSize) % ringSize;
    bool const phaseIsFraction = mOversample == mPeriod;

    i64 j = 0;
    for (;; ++j)
    {
        if (endOfStream && mOutputPos + j == mOutputLength)
            break;
        if (!endOfStream && i + half >= blockEnd)
            break; // the right half of the filter is not in the ring yet
        if (j == maxOut)
        {
            CMN_ASSERT(false); // more outputs than the block was sized for
            break;
        }
        // f * oversample / out, which is f / g when the table has a row for
        // every phase of the period.
        mPhases[j] = static_cast<i32>(phaseIsFraction ? fg : fg * mOversample / mPeriod);
        mStarts[j] = static_cast<i32>(start);

        i += stepI;
        start += stepStart;
        fg += stepF;
        if (fg >= mPeriod)
        {
            fg -= mPeriod;
            ++i;
            ++start;
        }
        if (start >= ringSize)
            start -= ringSize;
    }
    return j;
}

void FF_AudioProcessSRC::SincSumsGeneric(f64 const* ring, f64* sums, i64 first, i64 last)
{
    i32 const taps = mQuality;
    f64 const* rows = mRows.data();
    i64 j = first;
    // Four outputs at once, each summed on its own in tap order.
    for (; j + 4 <= last; j += 4)
    {
        f64 const* x0 = ring + mStarts[j];
        f64 const* x1 = ring + mStarts[j + 1];
        f64 const* x2 = ring + mStarts[j + 2];
        f64 const* x3 = ring + mStarts[j + 3];
        f64 const* w0 = rows + static_cast<i64>(mPhases[j]) * taps;
        f64 const* w1 = rows + static_cast<i64>(mPhases[j + 1]) * taps;
        f64 const* w2 = rows + static_cast<i64>(mPhases[j + 2]) * taps;
        f64 const* w3 = rows + static_cast<i64>(mPhases[j + 3]) * taps;
        f64 s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
        for (i32 t = 0; t < taps; ++t)
        {
            s0 = s0 + x0[t] * w0[t];
            s1 = s1 + x1[t] * w1[t];
            s2 = s2 + x2[t] * w2[t];
            s3 = s3 + x3[t] * w3[t];
        }
        sums[j] = s0;
        sums[j + 1] = s1;
        sums[j + 2] = s2;
        sums[j + 3] = s3;
    }
    for (; j < last; ++j)
    {
        f64 const* x = ring + mStarts[j];
        f64 const* w = rows + static_cast<i64>(mPhases[j]) * taps;
        f64 s = 0.0;
        for (i32 t = 0; t < taps; ++t)
            s = s + x[t] * w[t];
        sums[j] = s;
    }
}

// Lanes of vectors, each lane an output of its own: lane k holds a copy of
// the ring of one channel from where its outputs' windows begin, interleaved
// with the other lanes, and all lanes of a row read the same row of the
// table. The lanes are numChannels channels (one or two) times spans equal
// runs of outputs. Outputs a whole number of phase periods apart have the
// same phase and windows a whole number of inputs apart, so several spans
// must each be a whole number of periods long; a single span, every lane
// being another channel of the same outputs, may be any length. Returns
// where the outputs it did end.
template <int Lanes> i64 FF_AudioProcessSRC::SincSumsLanes(i32 const* channels, int numChannels, i64 first, i64 numOut)
{
    i64 const spans = Lanes / numChannels;
    i64 span = numOut - first;
    if (spans > 1)
    {
        i64 const periods = (cMinLaneSpan + mPeriod - 1) / mPeriod;
        span = periods * mPeriod;
        if (span > (numOut - first) / spans || periods * mPeriodInputs + mQuality + 1 > mRingSize)
            return first;
    }
    if (span <= 0)
        return first;
    if (static_cast<i64>(mOffsets.size()) < span)
        mOffsets.resize(static_cast<std::size_t>(span));
    if (static_cast<i64>(mLaneSums.size()) < span * Lanes)
        mLaneSums.resize(static_cast<std::size_t>(span * Lanes));
    i32* off = mOffsets.data();
    f64* laneSums = mLaneSums.data();
    i64 const ringSize = mRingSize;
    i64 done = first;
    for (; done + spans * span <= numOut; done += spans * span)
    {
        i32 const base0 = mStarts[done];
        for (i64 r = 0; r < span; ++r)
        {
            i32 d = mStarts[done + r] - base0;
            if (d < 0)
                d += mRingSize;
            off[r] = d;
        }
        i64 const used = off[span - 1] + mQuality;
        // On a cache line: a row of eight lanes is then one line, and no
        // vector load of the kernel straddles two.
        if (static_cast<i64>(mLanes.size()) < used * Lanes + 8)
            mLanes.resize(static_cast<std::size_t>(used * Lanes + 8));
        f64* lanes = mLanes.data() + ((64 - reinterpret_cast<std::uintptr_t>(mLanes.data()) % 64) % 64) / sizeof(f64);
        for (int k = 0; k < Lanes; ++k)
        {
            // The ring is readable up to mQuality entries past its end (the
            // copy of its start), so most windows need no wrap at all.
            f64 const* ring = mRings[static_cast<std::size_t>(channels[k % numChannels])].data();
            i64 const pos = mStarts[done + (k / numChannels) * span];
            i64 const straight = std::min<i64>(used, ringSize + mQuality - pos);
            f64* to = lanes + k;
            for (i64 u = 0; u < straight; ++u)
                to[u * Lanes] = ring[pos + u];
            for (i64 u = straight; u < used; ++u)
                to[u * Lanes] = ring[u - (ringSize - pos)];
        }
        i32 const* phases = mPhases.data() + done;
        bool vectors = false;
#ifdef FF_SRC_HAVE_AVX_KERNEL
        if (sKernelLevel >= kKernelBest)
        {
            if constexpr (Lanes == 2)
            {
                PeriodicSse2(lanes, off, phases, mRows.data(), span, mQuality, laneSums);
                vectors = true;
            }
            else if (HaveAvx())
            {
                if constexpr (Lanes == 16)
                    PeriodicAvx16(lanes, off, phases, mRows.data(), span, mQuality, laneSums);
                else if constexpr (Lanes == 8)
                    PeriodicAvx8(lanes, off, phases, mRows.data(), span, mQuality, laneSums);
                else
                    PeriodicAvx4(lanes, off, phases, mRows.data(), span, mQuality, laneSums);
                vectors = true;
            }
        }
#endif
        if (!vectors)
            PeriodicScalar<Lanes>(lanes, off, phases, mRows.data(), span, span, mQuality, laneSums);
        for (int k = 0; k < Lanes; ++k)
        {
            f64* sums = mSums.data() + channels[k % numChannels] * mSumsStride + done + (k / numChannels) * span;
            std::copy(laneSums + k * span, laneSums + (k + 1) * span, sums);
        }
    }
    return done;
}

void FF_AudioProcessSRC::SincSums(i32 channels, i64 numOut)
{
    i32 c = 0;
    if (sKernelLevel >= kKernelPeriodic)
    {
        // Channels in pairs share the table's rows; a single span of a pair
        // takes whatever the wider groups leave.
        for (; c + 1 < channels; c += 2)
        {
            i32 const pair[2] = {c, c + 1};
            i64 done = SincSumsLanes<16>(pair, 2, 0, numOut);
            done = SincSumsLanes<8>(pair, 2, done, numOut);
            done = SincSumsLanes<4>(pair, 2, done, numOut);
            SincSumsLanes<2>(pair, 2, done, numOut);
        }
    }
    for (; c < channels; ++c)
    {
        i64 done = 0;
        if (sKernelLevel >= kKernelPeriodic)
        {
            done = SincSumsLanes<16>(&c, 1, done, numOut);
            done = SincSumsLanes<8>(&c, 1, done, numOut);
            done = SincSumsLanes<4>(&c, 1, done, numOut);
            done = SincSumsLanes<2>(&c, 1, done, numOut);
        }
        SincSumsGeneric(mRings[static_cast<std::size_t>(c)].data(), mSums.data() + c * mSumsStride, done, numOut);
    }
}

template <int Bytes> void FF_AudioProcessSRC::FillRing(char const* in, i64 numIn, bool endOfStream, i32 channel)
{
    f64* ring = mRings[static_cast<std::size_t>(channel)].data();
    i32 const ringSize = mRingSize;
    i32 const mirror = mQuality;
    // Samples go in, then the zeros after the last one; then the entries
    // written at the start of the ring are copied behind its end.
    i32 pos = mRingWrite;
    i64 n = 0;
    while (n < numIn)
    {
        i64 const run = std::min<i64>(numIn - n, ringSize - pos);
        f64* to = ring + pos;
        char const* from = in + n * Bytes;
        for (i64 u = 0; u < run; ++u)
            to[u] = static_cast<f64>(Block::LoadSample<Bytes>(from + u * Bytes));
        n += run;
        pos = static_cast<i32>((pos + run) % ringSize);
    }
    i64 const zeros = endOfStream ? mQuality / 2 : 0;
    for (i64 z = 0; z < zeros; ++z)
    {
        ring[pos] = 0.0;
        if (++pos == ringSize)
            pos = 0;
    }
    // Written: ringSize entries at most, from mRingWrite on, wrapping. The
    // mirror copies those of them below mirror.
    i64 const written = std::min<i64>(numIn + zeros, ringSize);
    i64 const end = mRingWrite + written;
    if (mRingWrite < mirror)
        std::copy(ring + mRingWrite, ring + std::min<i64>(end, mirror), ring + ringSize + mRingWrite);
    if (end > ringSize)
        std::copy(ring, ring + std::min<i64>(end - ringSize, mirror), ring + ringSize);
}

template <int Bytes> void FF_AudioProcessSRC::StoreSums(f64 const* sums, char* out, i64 numOut)
{
    for (i64 j = 0; j < numOut; ++j)
        Block::StoreSample<Bytes>(out + j * Bytes, RoundToSample<Bytes>(sums[j]));
}

void FF_AudioProcessSRC::ProcessSincInterp(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    i64 const numIn = in->GetNumSamples();
    int const bytes = in->GetBytesPerSample();
    i32 const channels = in->GetNumChannels();
    bool const fits = mRingSize > 0 && bytes >= 1 && bytes <= 4 && numIn >= 0 && numIn <= mBlockCapacity &&
                      numIn * bytes <= in->GetChannelCapacity() && channels <= static_cast<i32>(mRings.size()) &&
                      static_cast<u32>(channels) <= in->GetNumChannelBuffers() &&
                      static_cast<u32>(channels) <= out->GetNumChannelBuffers();
    CMN_ASSERT(fits);
    if (!fits)
        return;
    bool const eos = in->GetEndOfStream();
    i64 const numOut = PlanSincOutputs(numIn, eos, out->GetChannelCapacity() / bytes);
    for (i32 ch = 0; ch < channels; ++ch)
    {
        char const* src = in->GetChannelData(static_cast<u32>(ch));
        switch (bytes)
        {
        case 1: FillRing<1>(src, numIn, eos, ch); break;
        case 2: FillRing<2>(src, numIn, eos, ch); break;
        case 3: FillRing<3>(src, numIn, eos, ch); break;
        default: FillRing<4>(src, numIn, eos, ch); break;
        }
    }
    SincSums(channels, numOut);
    for (i32 ch = 0; ch < channels; ++ch)
    {
        f64 const* sums = mSums.data() + ch * mSumsStride;
        char* dst = out->GetChannelData(static_cast<u32>(ch));
        switch (bytes)
        {
        case 1: StoreSums<1>(sums, dst, numOut); break;
        case 2: StoreSums<2>(sums, dst, numOut); break;
        case 3: StoreSums<3>(sums, dst, numOut); break;
        default: StoreSums<4>(sums, dst, numOut); break;
        }
    }
    mRingWrite = static_cast<i32>((mRingWrite + numIn) % mRingSize);
    mOutputPos += numOut;
    mInputPos += numIn;
    out->SetNumSamples(numOut);
}
