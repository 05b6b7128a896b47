#include "ZChromaKey/Engine1/Kernels/x86/KeyKernels_x86.h"

#include <immintrin.h>

namespace
{

constexpr size_t c_nBlock = 64; // pixels in four vectors

/// 64 pixels: their components 0 and 2, and component 1 of the first and second, third and fourth vector.
struct BLOCK
{
    __m512i vec02_0, vec02_1, vec02_2, vec02_3;
    __m512i vec1_01, vec1_23;
};

/// The least alpha that the keys gave the pixels of a block, 32 bits each.
struct LEAST
{
    __m512i vec0, vec1, vec2, vec3;
};

__m512i Lanes(uint32_t _nLane)
{
    return _mm512_set1_epi32(static_cast<int>(_nLane));
}

/// Squares of at most 255^2 are unsigned words, halved they are signed.
__m512i HalvedSquares(__m512i _vecWords, __m512i _vecValues)
{
    const __m512i vecDiff = _mm512_sub_epi16(_vecWords, _vecValues);
    return _mm512_srli_epi16(_mm512_mullo_epi16(vecDiff, vecDiff), 1);
}

/// The weighted sum of a pixel's halved squares, which fits 31 bits.
__m512i Sum(__m512i _vecSquares02, __m512i _vecWeight02, __m512i _vecSquares1, __m512i _vecWeight1)
{
    return _mm512_add_epi32(_mm512_madd_epi16(_vecSquares02, _vecWeight02),
                            _mm512_madd_epi16(_vecSquares1, _vecWeight1));
}

/// Alpha of pixels on the soft edge, from their excess less 1. Below 255 before the floor, by choice of the lanes.
__m512i SoftAlpha(__m512i _vecBeyond, const KEY_LANES& _key)
{
    const __m512i vecExcess =
        _mm512_max_epi32(_mm512_add_epi32(_vecBeyond, _mm512_set1_epi32(1)), _mm512_setzero_si512());
    const __m512 vecRoot = _mm512_sqrt_ps(_mm512_cvtepi32_ps(vecExcess));
    const __m512 vecAlpha = _mm512_add_ps(_mm512_mul_ps(vecRoot, _mm512_set1_ps(_key.fltScale)), _mm512_set1_ps(0.5f));
    return _mm512_add_epi32(_mm512_cvttps_epi32(vecAlpha), _mm512_set1_epi32(_key.nFloor));
}

/// The lesser of a vector's alphas and what a key gives, which is the floor inside the key.
__m512i Lowered(__m512i _vecLeast, __m512i _vecSum, const KEY_LANES& _key)
{
    const __m512i vecBeyond = _mm512_sub_epi32(_vecSum, _mm512_set1_epi32(_key.nInside)); // below 0: inside
    const __m512i vecLeast =
        _mm512_mask_min_epi32(_vecLeast, _mm512_movepi32_mask(vecBeyond), _vecLeast, _mm512_set1_epi32(_key.nFloor));
    const __mmask16 nSoft = _mm512_cmplt_epu32_mask(vecBeyond, _mm512_set1_epi32(_key.nSoft));
    return nSoft ? _mm512_mask_min_epi32(vecLeast, nSoft, vecLeast, SoftAlpha(vecBeyond, _key)) : vecLeast;
}

/// Keys far from all pixels of a block, as most are, cost no more than the sums: they leave alpha as it is. Where a key
/// makes a whole block transparent, those behind it have nothing to lower. The square root is for soft edges only.
inline LEAST LeastOf(const BLOCK& _block, const KEY_LANES* _pKeys, int _nKeys)
{
    const BLOCK block = _block;
    const __m512i vecMost = _mm512_set1_epi32(255);
    LEAST least = {vecMost, vecMost, vecMost, vecMost};
    for (const KEY_LANES* pKey = _pKeys; pKey != _pKeys + _nKeys; ++pKey)
    {
        const __m512i vecValue02 = Lanes(pKey->nValue02);
        const __m512i vecValue11 = Lanes(pKey->nValue11);
        const __m512i vecWeight02 = Lanes(pKey->nWeight02);
        const __m512i vecWeight1Low = Lanes(pKey->nWeight1Low);
        const __m512i vecWeight1High = Lanes(pKey->nWeight1High);
        const __m512i vec1_01 = HalvedSquares(block.vec1_01, vecValue11);
        const __m512i vec1_23 = HalvedSquares(block.vec1_23, vecValue11);
        const __m512i vecSum0 = Sum(HalvedSquares(block.vec02_0, vecValue02), vecWeight02, vec1_01, vecWeight1Low);
        const __m512i vecSum1 = Sum(HalvedSquares(block.vec02_1, vecValue02), vecWeight02, vec1_01, vecWeight1High);
        const __m512i vecSum2 = Sum(HalvedSquares(block.vec02_2, vecValue02), vecWeight02, vec1_23, vecWeight1Low);
        const __m512i vecSum3 = Sum(HalvedSquares(block.vec02_3, vecValue02), vecWeight02, vec1_23, vecWeight1High);
        const __m512i vecLow = _mm512_min_epi32(_mm512_min_epi32(vecSum0, vecSum1), _mm512_min_epi32(vecSum2, vecSum3));
        if (_mm512_cmplt_epi32_mask(vecLow, _mm512_set1_epi32(pKey->nOpaque)) == 0)
            continue;
        const __m512i vecHigh =
            _mm512_max_epi32(_mm512_max_epi32(vecSum0, vecSum1), _mm512_max_epi32(vecSum2, vecSum3));
        if (pKey->nFloor == 0 && _mm512_cmpge_epi32_mask(vecHigh, _mm512_set1_epi32(pKey->nInside)) == 0)
            return {_mm512_setzero_si512(), _mm512_setzero_si512(), _mm512_setzero_si512(), _mm512_setzero_si512()};
        least.vec0 = Lowered(least.vec0, vecSum0, *pKey);
        least.vec1 = Lowered(least.vec1, vecSum1, *pKey);
        least.vec2 = Lowered(least.vec2, vecSum2, *pKey);
        least.vec3 = Lowered(least.vec3, vecSum3, *pKey);
    }
    return least;
}

/// Component 1 of two vectors of pixels, as the low and the high words.
__m512i Middle(__m512i _vecLow, __m512i _vecHigh)
{
    const __m512i vecHigh = _mm512_slli_epi32(_mm512_and_si512(_vecHigh, _mm512_set1_epi32(0xFF00)), 8);
    return _mm512_or_si512(_mm512_and_si512(_mm512_srli_epi32(_vecLow, 8), _mm512_set1_epi32(0xFF)), vecHigh);
}

__m512i Packed(const LEAST& _least)
{
    const __m512i vecLow = _mm512_packs_epi32(_least.vec0, _least.vec1);
    const __m512i vecHigh = _mm512_packs_epi32(_least.vec2, _least.vec3);
    const __m512i vecOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutexvar_epi32(vecOrder, _mm512_packus_epi16(vecLow, vecHigh));
}

struct ROW_KEYS
{
    const KEY_LANES* pKeying;
    int nKeying;
    const KEY_LANES* pExclude;
    int nExclude;
};

/// Alphas of four vectors of pixels.
inline __m512i BlockKey(__m512i _vec0, __m512i _vec1, __m512i _vec2, __m512i _vec3, const ROW_KEYS& _keys)
{
    const __m512i vecMask = _mm512_set1_epi32(0x00FF00FF);
    const BLOCK block = {_mm512_and_si512(_vec0, vecMask),
                         _mm512_and_si512(_vec1, vecMask),
                         _mm512_and_si512(_vec2, vecMask),
                         _mm512_and_si512(_vec3, vecMask),
                         Middle(_vec0, _vec1),
                         Middle(_vec2, _vec3)};
    const __m512i vecAlpha = Packed(LeastOf(block, _keys.pKeying, _keys.nKeying));
    if (_keys.nExclude == 0)
        return vecAlpha;
    const __m512i vecExclusion = Packed(LeastOf(block, _keys.pExclude, _keys.nExclude));
    return _mm512_max_epu8(vecAlpha, _mm512_xor_si512(vecExclusion, _mm512_set1_epi8(-1)));
}

void SpanKey(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, const ROW_KEYS& _keys)
{
    size_t n = 0;
    for (; n + c_nBlock <= _nPixels; n += c_nBlock)
    {
        const uint8_t* const pPixels = _pPixels + 4 * n;
        _mm512_storeu_si512(_pAlpha + n,
                            BlockKey(_mm512_loadu_si512(pPixels), _mm512_loadu_si512(pPixels + 64),
                                     _mm512_loadu_si512(pPixels + 128), _mm512_loadu_si512(pPixels + 192), _keys));
    }
    if (n == _nPixels)
        return;
    const __mmask64 nMask = (__mmask64{1} << (_nPixels - n)) - 1;
    const auto fnLoad = [&](size_t _nVector) {
        return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(nMask >> 16 * _nVector),
                                        _pPixels + 4 * n + 64 * _nVector);
    };
    _mm512_mask_storeu_epi8(_pAlpha + n, nMask, BlockKey(fnLoad(0), fnLoad(1), fnLoad(2), fnLoad(3), _keys));
}

} // namespace

void KeySet_AVX512(uint8_t* _pAlpha, const uint8_t* _pPixels, size_t _nPixels, size_t _nMerged,
                   const KEY_SET& _set) noexcept
{
    KEY_LANES arrKeying[c_nMaxRowKeys];
    KEY_LANES arrExclude[c_nMaxRowKeys];
    KeyLanes_Make(arrKeying, _set.pKeying, _set.nKeying);
    KeyLanes_Make(arrExclude, _set.pExclude, _set.nExclude);
    SpanKey(_pAlpha, _pPixels, _nMerged, {arrKeying, _set.nKeying, arrExclude, _set.nExclude});
    SpanKey(_pAlpha + _nMerged, _pPixels + 4 * _nMerged, _nPixels - _nMerged,
            {arrKeying, 1, arrExclude, _set.nExclude > 0});
}
