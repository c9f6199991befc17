#pragma once

#include "Cmn/Cmn_Types.h"

// The rate converter's sums over lanes of equal phase: the portable form,
// and the vector forms that the processor may have, which add in the same
// order and so give the same sums bit for bit. FF_AudioProcessSRC chooses
// among them (see its kernel levels).
#if defined(__x86_64__) || defined(__i386__)
#define FF_SRC_HAVE_AVX_KERNEL 1
#endif

namespace ffsrc
{

// Whether the processor runs the AVX kernels.
bool HaveAvx();

// lanes: Lanes interleaved copies of the ring, lane k starting where the
// k-th part of the group starts. Each output of the group is one lane of one
// row: outputs that share a phase share a row, and each lane sums its own
// taps in order, so the vector adds change no sum.
// Sums of lane k go to sums[k * stride + r], r < span.
template <int Lanes>
void PeriodicScalar(f64 const* lanes, i32 const* offsets, i32 const* phases, f64 const* rows, i64 span, i64 stride,
                    i32 taps, f64* sums)
{
    for (i64 r = 0; r < span; ++r)
    {
        f64 const* x = lanes + static_cast<i64>(offsets[r]) * Lanes;
        f64 const* w = rows + static_cast<i64>(phases[r]) * taps;
        f64 acc[Lanes] = {};
        for (i32 t = 0; t < taps; ++t)
            for (int k = 0; k < Lanes; ++k)
                acc[k] = acc[k] + x[t * Lanes + k] * w[t];
        for (int k = 0; k < Lanes; ++k)
            sums[k * stride + r] = acc[k];
    }
}

#ifdef FF_SRC_HAVE_AVX_KERNEL
// Four, eight and sixteen lanes in AVX vectors, and two in SSE2 vectors for
// what is left of a block after the wider kernels; each falls back to the
// portable form for the rows a vector step does not cover.
void PeriodicAvx4(f64 const* lanes, i32 const* offsets, i32 const* phases, f64 const* rows, i64 span, i32 taps,
                  f64* sums);
void PeriodicAvx8(f64 const* lanes, i32 const* offsets, i32 const* phases, f64 const* rows, i64 span, i32 taps,
                  f64* sums);
void PeriodicAvx16(f64 const* lanes, i32 const* offsets, i32 const* phases, f64 const* rows, i64 span, i32 taps,
                   f64* sums);
void PeriodicSse2(f64 const* lanes, i32 const* offsets, i32 const* phases, f64 const* rows, i64 span, i32 taps,
                  f64* sums);
#endif

} // namespace ffsrc
