#pragma once

#include "Simd/Simd.h"

#if defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)

#include <immintrin.h>

namespace
{

/// Vectors of 64 bytes; Simd.h says what each name means.
namespace SimdAVX512
{

struct U8
{
    U8() = default;
    ZCK_INLINE U8(__m512i _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE U8(int _nByte)
        : vec(_mm512_set1_epi8(static_cast<char>(_nByte)))
    {
    }
    __m512i vec;
};
struct U16
{
    U16() = default;
    ZCK_INLINE U16(__m512i _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE U16(int _nWord)
        : vec(_mm512_set1_epi16(static_cast<short>(_nWord)))
    {
    }
    __m512i vec;
};
struct I32
{
    I32() = default;
    ZCK_INLINE I32(__m512i _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE I32(int _n)
        : vec(_mm512_set1_epi32(_n))
    {
    }
    __m512i vec;
};
struct F32
{
    F32() = default;
    ZCK_INLINE F32(__m512 _vec)
        : vec(_vec)
    {
    }
    ZCK_INLINE F32(float _flt)
        : vec(_mm512_set1_ps(_flt))
    {
    }
    __m512 vec;
};
struct M8
{
    __mmask64 nMask;
};
struct M16
{
    __mmask32 nMask;
};
struct M32
{
    __mmask16 nMask;
};

template <class To, class From> ZCK_INLINE To As(From _ints)
{
    return To(_ints.vec);
}

ZCK_INLINE U8 operator|(U8 _a, U8 _b)
{
    return _mm512_or_si512(_a.vec, _b.vec);
}
ZCK_INLINE U8 operator&(U8 _a, U8 _b)
{
    return _mm512_and_si512(_a.vec, _b.vec);
}
ZCK_INLINE U8 operator^(U8 _a, U8 _b)
{
    return _mm512_xor_si512(_a.vec, _b.vec);
}
ZCK_INLINE U8 operator~(U8 _a)
{
    return _mm512_xor_si512(_a.vec, _mm512_set1_epi8(-1));
}
ZCK_INLINE U8 Min(U8 _a, U8 _b)
{
    return _mm512_min_epu8(_a.vec, _b.vec);
}
ZCK_INLINE U8 Max(U8 _a, U8 _b)
{
    return _mm512_max_epu8(_a.vec, _b.vec);
}
ZCK_INLINE M8 AtLeast(U8 _a, U8 _b)
{
    return {_mm512_cmpge_epu8_mask(_a.vec, _b.vec)};
}
ZCK_INLINE U8 Select(M8 _mask, U8 _then, U8 _else)
{
    return _mm512_mask_mov_epi8(_else.vec, _mask.nMask, _then.vec);
}
ZCK_INLINE U8 ElseNone(M8 _mask, U8 _then)
{
    return _mm512_maskz_mov_epi8(_mask.nMask, _then.vec);
}
ZCK_INLINE U8 ElseAll(M8 _mask, U8 _then)
{
    return Select(_mask, _then, 0xFF);
}

ZCK_INLINE U16 operator+(U16 _a, U16 _b)
{
    return _mm512_add_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator-(U16 _a, U16 _b)
{
    return _mm512_sub_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator*(U16 _a, U16 _b)
{
    return _mm512_mullo_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator|(U16 _a, U16 _b)
{
    return _mm512_or_si512(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator&(U16 _a, U16 _b)
{
    return _mm512_and_si512(_a.vec, _b.vec);
}
ZCK_INLINE U16 operator<<(U16 _a, int _nBits)
{
    return _mm512_sll_epi16(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE U16 operator>>(U16 _a, int _nBits)
{
    return _mm512_srl_epi16(_a.vec, _mm_cvtsi32_si128(_nBits));
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
    return _mm512_maddubs_epi16(_bytes.vec, _mm512_set1_epi8(1));
}
ZCK_INLINE U16 MulRound(U16 _a, U16 _b)
{
    return _mm512_mulhrs_epi16(_a.vec, _b.vec);
}
ZCK_INLINE U16 ClampToByte(U16 _a)
{
    return _mm512_min_epi16(_mm512_max_epi16(_a.vec, _mm512_set1_epi16(0)), _mm512_set1_epi16(255));
}
ZCK_INLINE U16 AbsSigned(U16 _a)
{
    return _mm512_abs_epi16(_a.vec);
}
ZCK_INLINE M16 GreaterSigned(U16 _a, U16 _b)
{
    return {_mm512_cmpgt_epi16_mask(_a.vec, _b.vec)};
}
ZCK_INLINE U16 AddWhere(M16 _mask, U16 _a, U16 _b)
{
    return _mm512_mask_add_epi16(_a.vec, _mask.nMask, _a.vec, _b.vec);
}
ZCK_INLINE U16 CountWhere(M16 _mask, U16 _a)
{
    return AddWhere(_mask, _a, 1);
}
ZCK_INLINE U8 JoinBytes(U16 _even, U16 _odd)
{
    return (_even | _odd << 8).vec;
}

ZCK_INLINE I32 operator+(I32 _a, I32 _b)
{
    return _mm512_add_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator-(I32 _a, I32 _b)
{
    return _mm512_sub_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator*(I32 _a, I32 _b)
{
    return _mm512_mullo_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator|(I32 _a, I32 _b)
{
    return _mm512_or_si512(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator&(I32 _a, I32 _b)
{
    return _mm512_and_si512(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator^(I32 _a, I32 _b)
{
    return _mm512_xor_si512(_a.vec, _b.vec);
}
ZCK_INLINE I32 operator<<(I32 _a, int _nBits)
{
    return _mm512_sll_epi32(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE I32 operator>>(I32 _a, int _nBits)
{
    return _mm512_sra_epi32(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE I32 ShiftedIn0(I32 _a, int _nBits)
{
    return _mm512_srl_epi32(_a.vec, _mm_cvtsi32_si128(_nBits));
}
ZCK_INLINE I32 Min(I32 _a, I32 _b)
{
    return _mm512_min_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 Max(I32 _a, I32 _b)
{
    return _mm512_max_epi32(_a.vec, _b.vec);
}
ZCK_INLINE I32 Abs(I32 _a)
{
    return _mm512_abs_epi32(_a.vec);
}
ZCK_INLINE M32 Equal(I32 _a, I32 _b)
{
    return {_mm512_cmpeq_epi32_mask(_a.vec, _b.vec)};
}
ZCK_INLINE M32 Greater(I32 _a, I32 _b)
{
    return {_mm512_cmpgt_epi32_mask(_a.vec, _b.vec)};
}
ZCK_INLINE M32 IsNegative(I32 _a)
{
    return {_mm512_movepi32_mask(_a.vec)};
}
ZCK_INLINE M32 Below(I32 _a, I32 _nEnd)
{
    return {_mm512_cmplt_epu32_mask(_a.vec, _nEnd.vec)};
}
ZCK_INLINE I32 Select(M32 _mask, I32 _then, I32 _else)
{
    return _mm512_mask_mov_epi32(_else.vec, _mask.nMask, _then.vec);
}
ZCK_INLINE I32 MulAdd(U16 _a, U16 _b)
{
    return _mm512_madd_epi16(_a.vec, _b.vec);
}
ZCK_INLINE I32 AddProducts(U8 _a, U8 _b)
{
    return _mm512_madd_epi16(_mm512_maddubs_epi16(_a.vec, _b.vec), _mm512_set1_epi16(1));
}

ZCK_INLINE F32 operator+(F32 _a, F32 _b)
{
    return _mm512_add_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 operator-(F32 _a, F32 _b)
{
    return _mm512_sub_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 operator*(F32 _a, F32 _b)
{
    return _mm512_mul_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 operator/(F32 _a, F32 _b)
{
    return _mm512_div_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 Sqrt(F32 _a)
{
    return _mm512_sqrt_ps(_a.vec);
}
ZCK_INLINE F32 Abs(F32 _a)
{
    return _mm512_abs_ps(_a.vec);
}
ZCK_INLINE F32 Min(F32 _a, F32 _b)
{
    return _mm512_min_ps(_a.vec, _b.vec);
}
ZCK_INLINE F32 Max(F32 _a, F32 _b)
{
    return _mm512_max_ps(_a.vec, _b.vec);
}
ZCK_INLINE M32 Less(F32 _a, F32 _b)
{
    return {_mm512_cmp_ps_mask(_a.vec, _b.vec, _CMP_LT_OQ)};
}
ZCK_INLINE F32 Select(M32 _mask, F32 _then, F32 _else)
{
    return _mm512_mask_mov_ps(_else.vec, _mask.nMask, _then.vec);
}
ZCK_INLINE I32 AsInts(F32 _floats)
{
    return _mm512_castps_si512(_floats.vec);
}
ZCK_INLINE F32 AsFloats(I32 _ints)
{
    return _mm512_castsi512_ps(_ints.vec);
}
ZCK_INLINE F32 ToF32(I32 _ints)
{
    return _mm512_cvtepi32_ps(_ints.vec);
}
ZCK_INLINE I32 ToI32(F32 _floats)
{
    return _mm512_cvttps_epi32(_floats.vec);
}

ZCK_INLINE M32 operator&(M32 _a, M32 _b)
{
    return {static_cast<__mmask16>(_a.nMask & _b.nMask)};
}
ZCK_INLINE M32 operator|(M32 _a, M32 _b)
{
    return {static_cast<__mmask16>(_a.nMask | _b.nMask)};
}
ZCK_INLINE M32 Without(M32 _a, M32 _b)
{
    return {static_cast<__mmask16>(_a.nMask & ~_b.nMask)};
}
ZCK_INLINE bool Any(M32 _mask)
{
    return _mask.nMask != 0;
}
ZCK_INLINE uint32_t Bits(M32 _mask)
{
    return _mask.nMask;
}

ZCK_INLINE U8 ShuffleBytes(U8 _bytes, const uint8_t (&_arrPattern)[16])
{
    const __m128i vecPattern = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_arrPattern));
    return _mm512_shuffle_epi8(_bytes.vec, _mm512_broadcast_i32x4(vecPattern));
}
ZCK_INLINE U8 LookedUp(const uint8_t (&_arrTable)[16], U8 _places)
{
    const __m128i vecTable = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_arrTable));
    return _mm512_shuffle_epi8(_mm512_broadcast_i32x4(vecTable), _places.vec);
}
ZCK_INLINE U16 PackWords(I32 _a, I32 _b)
{
    return _mm512_packs_epi32(_a.vec, _b.vec);
}
ZCK_INLINE U8 PackBytes(U16 _a, U16 _b)
{
    return _mm512_packus_epi16(_a.vec, _b.vec);
}
ZCK_INLINE I32 JoinClamped(I32 _a, I32 _b, I32 _c, I32 _d)
{
    constexpr uint8_t c_arrOrder[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    return ShuffleBytes(PackBytes(PackWords(_a, _b), PackWords(_c, _d)), c_arrOrder).vec;
}
ZCK_INLINE U16 HighWords(I32 _a, I32 _b)
{
    return _mm512_mask_blend_epi16(0xAAAAAAAA, _mm512_srli_epi32(_a.vec, 16), _b.vec);
}
ZCK_INLINE void JoinWords(U16 _a, U16 _b, U16 _c, U16 _d, I32& _first, I32& _second)
{
    const __m512i vecAC = PackBytes(_a, _c).vec, vecBD = PackBytes(_b, _d).vec;
    const __m512i vecAB = _mm512_unpacklo_epi8(vecAC, vecBD), vecCD = _mm512_unpackhi_epi8(vecAC, vecBD);
    _first = _mm512_unpacklo_epi16(vecAB, vecCD);
    _second = _mm512_unpackhi_epi16(vecAB, vecCD);
}
ZCK_INLINE U8 PackLanes(I32 _a, I32 _b, I32 _c, I32 _d)
{
    const __m512i vecOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutexvar_epi32(vecOrder, PackBytes(PackWords(_a, _b), PackWords(_c, _d)).vec);
}
ZCK_INLINE void Interleave(I32 _a, I32 _b, I32& _first, I32& _second)
{
    const __m512i vecFirst = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const __m512i vecSecond = _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    _first = _mm512_permutex2var_epi32(_a.vec, vecFirst, _b.vec);
    _second = _mm512_permutex2var_epi32(_a.vec, vecSecond, _b.vec);
}
ZCK_INLINE void Deinterleave(I32 _a, I32 _b, I32& _even, I32& _odd)
{
    const __m512i vecEven = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    const __m512i vecOdd = _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
    _even = _mm512_permutex2var_epi32(_a.vec, vecEven, _b.vec);
    _odd = _mm512_permutex2var_epi32(_a.vec, vecOdd, _b.vec);
}
ZCK_INLINE void DeinterleaveBlocks(I32 _a, I32 _b, I32& _even, I32& _odd)
{
    const __m512 vecA = _mm512_castsi512_ps(_a.vec), vecB = _mm512_castsi512_ps(_b.vec);
    _even = _mm512_castps_si512(_mm512_shuffle_ps(vecA, vecB, 0x88));
    _odd = _mm512_castps_si512(_mm512_shuffle_ps(vecA, vecB, 0xDD));
}
template <int Lane> ZCK_INLINE F32 Spread(F32 _a)
{
    return _mm512_permute_ps(_a.vec, Lane * 0x55);
}
ZCK_INLINE I32 SplitHalves(I32 _a)
{
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), _a.vec);
}
ZCK_INLINE I32 JoinHalves(I32 _a)
{
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), _a.vec);
}
ZCK_INLINE I32 FirstThree(I32 _a)
{
    const __m512i vecOrder = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15);
    return _mm512_permutexvar_epi32(vecOrder, _a.vec);
}

} // namespace SimdAVX512

struct SIMD_AVX512
{
    using U8 = SimdAVX512::U8;
    using U16 = SimdAVX512::U16;
    using I32 = SimdAVX512::I32;
    using F32 = SimdAVX512::F32;
    using M8 = SimdAVX512::M8;
    using M16 = SimdAVX512::M16;
    using M32 = SimdAVX512::M32;
    static constexpr size_t c_nBytes = 64;
    static constexpr size_t c_nLanes = 16;

    static ZCK_INLINE __m512i Bytes(const void* _pBytes)
    {
        return _mm512_loadu_si512(_pBytes);
    }
    /// The first bytes, and the first lanes.
    static ZCK_INLINE __mmask64 FirstBytes(size_t _nBytes)
    {
        return _nBytes < c_nBytes ? (__mmask64{1} << _nBytes) - 1 : ~__mmask64{0};
    }
    static ZCK_INLINE __mmask16 First(size_t _nLanes)
    {
        return static_cast<__mmask16>(_nLanes < c_nLanes ? (1u << _nLanes) - 1 : 0xFFFF);
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
        return _mm512_maskz_loadu_epi8(FirstBytes(_n), _pBytes);
    }
    static ZCK_INLINE I32 LoadI32(const void* _pInts)
    {
        return Bytes(_pInts);
    }
    static ZCK_INLINE I32 LoadI32(const void* _pInts, size_t _n)
    {
        return _mm512_maskz_loadu_epi32(First(_n), _pInts);
    }
    static ZCK_INLINE F32 LoadF32(const float* _pFloats)
    {
        return _mm512_loadu_ps(_pFloats);
    }
    static ZCK_INLINE F32 LoadF32(const float* _pFloats, size_t _n)
    {
        return _mm512_maskz_loadu_ps(First(_n), _pFloats);
    }
    static ZCK_INLINE void Store(uint8_t* _pBytes, U8 _bytes)
    {
        _mm512_storeu_si512(_pBytes, _bytes.vec);
    }
    static ZCK_INLINE void Store(uint8_t* _pBytes, size_t _n, U8 _bytes)
    {
        _mm512_mask_storeu_epi8(_pBytes, FirstBytes(_n), _bytes.vec);
    }
    static ZCK_INLINE void Store(void* _pInts, I32 _ints)
    {
        _mm512_storeu_si512(_pInts, _ints.vec);
    }
    static ZCK_INLINE void Store(void* _pInts, size_t _n, I32 _ints)
    {
        _mm512_mask_storeu_epi32(_pInts, First(_n), _ints.vec);
    }
    static ZCK_INLINE void Store(float* _pFloats, F32 _floats)
    {
        _mm512_storeu_ps(_pFloats, _floats.vec);
    }
    static ZCK_INLINE void Store(float* _pFloats, size_t _n, F32 _floats)
    {
        _mm512_mask_storeu_ps(_pFloats, First(_n), _floats.vec);
    }
    static ZCK_INLINE U16 WidenU16(const uint8_t* _pBytes)
    {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pBytes)));
    }
    static ZCK_INLINE I32 WidenI32(const uint8_t* _pBytes)
    {
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(_pBytes)));
    }
    static ZCK_INLINE I32 WidenI32(const uint8_t* _pBytes, size_t _n)
    {
        return _mm512_cvtepu8_epi32(_mm_maskz_loadu_epi8(First(_n), _pBytes));
    }
    static ZCK_INLINE I32 WidenI32(const int16_t* _pWords)
    {
        return _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pWords)));
    }
    static ZCK_INLINE void Narrow(int16_t* _pWords, I32 _ints)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pWords), _mm512_cvtsepi32_epi16(_ints.vec));
    }
    static ZCK_INLINE F32 RepeatBlock(const float* _pFloats)
    {
        return _mm512_broadcast_f32x4(_mm_loadu_ps(_pFloats));
    }
    static ZCK_INLINE I32 LoadBlocks(const void* _pBlocks, ptrdiff_t _nStride)
    {
        const auto* const p = static_cast<const uint8_t*>(_pBlocks);
        const auto Block = [&](ptrdiff_t _n) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + _n * _nStride));
        };
        const __m512i vecFirst = _mm512_inserti32x4(_mm512_castsi128_si512(Block(0)), Block(1), 1);
        return _mm512_inserti32x4(_mm512_inserti32x4(vecFirst, Block(2), 2), Block(3), 3);
    }
    static ZCK_INLINE I32 WidenBlocks(const int16_t* _pWords, ptrdiff_t _nStride)
    {
        const auto* const p = reinterpret_cast<const char*>(_pWords);
        const auto Two = [&](ptrdiff_t _n) {
            const __m128i vecFirst = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + _n * _nStride));
            const __m128i vecSecond = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + (_n + 1) * _nStride));
            return _mm_unpacklo_epi64(vecFirst, vecSecond);
        };
        return _mm512_cvtepi16_epi32(_mm256_inserti128_si256(_mm256_castsi128_si256(Two(0)), Two(2), 1));
    }
    static ZCK_INLINE void StoreBlocks(void* _pBlocks, ptrdiff_t _nStride, I32 _ints)
    {
        auto* const p = static_cast<uint8_t*>(_pBlocks);
        const auto Put = [&](ptrdiff_t _n, __m128i _block) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p + _n * _nStride), _block);
        };
        Put(0, _mm512_castsi512_si128(_ints.vec));
        Put(1, _mm512_extracti32x4_epi32(_ints.vec, 1));
        Put(2, _mm512_extracti32x4_epi32(_ints.vec, 2));
        Put(3, _mm512_extracti32x4_epi32(_ints.vec, 3));
    }
};

} // namespace

#endif
