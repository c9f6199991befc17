#include "FF/FF_AudioProcessSRCKernels.h"

#ifdef FF_SRC_HAVE_AVX_KERNEL
#include <immintrin.h>
#endif

namespace ffsrc
{

bool HaveAvx()
{
#ifdef FF_SRC_HAVE_AVX_KERNEL
    static bool const have = __builtin_cpu_supports("avx");
    return have;
#else
    return false;
#endif
}

#ifdef FF_SRC_HAVE_AVX_KERNEL
// Four lanes: one vector a row, four rows at once so that four independent
// chains of adds hide their latency.
__attribute__((target("avx"))) void PeriodicAvx4(f64 const* lanes, i32 const* offsets, i32 const* phases,
                                                 f64 const* rows, i64 span, i32 taps, f64* sums)
{
    constexpr int L = 4;
    i64 r = 0;
    for (; r + 4 <= span; r += 4)
    {
        f64 const* x0 = lanes + static_cast<i64>(offsets[r]) * L;
        f64 const* x1 = lanes + static_cast<i64>(offsets[r + 1]) * L;
        f64 const* x2 = lanes + static_cast<i64>(offsets[r + 2]) * L;
        f64 const* x3 = lanes + static_cast<i64>(offsets[r + 3]) * L;
        f64 const* w0 = rows + static_cast<i64>(phases[r]) * taps;
        f64 const* w1 = rows + static_cast<i64>(phases[r + 1]) * taps;
        f64 const* w2 = rows + static_cast<i64>(phases[r + 2]) * taps;
        f64 const* w3 = rows + static_cast<i64>(phases[r + 3]) * taps;
        __m256d a0 = _mm256_setzero_pd();
        __m256d a1 = _mm256_setzero_pd();
        __m256d a2 = _mm256_setzero_pd();
        __m256d a3 = _mm256_setzero_pd();
        for (i32 t = 0; t < taps; ++t)
        {
            a0 = _mm256_add_pd(a0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L), _mm256_broadcast_sd(w0 + t)));
            a1 = _mm256_add_pd(a1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L), _mm256_broadcast_sd(w1 + t)));
            a2 = _mm256_add_pd(a2, _mm256_mul_pd(_mm256_loadu_pd(x2 + t * L), _mm256_broadcast_sd(w2 + t)));
            a3 = _mm256_add_pd(a3, _mm256_mul_pd(_mm256_loadu_pd(x3 + t * L), _mm256_broadcast_sd(w3 + t)));
        }
        alignas(32) f64 out[4][L];
        _mm256_store_pd(out[0], a0);
        _mm256_store_pd(out[1], a1);
        _mm256_store_pd(out[2], a2);
        _mm256_store_pd(out[3], a3);
        for (int q = 0; q < 4; ++q)
            for (int k = 0; k < L; ++k)
                sums[k * span + r + q] = out[q][k];
    }
    for (; r < span; ++r)
    {
        f64 const* x = lanes + static_cast<i64>(offsets[r]) * L;
        f64 const* w = rows + static_cast<i64>(phases[r]) * taps;
        __m256d a = _mm256_setzero_pd();
        for (i32 t = 0; t < taps; ++t)
            a = _mm256_add_pd(a, _mm256_mul_pd(_mm256_loadu_pd(x + t * L), _mm256_broadcast_sd(w + t)));
        alignas(32) f64 out[L];
        _mm256_store_pd(out, a);
        for (int k = 0; k < L; ++k)
            sums[k * span + r] = out[k];
    }
}

// Eight lanes: two vectors a row share one load of the row's entry, which
// is what limits the four-lane kernel.
__attribute__((target("avx"))) void PeriodicAvx8(f64 const* lanes, i32 const* offsets, i32 const* phases,
                                                 f64 const* rows, i64 span, i32 taps, f64* sums)
{
    constexpr int L = 8;
    i64 r = 0;
    for (; r + 4 <= span; r += 4)
    {
        f64 const* x0 = lanes + static_cast<i64>(offsets[r]) * L;
        f64 const* x1 = lanes + static_cast<i64>(offsets[r + 1]) * L;
        f64 const* x2 = lanes + static_cast<i64>(offsets[r + 2]) * L;
        f64 const* x3 = lanes + static_cast<i64>(offsets[r + 3]) * L;
        f64 const* w0 = rows + static_cast<i64>(phases[r]) * taps;
        f64 const* w1 = rows + static_cast<i64>(phases[r + 1]) * taps;
        f64 const* w2 = rows + static_cast<i64>(phases[r + 2]) * taps;
        f64 const* w3 = rows + static_cast<i64>(phases[r + 3]) * taps;
        __m256d a0 = _mm256_setzero_pd(), b0 = _mm256_setzero_pd();
        __m256d a1 = _mm256_setzero_pd(), b1 = _mm256_setzero_pd();
        __m256d a2 = _mm256_setzero_pd(), b2 = _mm256_setzero_pd();
        __m256d a3 = _mm256_setzero_pd(), b3 = _mm256_setzero_pd();
        for (i32 t = 0; t < taps; ++t)
        {
            __m256d const c0 = _mm256_broadcast_sd(w0 + t);
            __m256d const c1 = _mm256_broadcast_sd(w1 + t);
            __m256d const c2 = _mm256_broadcast_sd(w2 + t);
            __m256d const c3 = _mm256_broadcast_sd(w3 + t);
            a0 = _mm256_add_pd(a0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L), c0));
            b0 = _mm256_add_pd(b0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L + 4), c0));
            a1 = _mm256_add_pd(a1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L), c1));
            b1 = _mm256_add_pd(b1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L + 4), c1));
            a2 = _mm256_add_pd(a2, _mm256_mul_pd(_mm256_loadu_pd(x2 + t * L), c2));
            b2 = _mm256_add_pd(b2, _mm256_mul_pd(_mm256_loadu_pd(x2 + t * L + 4), c2));
            a3 = _mm256_add_pd(a3, _mm256_mul_pd(_mm256_loadu_pd(x3 + t * L), c3));
            b3 = _mm256_add_pd(b3, _mm256_mul_pd(_mm256_loadu_pd(x3 + t * L + 4), c3));
        }
        alignas(32) f64 out[4][L];
        _mm256_store_pd(out[0], a0);
        _mm256_store_pd(out[0] + 4, b0);
        _mm256_store_pd(out[1], a1);
        _mm256_store_pd(out[1] + 4, b1);
        _mm256_store_pd(out[2], a2);
        _mm256_store_pd(out[2] + 4, b2);
        _mm256_store_pd(out[3], a3);
        _mm256_store_pd(out[3] + 4, b3);
        for (int q = 0; q < 4; ++q)
            for (int k = 0; k < L; ++k)
                sums[k * span + r + q] = out[q][k];
    }
    if (r < span)
        PeriodicScalar<L>(lanes, offsets + r, phases + r, rows, span - r, span, taps, sums + r);
}

// Sixteen lanes: four vectors a row share one load of the row's entry, two
// rows at once.
__attribute__((target("avx"))) void PeriodicAvx16(f64 const* lanes, i32 const* offsets, i32 const* phases,
                                                  f64 const* rows, i64 span, i32 taps, f64* sums)
{
    constexpr int L = 16;
    i64 r = 0;
    for (; r + 2 <= span; r += 2)
    {
        f64 const* x0 = lanes + static_cast<i64>(offsets[r]) * L;
        f64 const* x1 = lanes + static_cast<i64>(offsets[r + 1]) * L;
        f64 const* w0 = rows + static_cast<i64>(phases[r]) * taps;
        f64 const* w1 = rows + static_cast<i64>(phases[r + 1]) * taps;
        __m256d a0 = _mm256_setzero_pd(), b0 = _mm256_setzero_pd(), c0 = _mm256_setzero_pd(), d0 = _mm256_setzero_pd();
        __m256d a1 = _mm256_setzero_pd(), b1 = _mm256_setzero_pd(), c1 = _mm256_setzero_pd(), d1 = _mm256_setzero_pd();
        for (i32 t = 0; t < taps; ++t)
        {
            __m256d const v0 = _mm256_broadcast_sd(w0 + t);
            __m256d const v1 = _mm256_broadcast_sd(w1 + t);
            a0 = _mm256_add_pd(a0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L), v0));
            b0 = _mm256_add_pd(b0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L + 4), v0));
            c0 = _mm256_add_pd(c0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L + 8), v0));
            d0 = _mm256_add_pd(d0, _mm256_mul_pd(_mm256_loadu_pd(x0 + t * L + 12), v0));
            a1 = _mm256_add_pd(a1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L), v1));
            b1 = _mm256_add_pd(b1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L + 4), v1));
            c1 = _mm256_add_pd(c1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L + 8), v1));
            d1 = _mm256_add_pd(d1, _mm256_mul_pd(_mm256_loadu_pd(x1 + t * L + 12), v1));
        }
        alignas(32) f64 out[2][L];
        _mm256_store_pd(out[0], a0);
        _mm256_store_pd(out[0] + 4, b0);
        _mm256_store_pd(out[0] + 8, c0);
        _mm256_store_pd(out[0] + 12, d0);
        _mm256_store_pd(out[1], a1);
        _mm256_store_pd(out[1] + 4, b1);
        _mm256_store_pd(out[1] + 8, c1);
        _mm256_store_pd(out[1] + 12, d1);
        for (int q = 0; q < 2; ++q)
            for (int k = 0; k < L; ++k)
                sums[k * span + r + q] = out[q][k];
    }
    if (r < span)
        PeriodicScalar<L>(lanes, offsets + r, phases + r, rows, span - r, span, taps, sums + r);
}

// Two lanes, for what is left of a block after the wider kernels: four rows
// at once, one short vector a row.
void PeriodicSse2(f64 const* lanes, i32 const* offsets, i32 const* phases, f64 const* rows, i64 span, i32 taps,
                  f64* sums)
{
    constexpr int L = 2;
    i64 r = 0;
    for (; r + 4 <= span; r += 4)
    {
        f64 const* x0 = lanes + static_cast<i64>(offsets[r]) * L;
        f64 const* x1 = lanes + static_cast<i64>(offsets[r + 1]) * L;
        f64 const* x2 = lanes + static_cast<i64>(offsets[r + 2]) * L;
        f64 const* x3 = lanes + static_cast<i64>(offsets[r + 3]) * L;
        f64 const* w0 = rows + static_cast<i64>(phases[r]) * taps;
        f64 const* w1 = rows + static_cast<i64>(phases[r + 1]) * taps;
        f64 const* w2 = rows + static_cast<i64>(phases[r + 2]) * taps;
        f64 const* w3 = rows + static_cast<i64>(phases[r + 3]) * taps;
        __m128d a0 = _mm_setzero_pd();
        __m128d a1 = _mm_setzero_pd();
        __m128d a2 = _mm_setzero_pd();
        __m128d a3 = _mm_setzero_pd();
        for (i32 t = 0; t < taps; ++t)
        {
            a0 = _mm_add_pd(a0, _mm_mul_pd(_mm_loadu_pd(x0 + t * L), _mm_set1_pd(w0[t])));
            a1 = _mm_add_pd(a1, _mm_mul_pd(_mm_loadu_pd(x1 + t * L), _mm_set1_pd(w1[t])));
            a2 = _mm_add_pd(a2, _mm_mul_pd(_mm_loadu_pd(x2 + t * L), _mm_set1_pd(w2[t])));
            a3 = _mm_add_pd(a3, _mm_mul_pd(_mm_loadu_pd(x3 + t * L), _mm_set1_pd(w3[t])));
        }
        alignas(16) f64 out[4][L];
        _mm_store_pd(out[0], a0);
        _mm_store_pd(out[1], a1);
        _mm_store_pd(out[2], a2);
        _mm_store_pd(out[3], a3);
        for (int q = 0; q < 4; ++q)
            for (int k = 0; k < L; ++k)
                sums[k * span + r + q] = out[q][k];
    }
    if (r < span)
        PeriodicScalar<L>(lanes, offsets + r, phases + r, rows, span - r, span, taps, sums + r);
}
#endif

} // namespace ffsrc
