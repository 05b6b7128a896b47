#pragma once

#include "Simd/Simd.h"

#if defined(__AVX2__)

#include <immintrin.h>
#include <string.h> // NOLINT(modernize-deprecated-headers): no header of the C++ library here

namespace
{

/// Vectors of 32 bytes; Simd.h says what each name means.
namespace SimdAVX2
{

struct U8
{
    U8() = default;
    ZCK_INLINE U8(__m256i _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE U8(int _nByte)
        : vec(_mm256_set1_epi8(static_cast<char>(_nByte)))
    {
    }
    __m256i vec;
};
struct U16
{
    U16() = default;
    ZCK_INLINE U16(__m256i _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE U16(int _nWord)
        : vec(_mm256_set1_epi16(static_cast<short>(_nWord)))
    {
    }
    __m256i vec;
};
struct I32
{
    I32() = default;
    ZCK_INLINE I32(__m256i _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE I32(int _n)
        : vec(_mm256_set1_epi32(_n))
    {
    }
    __m256i vec;
};
struct F32
{
    F32() = default;
    ZCK_INLINE F32(__m256 _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE F32(float _flt)
        : vec(_mm256_set1_ps(_flt))
    {
    }
    __m256 vec;
};
/// All bits of a word, or none.
struct M16
{
    __m256i vec;
};
/// All bits of a byte, or none.
struct M8
{
    __m256i vec;
};
/// The highest bit of each lane; the others mean nothing.
struct M32
{
    __m256 vec;
};

template <class To, class From> ZCK_INLINE To As(From _ints)
{
    return To(_ints.vec);
}

ZCK_INLINE U8 operator|(U8 _a, U8 _b)
{
    return _mm256_or_si256(_a.vec, _b.vec);
}
ZCK_INLINE U8 operator&(U8 _a, U8 _b)
{
    return _mm256_and_si256(_a.vec, _b.vec);
}
ZCK_INLINE U8 operator^(U8 _a, U8 _b)
{
    return _mm256_xor_si256(_a.vec, _b.vec);
}
ZCK_INLINE U8 operator~(U8 _a)
{
    return _mm256_xor_si256(_a.vec, _mm256_set1_epi8(-1));
}
ZCK_INLINE U8 Min(U8 _a, U8 _b)
{
    return _mm256_min_epu8(_a.vec, _b.vec);
}
ZCK_INLINE U8 Max(U8 _a, U8 _b)
{
    return _mm256_max_epu8(_a.vec, _b.vec);
}
ZCK_INLINE M8 AtLeast(U8 _a, U8 _b)
{
    return {_mm256_cmpeq_epi8(_mm256_max_epu8(_a.vec, _b.vec), _a.vec)};
}
ZCK_INLINE U8 Select(M8 _mask, U8 _then, U8 _else)
{
    return _mm256_blendv_epi8(_else.vec, _then.vec, _mask.vec);
}
ZCK_INLINE U8 ElseNone(M8 _mask, U8 _then)
{
    return _mm256_and_si256(_mask.vec, _then.vec);
}
ZCK_INLINE U8 ElseAll(M8 _mask, U8 _then)
{
    return _then | ~U8(_mask.vec);
}

ZCK_INLINE U16 operator+(U16 _a, U16 _b)
{
    return _mm256_add_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator-(U16 _a, U16 _b)
{
    return _mm256_sub_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator*(U16 _a, U16 _b)
{
    return _mm256_mullo_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator|(U16 _a, U16 _b)
{
    return _mm256_or_si256(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator&(U16 _a, U16 _b)
{
    return _mm256_and_si256(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator<<(U16 _a, int _nBits)
{
    return _mm256_sll_epi16(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE U16 operator>>(U16 _a, int _nBits)
{
    return _mm256_srl_epi16(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE U16 Even(U8 _bytes)
{
    return U16(_bytes.vec) & 0xFF;
}
ZCK_INLINE U16 Odd(U8 _bytes)
{
    return U16(_bytes.vec) >> 8;
}
ZCK_INLINE U16 AddPairs(U8 _bytes)
{
    return _mm256_maddubs_epi16(_bytes.vec, _mm256_set1_epi8(1));
}
ZCK_INLINE U16 MulRound(U16 _a, U16 _b)
{
    return _mm256_mulhrs_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 ClampToByte(U16 _a)
{
    return _mm256_min_epi16(_mm256_max_epi16(_a.vec, _mm256_set1_epi16(0)), _mm256_set1_epi16(255));
}
ZCK_INLINE U16 AbsSigned(U16 _a)
{
    return _mm256_abs_epi16(_a.vec);
}
ZCK_INLINE M16 GreaterSigned(U16 _a, U16 _b)
{
    return {_mm256_cmpgt_epi16(_a.vec, _b.vec)};
}
ZCK_INLINE U16 AddWhere(M16 _mask, U16 _a, U16 _b)
{
    return _mm256_add_epi16(_a.vec, _mm256_and_si256(_mask.vec, _b.vec));
}
ZCK_INLINE U16 CountWhere(M16 _mask, U16 _a)
{
    return _mm256_sub_epi16(_a.vec, _mask.vec);
}
ZCK_INLINE U8 JoinBytes(U16 _even, U16 _odd)
{
    return (_even | _odd << 8).vec;
}

ZCK_INLINE I32 operator+(I32 _a, I32 _b)
{
    return _mm256_add_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator-(I32 _a, I32 _b)
{
    return _mm256_sub_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator*(I32 _a, I32 _b)
{
    return _mm256_mullo_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator|(I32 _a, I32 _b)
{
    return _mm256_or_si256(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator&(I32 _a, I32 _b)
{
    return _mm256_and_si256(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator^(I32 _a, I32 _b)
{
    return _mm256_xor_si256(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator<<(I32 _a, int _nBits)
{
    return _mm256_sll_epi32(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE I32 operator>>(I32 _a, int _nBits)
{
    return _mm256_sra_epi32(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE I32 ShiftedIn0(I32 _a, int _nBits)
{
    return _mm256_srl_epi32(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE I32 Min(I32 _a, I32 _b)
{
    return _mm256_min_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 Max(I32 _a, I32 _b)
{
    return _mm256_max_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 Abs(I32 _a)
{
    return _mm256_abs_epi32(_a.vec);
}
ZCK_INLINE M32 Equal(I32 _a, I32 _b)
{
    return {_mm256_castsi256_ps(_mm256_cmpeq_epi32(_a.vec, _b.vec))};
}
ZCK_INLINE M32 Greater(I32 _a, I32 _b)
{
    return {_mm256_castsi256_ps(_mm256_cmpgt_epi32(_a.vec, _b.vec))};
}
ZCK_INLINE M32 IsNegative(I32 _a)
{
    return {_mm256_castsi256_ps(_a.vec)};
}
ZCK_INLINE M32 Below(I32 _a, I32 _nEnd)
{
    return {_mm256_castsi256_ps(_mm256_andnot_si256(_a.vec, (_a - _nEnd).vec))};
}
ZCK_INLINE I32 Select(M32 _mask, I32 _then, I32 _else)
{
    return _mm256_castps_si256(
        _mm256_blendv_ps(_mm256_castsi256_ps(_else.vec), _mm256_castsi256_ps(_then.vec), _mask.vec));
}
ZCK_INLINE I32 MulAdd(U16 _a, U16 _b)
{
    return _mm256_madd_epi16(_a.vec, _b.vec);
}
ZCK_INLINE I32 AddProducts(U8 _a, U8 _b)
{
    return _mm256_madd_epi16(_mm256_maddubs_epi16(_a.vec, _b.vec), _mm256_set1_epi16(1));
}

ZCK_INLINE F32 operator+(F32 _a, F32 _b)
{
    return _mm256_add_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 operator-(F32 _a, F32 _b)
{
    return _mm256_sub_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 operator*(F32 _a, F32 _b)
{
    return _mm256_mul_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 operator/(F32 _a, F32 _b)
{
    return _mm256_div_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 Sqrt(F32 _a)
{
    return _mm256_sqrt_ps(_a.vec);
}
ZCK_INLINE F32 Abs(F32 _a)
{
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), _a.vec);
}
ZCK_INLINE F32 Min(F32 _a, F32 _b)
{
    return _mm256_min_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 Max(F32 _a, F32 _b)
{
    return _mm256_max_ps(_a.vec, _b.vec);
}
ZCK_INLINE M32 Less(F32 _a, F32 _b)
{
    return {_mm256_cmp_ps(_a.vec, _b.vec, _CMP_LT_OQ)};
}
ZCK_INLINE F32 Select(M32 _mask, F32 _then, F32 _else)
{
    return _mm256_blendv_ps(_else.vec, _then.vec, _mask.vec);
}
ZCK_INLINE I32 AsInts(F32 _floats)
{
    return _mm256_castps_si256(_floats.vec);
}
ZCK_INLINE F32 AsFloats(I32 _ints)
{
    return _mm256_castsi256_ps(_ints.vec);
}
ZCK_INLINE F32 ToF32(I32 _ints)
{
    return _mm256_cvtepi32_ps(_ints.vec);
}
ZCK_INLINE I32 ToI32(F32 _floats)
{
    return _mm256_cvttps_epi32(_floats.vec);
}

ZCK_INLINE M32 operator&(M32 _a, M32 _b)
{
    return {_mm256_and_ps(_a.vec, _b.vec)};
}
ZCK_INLINE M32 operator|(M32 _a, M32 _b)
{
    return {_mm256_or_ps(_a.vec, _b.vec)};
}
ZCK_INLINE M32 Without(M32 _a, M32 _b)
{
    return {_mm256_andnot_ps(_b.vec, _a.vec)};
}
ZCK_INLINE bool Any(M32 _mask)
{
    return _mm256_movemask_ps(_mask.vec) != 0;
}
ZCK_INLINE uint32_t Bits(M32 _mask)
{
    return static_cast<uint32_t>(_mm256_movemask_ps(_mask.vec));
}

ZCK_INLINE U8 ShuffleBytes(U8 _bytes, const uint8_t (&_arrPattern)[16])
{
    const __m128i vecPattern = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_arrPattern));
    return _mm256_shuffle_epi8(_bytes.vec, _mm256_broadcastsi128_si256(vecPattern));
}
ZCK_INLINE U8 LookedUp(const uint8_t (&_arrTable)[16], U8 _places)
{
    const __m128i vecTable = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_arrTable));
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(vecTable), _places.vec);
}
ZCK_INLINE U16 PackWords(I32 _a, I32 _b)
{
    return _mm256_packs_epi32(_a.vec, _b.vec);
}
ZCK_INLINE U8 PackBytes(U16 _a, U16 _b)
{
    return _mm256_packus_epi16(_a.vec, _b.vec);
}
ZCK_INLINE I32 JoinClamped(I32 _a, I32 _b, I32 _c, I32 _d)
{
    constexpr uint8_t c_arrOrder[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    return ShuffleBytes(PackBytes(PackWords(_a, _b), PackWords(_c, _d)), c_arrOrder).vec;
}
ZCK_INLINE U16 HighWords(I32 _a, I32 _b)
{
    return _mm256_blend_epi16(_mm256_srli_epi32(_a.vec, 16), _b.vec, 0xAA);
}
ZCK_INLINE void JoinWords(U16 _a, U16 _b, U16 _c, U16 _d, I32& _first, I32& _second)
{
    const __m256i vecAC = PackBytes(_a, _c).vec, vecBD = PackBytes(_b, _d).vec;
    const __m256i vecAB = _mm256_unpacklo_epi8(vecAC, vecBD), vecCD = _mm256_unpackhi_epi8(vecAC, vecBD);
    _first = _mm256_unpacklo_epi16(vecAB, vecCD);
    _second = _mm256_unpackhi_epi16(vecAB, vecCD);
}
ZCK_INLINE U8 PackLanes(I32 _a, I32 _b, I32 _c, I32 _d)
{
    const __m256i vecOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return _mm256_permutevar8x32_epi32(PackBytes(PackWords(_a, _b), PackWords(_c, _d)).vec, vecOrder);
}
ZCK_INLINE void Interleave(I32 _a, I32 _b, I32& _first, I32& _second)
{
    const __m256i vecLow = _mm256_unpacklo_epi32(_a.vec, _b.vec);
    const __m256i vecHigh = _mm256_unpackhi_epi32(_a.vec, _b.vec);
    _first = _mm256_permute2x128_si256(vecLow, vecHigh, 0x20);
    _second = _mm256_permute2x128_si256(vecLow, vecHigh, 0x31);
}
ZCK_INLINE void Deinterleave(I32 _a, I32 _b, I32& _even, I32& _odd)
{
    const __m256 vecA = _mm256_castsi256_ps(_a.vec), vecB = _mm256_castsi256_ps(_b.vec);
    const __m256i vecEven = _mm256_castps_si256(_mm256_shuffle_ps(vecA, vecB, 0x88));
    const __m256i vecOdd = _mm256_castps_si256(_mm256_shuffle_ps(vecA, vecB, 0xDD));
    _even = _mm256_permute4x64_epi64(vecEven, 0xD8);
    _odd = _mm256_permute4x64_epi64(vecOdd, 0xD8);
}
ZCK_INLINE void DeinterleaveBlocks(I32 _a, I32 _b, I32& _even, I32& _odd)
{
    const __m256 vecA = _mm256_castsi256_ps(_a.vec), vecB = _mm256_castsi256_ps(_b.vec);
    _even = _mm256_castps_si256(_mm256_shuffle_ps(vecA, vecB, 0x88));
    _odd = _mm256_castps_si256(_mm256_shuffle_ps(vecA, vecB, 0xDD));
}
template <int Lane> ZCK_INLINE F32 Spread(F32 _a)
{
    return _mm256_permute_ps(_a.vec, Lane * 0x55);
}
ZCK_INLINE I32 SplitHalves(I32 _a)
{
    return _mm256_permute4x64_epi64(_a.vec, 0xD8);
}
ZCK_INLINE I32 JoinHalves(I32 _a)
{
    return _mm256_permute4x64_epi64(_a.vec, 0xD8);
}
ZCK_INLINE I32 FirstThree(I32 _a)
{
    return _mm256_permutevar8x32_epi32(_a.vec, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

} // namespace SimdAVX2

struct SIMD_AVX2
{
    using U8 = SimdAVX2::U8;
    using U16 = SimdAVX2::U16;
    using I32 = SimdAVX2::I32;
    using F32 = SimdAVX2::F32;
    using M8 = SimdAVX2::M8;
    using M16 = SimdAVX2::M16;
    using M32 = SimdAVX2::M32;
    static constexpr size_t c_nBytes = 32;
    static constexpr size_t c_nLanes = 8;

    static ZCK_INLINE __m256i Bytes(const void* _pBytes)
    {
        return _mm256_loadu_si256(static_cast<const __m256i*>(_pBytes));
    }
    /// The first lanes.
    static ZCK_INLINE __m256i First(size_t _nLanes)
    {
        const int nLanes = _nLanes < c_nLanes ? static_cast<int>(_nLanes) : static_cast<int>(c_nLanes);
        return _mm256_cmpgt_epi32(_mm256_set1_epi32(nLanes), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    }

    static ZCK_INLINE void Prefetch(const uint8_t* _pByte)
    {
        _mm_prefetch(reinterpret_cast<const char*>(_pByte), _MM_HINT_T1);
    }
    static ZCK_INLINE U8 LoadU8(const uint8_t* _pBytes)
    {
        return Bytes(_pBytes);
    }
    static ZCK_INLINE U8 LoadU8(const uint8_t* _pBytes, size_t _n)
    {
        uint8_t arrBytes[c_nBytes] = {};
        memcpy(arrBytes, _pBytes, _n < c_nBytes ? _n : c_nBytes);
        return Bytes(arrBytes);
    }
    static ZCK_INLINE I32 LoadI32(const void* _pInts)
    {
        return Bytes(_pInts);
    }
    static ZCK_INLINE I32 LoadI32(const void* _pInts, size_t _n)
    {
        return _mm256_maskload_epi32(static_cast<const int*>(_pInts), First(_n));
    }
    static ZCK_INLINE F32 LoadF32(const float* _pFloats)
    {
        return _mm256_loadu_ps(_pFloats);
    }
    static ZCK_INLINE F32 LoadF32(const float* _pFloats, size_t _n)
    {
        return _mm256_maskload_ps(_pFloats, First(_n));
    }
    static ZCK_INLINE void Store(uint8_t* _pBytes, U8 _bytes)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pBytes), _bytes.vec);
    }
    static ZCK_INLINE void Store(uint8_t* _pBytes, size_t _n, U8 _bytes)
    {
        uint8_t arrBytes[c_nBytes];
        Store(arrBytes, _bytes);
        memcpy(_pBytes, arrBytes, _n < c_nBytes ? _n : c_nBytes);
    }
    static ZCK_INLINE void Store(void* _pInts, I32 _ints)
    {
        _mm256_storeu_si256(static_cast<__m256i*>(_pInts), _ints.vec);
    }
    static ZCK_INLINE void Store(void* _pInts, size_t _n, I32 _ints)
    {
        _mm256_maskstore_epi32(static_cast<int*>(_pInts), First(_n), _ints.vec);
    }
    static ZCK_INLINE void Store(float* _pFloats, F32 _floats)
    {
        _mm256_storeu_ps(_pFloats, _floats.vec);
    }
    static ZCK_INLINE void Store(float* _pFloats, size_t _n, F32 _floats)
    {
        _mm256_maskstore_ps(_pFloats, First(_n), _floats.vec);
    }
    static ZCK_INLINE U16 WidenU16(const uint8_t* _pBytes)
    {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(_pBytes)));
    }
    static ZCK_INLINE I32 WidenI32(const uint8_t* _pBytes)
    {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(_pBytes)));
    }
    static ZCK_INLINE I32 WidenI32(const uint8_t* _pBytes, size_t _n)
    {
        uint8_t arrBytes[c_nLanes] = {};
        memcpy(arrBytes, _pBytes, _n < c_nLanes ? _n : c_nLanes);
        return WidenI32(arrBytes);
    }
    static ZCK_INLINE I32 WidenI32(const int16_t* _pWords)
    {
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(_pWords)));
    }
    static ZCK_INLINE void Narrow(int16_t* _pWords, I32 _ints)
    {
        const __m256i vecWords = _mm256_permute4x64_epi64(_mm256_packs_epi32(_ints.vec, _ints.vec), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(_pWords), _mm256_castsi256_si128(vecWords));
    }
    static ZCK_INLINE F32 RepeatBlock(const float* _pFloats)
    {
        return _mm256_broadcast_ps(reinterpret_cast<const __m128*>(_pFloats));
    }
    static ZCK_INLINE I32 LoadBlocks(const void* _pBlocks, ptrdiff_t _nStride)
    {
        const auto* const p = static_cast<const uint8_t*>(_pBlocks);
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + _nStride)), 1);
    }
    static ZCK_INLINE I32 WidenBlocks(const int16_t* _pWords, ptrdiff_t _nStride)
    {
        const auto* const p = reinterpret_cast<const char*>(_pWords);
        const __m128i vecFirst = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        const __m128i vecSecond = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + _nStride));
        return _mm256_cvtepi16_epi32(_mm_unpacklo_epi64(vecFirst, vecSecond));
    }
    static ZCK_INLINE void StoreBlocks(void* _pBlocks, ptrdiff_t _nStride, I32 _ints)
    {
        auto* const p = static_cast<uint8_t*>(_pBlocks);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(_ints.vec));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + _nStride), _mm256_extracti128_si256(_ints.vec, 1));
    }
};

} // namespace

#endif
