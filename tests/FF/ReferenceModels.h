// The stages written again from their formulas alone, for golden tests of
// the stages and of whole conversions. Sums are taken in the stated order,
// with products that cannot be fused.
#pragma once

#include "FF/FF_AudioProcessTestBlocks.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace ffproc
{
inline i64 MaxOfBits(int bits)
{
    return (i64{1} << (bits - 1)) - 1;
}

// The windowed-sinc table written again from its formulas.
inline std::vector<f64> ReferenceTable(i32 in, i32 out, int taps, i32& oversample)
{
    i32 const g = std::gcd(in, out);
    oversample = std::min(out / g, 512);
    i64 const L = static_cast<i64>(taps + 2) * oversample;
    std::vector<f64> table(static_cast<std::size_t>(L % 2 == 0 ? L + 1 : L));
    f64 const pi = 2.0 * std::asin(1.0);
    f64 const c = std::min(static_cast<f64>(out) / static_cast<f64>(in), 1.0);
    i64 const C = L / 2;
    table[static_cast<std::size_t>(C)] = c;
    for (i64 k = 1; k <= C; ++k)
    {
        f64 const x = Mul(static_cast<f64>(k), pi) / oversample;
        f64 const y = std::min(Mul(2.0, x) / static_cast<f64>(taps + 2), pi);
        f64 const w = 0.42 + Mul(0.5, std::cos(y)) + Mul(0.08, std::cos(Mul(2.0, y)));
        f64 const v = Mul(Mul(std::sin(Mul(c, x)) / Mul(c, x), w), c);
        table[static_cast<std::size_t>(C - k)] = v;
        table[static_cast<std::size_t>(C + k)] = v;
    }
    return table;
}

// The sums of output m of one channel of the whole stream at once: zeros
// before the first sample and after the last, every sum in tap order from 0.
inline std::vector<f64> ReferenceSincSums(std::vector<i32> const& input, i32 in, i32 out, int taps)
{
    i32 O = 0;
    std::vector<f64> const table = ReferenceTable(in, out, taps, O);
    i64 const length = static_cast<i64>(input.size());
    i64 const outLength = (length * out + in - 1) / in;
    std::vector<f64> sums;
    for (i64 m = 0; m < outLength; ++m)
    {
        i64 const X = m * in;
        i64 const i = X / out;
        i64 const p = X % out * O / out;
        f64 s = 0.0;
        for (i64 t = 0; t < taps; ++t)
        {
            i64 const n = i - taps / 2 + t;
            f64 const x = n >= 0 && n < length ? input[static_cast<std::size_t>(n)] : 0.0;
            s = s + Mul(x, table[static_cast<std::size_t>(O - p + t * O)]);
        }
        sums.push_back(s);
    }
    return sums;
}

inline Channels ReferenceSinc(Channels const& input, i32 in, i32 out, int taps, int bits)
{
    i64 const hi = MaxOfBits(bits);
    Channels result(input.size());
    for (std::size_t ch = 0; ch < input.size(); ++ch)
        for (f64 s : ReferenceSincSums(input[ch], in, out, taps))
        {
            f64 const v = std::clamp(s + 0.5, static_cast<f64>(-hi - 1), static_cast<f64>(hi));
            result[ch].push_back(static_cast<i32>(v));
        }
    return result;
}

inline Channels ReferenceLinear(Channels const& input, i32 in, i32 out)
{
    i64 const length = static_cast<i64>(input[0].size());
    i64 const outLength = (length * out + in - 1) / in;
    Channels result(input.size());
    for (std::size_t ch = 0; ch < input.size(); ++ch)
        for (i64 m = 0; m < outLength; ++m)
        {
            i64 const X = m * in;
            i64 const i = X / out;
            i64 const f = X % out;
            i64 const next = f != 0 ? i + 1 : i;
            i64 const s0 = input[ch][static_cast<std::size_t>(i)];
            i64 const s1 = next < length ? input[ch][static_cast<std::size_t>(next)] : 0;
            result[ch].push_back(static_cast<i32>(s0 + ((s1 - s0) * f + out / 2) / out));
        }
    return result;
}

inline Channels ReferenceResample(Channels const& input, i32 in, i32 out, int taps, int bits)
{
    return taps == 0 ? ReferenceLinear(input, in, out) : ReferenceSinc(input, in, out, taps, bits);
}

inline i32 Wrap(i64 v)
{
    return static_cast<i32>(static_cast<u32>(static_cast<u64>(v)));
}

// The quantisers written again from their formulas, in 64-bit integers and
// with products that cannot be fused.
struct ReferenceQuantizer
{
    int inBits, outBits;
    bool dither;
    i32& seed;
    f64 error = 0.0;
    f64 history = 0.0;

    f64 Random()
    {
        i64 const k = seed / 127773;
        seed = Wrap((seed - k * 127773) * 16807 - k * 2836);
        if (seed < 0)
            seed = Wrap(static_cast<i64>(seed) + 2147483647);
        f64 const r = Mul(static_cast<f64>(seed), 4.656612875245797e-10);
        seed = Wrap(2 * static_cast<i64>(seed) - 2);
        return r;
    }

    i32 operator()(i32 x)
    {
        f64 const step = static_cast<f64>(i64{1} << (inBits - outBits));
        i64 const hi = (i64{1} << (outBits - 1)) - 1;
        i64 const lo = -hi - 1;
        f64 a = error;
        a = a + Mul(-0.2709, history);
        history = a;
        f64 const v = static_cast<f64>(x) - a;
        f64 t = v;
        if (dither)
            t = v + Mul(step, Random());
        i64 q = static_cast<i64>(t / step + 0.5);
        q = std::clamp(q, lo, hi);
        error = Mul(static_cast<f64>(q), step) - v;
        return static_cast<i32>(q);
    }
};

// The whole stream through the reference, channel by channel within each
// block, as the stage's one quantiser sees it.
inline Channels ReferenceRequantize(Channels const& input, int inBits, int outBits, i64 blockSize, i32& seed)
{
    Channels out(input.size(), std::vector<i32>(input[0].size()));
    ReferenceQuantizer q{inBits, outBits, outBits == 16, seed};
    i64 const length = static_cast<i64>(input[0].size());
    for (i64 pos = 0; pos < length; pos += blockSize)
        for (std::size_t c = 0; c < input.size(); ++c)
            for (i64 n = pos; n < std::min(length, pos + blockSize); ++n)
            {
                i32 const x = input[c][static_cast<std::size_t>(n)];
                out[c][static_cast<std::size_t>(n)] = inBits < outBits    ? x * (1 << (outBits - inBits))
                                                      : inBits == outBits ? x
                                                                          : q(x);
            }
    return out;
}
} // namespace ffproc
