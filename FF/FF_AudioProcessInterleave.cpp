#include "FF/FF_AudioProcessInterleave.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define FF_INTERLEAVE_HAVE_SHUFFLES 1
#endif

namespace
{

template <int Bytes> void Split(char const* frames, char* left, char* right, i64 from, i64 count)
{
    for (i64 i = from; i < count; ++i)
    {
        std::memcpy(left + i * Bytes, frames + 2 * i * Bytes, Bytes);
        std::memcpy(right + i * Bytes, frames + (2 * i + 1) * Bytes, Bytes);
    }
}

template <int Bytes> void Join(char const* left, char const* right, char* frames, i64 from, i64 count)
{
    for (i64 i = from; i < count; ++i)
    {
        std::memcpy(frames + 2 * i * Bytes, left + i * Bytes, Bytes);
        std::memcpy(frames + (2 * i + 1) * Bytes, right + i * Bytes, Bytes);
    }
}

#ifdef FF_INTERLEAVE_HAVE_SHUFFLES
bool HaveShuffles()
{
    static bool const have = __builtin_cpu_supports("ssse3");
    return have;
}

// Four frames a step. A step that would read or write beyond the frames
// is left to the plain loop, which does the rest.
__attribute__((target("ssse3"))) i64 Split16(char const* frames, char* left, char* right, i64 count)
{
    __m128i const even = _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i const odd = _mm_setr_epi8(2, 3, 6, 7, 10, 11, 14, 15, -1, -1, -1, -1, -1, -1, -1, -1);
    i64 i = 0;
    for (; i + 4 <= count; i += 4)
    {
        __m128i const in = _mm_loadu_si128(reinterpret_cast<__m128i const*>(frames + 4 * i));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(left + 2 * i), _mm_shuffle_epi8(in, even));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(right + 2 * i), _mm_shuffle_epi8(in, odd));
    }
    return i;
}

bool HaveWideShuffles()
{
    static bool const have = __builtin_cpu_supports("avx2");
    return have;
}

// Eight frames a step: each half of the vector gathers its left samples in
// its low eight bytes and its right ones in the high, and one permutation
// of the quarters puts the lefts in the low half, the rights in the high.
__attribute__((target("avx2"))) i64 Split16Wide(char const* frames, char* left, char* right, i64 count)
{
    __m256i const gather = _mm256_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15, 0, 1, 4, 5, 8, 9, 12,
                                            13, 2, 3, 6, 7, 10, 11, 14, 15);
    i64 i = 0;
    for (; i + 8 <= count; i += 8)
    {
        __m256i const in = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(frames + 4 * i));
        __m256i const sides = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(in, gather), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(left + 2 * i), _mm256_castsi256_si128(sides));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(right + 2 * i), _mm256_extracti128_si256(sides, 1));
    }
    return i;
}

__attribute__((target("ssse3"))) i64 Join16(char const* left, char const* right, char* frames, i64 count)
{
    i64 i = 0;
    for (; i + 4 <= count; i += 4)
    {
        __m128i const l = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(left + 2 * i));
        __m128i const r = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(right + 2 * i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(frames + 4 * i), _mm_unpacklo_epi16(l, r));
    }
    return i;
}

// Four frames of 6 bytes a step: two overlapping loads cover bytes 0 to 15
// and 8 to 23 of the frames.
__attribute__((target("ssse3"))) i64 Split24(char const* frames, char* left, char* right, i64 count)
{
    __m128i const leftLow = _mm_setr_epi8(0, 1, 2, 6, 7, 8, 12, 13, 14, -1, -1, -1, -1, -1, -1, -1);
    __m128i const leftHigh = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, 10, 11, 12, -1, -1, -1, -1);
    __m128i const rightLow = _mm_setr_epi8(3, 4, 5, 9, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i const rightHigh = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, 7, 8, 9, 13, 14, 15, -1, -1, -1, -1);
    i64 i = 0;
    // The stores write 16 bytes for 12: two frames of room are left.
    for (; i + 6 <= count; i += 4)
    {
        __m128i const low = _mm_loadu_si128(reinterpret_cast<__m128i const*>(frames + 6 * i));
        __m128i const high = _mm_loadu_si128(reinterpret_cast<__m128i const*>(frames + 6 * i + 8));
        __m128i const l = _mm_or_si128(_mm_shuffle_epi8(low, leftLow), _mm_shuffle_epi8(high, leftHigh));
        __m128i const r = _mm_or_si128(_mm_shuffle_epi8(low, rightLow), _mm_shuffle_epi8(high, rightHigh));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(left + 3 * i), l);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(right + 3 * i), r);
    }
    return i;
}

__attribute__((target("ssse3"))) i64 Join24(char const* left, char const* right, char* frames, i64 count)
{
    __m128i const firstLeft = _mm_setr_epi8(0, 1, 2, -1, -1, -1, 3, 4, 5, -1, -1, -1, 6, 7, 8, -1);
    __m128i const firstRight = _mm_setr_epi8(-1, -1, -1, 0, 1, 2, -1, -1, -1, 3, 4, 5, -1, -1, -1, 6);
    __m128i const restLeft = _mm_setr_epi8(-1, -1, 9, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i const restRight = _mm_setr_epi8(7, 8, -1, -1, -1, 9, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1);
    i64 i = 0;
    // The loads read 16 bytes for 12: two frames of room are left.
    for (; i + 6 <= count; i += 4)
    {
        __m128i const l = _mm_loadu_si128(reinterpret_cast<__m128i const*>(left + 3 * i));
        __m128i const r = _mm_loadu_si128(reinterpret_cast<__m128i const*>(right + 3 * i));
        __m128i const first = _mm_or_si128(_mm_shuffle_epi8(l, firstLeft), _mm_shuffle_epi8(r, firstRight));
        __m128i const rest = _mm_or_si128(_mm_shuffle_epi8(l, restLeft), _mm_shuffle_epi8(r, restRight));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(frames + 6 * i), first);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(frames + 6 * i + 16), rest);
    }
    return i;
}
#endif

} // namespace

void FF_DeinterleaveStereo(char const* frames, char* left, char* right, i64 count, i32 bytesPerSample)
{
    i64 done = 0;
#ifdef FF_INTERLEAVE_HAVE_SHUFFLES
    if (HaveWideShuffles() && bytesPerSample == 2)
        done = Split16Wide(frames, left, right, count);
    else if (HaveShuffles() && bytesPerSample == 2)
        done = Split16(frames, left, right, count);
    else if (HaveShuffles() && bytesPerSample == 3)
        done = Split24(frames, left, right, count);
#endif
    switch (bytesPerSample)
    {
    case 1: Split<1>(frames, left, right, done, count); break;
    case 2: Split<2>(frames, left, right, done, count); break;
    default: Split<3>(frames, left, right, done, count); break;
    }
}

void FF_InterleaveStereo(char const* left, char const* right, char* frames, i64 count, i32 bytesPerSample)
{
    i64 done = 0;
#ifdef FF_INTERLEAVE_HAVE_SHUFFLES
    if (HaveShuffles() && bytesPerSample == 2)
        done = Join16(left, right, frames, count);
    else if (HaveShuffles() && bytesPerSample == 3)
        done = Join24(left, right, frames, count);
#endif
    switch (bytesPerSample)
    {
    case 1: Join<1>(left, right, frames, done, count); break;
    case 2: Join<2>(left, right, frames, done, count); break;
    default: Join<3>(left, right, frames, done, count); break;
    }
}
